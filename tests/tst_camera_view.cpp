// SPDX-License-Identifier: GPL-3.0-or-later
#include "CameraApp.h"
#include "FakeTool.h"
#include "LoopbackHttpServer.h"
#include "Screenshots.h"
#include "TestPictures.h"
#include "stream/CameraMenuButton.h"
#include "stream/CameraWindowView.h"
#include "stream/SnapshotErrorCard.h"
#include "stream/SnapshotLoader.h"
#include "stream/SnapshotStreamView.h"
#include "widgets/ContentUnavailableView.h"
#include "widgets/LinkButton.h"
#include "widgets/ProgressSpinner.h"
#include "widgets/StatusDot.h"
#include "widgets/SystemColors.h"
#include "windows/CameraWindow.h"

#include <QDesktopServices>
#include <QDir>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace kestrel;
using namespace Qt::StringLiterals;
using test::CameraApp;
using test::idList;
using test::writePng;

namespace {

// Records what would have opened in the browser.
class UrlRecorder : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> opened;

public slots:
    void open(const QUrl &url) { opened << url; }
};

// No text on the card is cut off: each label is as tall as its text needs at its width.
// The card shows its symbol, its title and its whole detail, each with the room it needs.
bool cardShowsEverything(const SnapshotErrorCard *card)
{
    const QRect area = card->parentWidget()->rect();
    if (!area.contains(card->geometry()))
        return false;
    const QList<QLabel *> labels = card->findChildren<QLabel *>();
    for (const QLabel *label : labels) {
        const int needed =
            label->wordWrap() ? label->heightForWidth(label->width()) : label->sizeHint().height();
        if (!label->isVisible() || label->height() < needed || label->width() < 1)
            return false;
    }
    return labels.size() == 3 && labels.last()->text() == card->detail();
}

QLabel *childWithSuffix(QWidget *root, const QString &suffix)
{
    for (QLabel *label : root->findChildren<QLabel *>()) {
        if (label->isVisible() && label->text().endsWith(suffix))
            return label;
    }
    return nullptr;
}

QMessageBox *openAlert(QWidget *view)
{
    QMessageBox *alert = nullptr;
    [&] { QTRY_VERIFY((alert = view->findChild<QMessageBox *>()) != nullptr); }();
    return alert;
}

QPushButton *buttonLabelled(QMessageBox *alert, const QString &label)
{
    for (QAbstractButton *button : alert->buttons()) {
        if (button->text() == label)
            return qobject_cast<QPushButton *>(button);
    }
    return nullptr;
}

const QVariantMap noWindows{{u"selectedCameraIDs"_s, idList({99})}};

} // namespace

class CameraViewTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void addressDecidesWhatTheWindowShows();
    void menuFollowsCustomNamesAndSwitchesCameras();
    void returnAsksBeforePoweringOff();
    void rendersInEveryState();
};

void CameraViewTest::initTestCase()
{
    qputenv("TMPDIR", QDir::tempPath().toLocal8Bit()); // loaders clean up after themselves
}

// Without a valid address only the placeholder shows and nothing fetches; with one, the picture
// and the footer, which shows the snapshot address but opens the host's page.
void CameraViewTest::addressDecidesWhatTheWindowShows()
{
    QVariantMap stored = noWindows;
    stored.insert(u"printerIP"_s, u"drucker zuhause"_s);
    stored.insert(u"customSnapshotPaths"_s, QVariantMap{{u"2"_s, u"snap.jpg"_s}});
    CameraApp app(stored);
    auto coordinator = app.start();
    CameraWindowView view(app.settings.resolvedCamera(cameraCatalogue()[1]),
                          {app.settings, app.monitor, app.homeKit});
    view.show();
    const auto *placeholder = view.findChild<ContentUnavailableView *>();
    auto *footer = view.findChild<LinkButton *>();
    QVERIFY(placeholder->isVisible() && !footer->isVisible());
    QCOMPARE(placeholder->title(), u"Ungültige URL"_s);
    QVERIFY(!view.findChild<SnapshotStreamView *>()); // nothing that could fetch

    app.settings.setPrinterIP(u"127.0.0.1:9"_s);
    const auto *stream = view.findChild<SnapshotStreamView *>();
    QVERIFY(stream && stream->loader().isRunning() && footer->isVisible());
    QCOMPARE(footer->text(), u"http://127.0.0.1:9/snap.jpg"_s);
    QVERIFY(footer->font().underline()); // it looks like the link it is
    UrlRecorder recorder;
    QDesktopServices::setUrlHandler(u"http"_s, &recorder, "open");
    footer->click();
    QDesktopServices::unsetUrlHandler(u"http"_s);
    QCOMPARE(recorder.opened, QList<QUrl>{QUrl(u"http://127.0.0.1:9/"_s)});

    app.settings.setPrinterIP(u"drucker zuhause"_s); // losing it stops fetching again
    QVERIFY(!stream->loader().isRunning() && placeholder->isVisible());
}

void CameraViewTest::menuFollowsCustomNamesAndSwitchesCameras()
{
    CameraApp app({{u"selectedCameraIDs"_s, idList({1})},
                   {u"customCameraNames"_s, QVariantMap{{u"2"_s, u"Nozzle"_s}}}});
    auto coordinator = app.start();
    CameraWindow *window = coordinator->window(1);
    auto *view = qobject_cast<CameraWindowView *>(window->content());
    auto labels = [&] {
        QStringList texts;
        for (QAction *action : view->findChild<CameraMenuButton *>()->menu()->actions())
            texts << action->text();
        return texts;
    };
    QCOMPARE(view->findChild<CameraMenuButton *>()->text(), u"Übersichtscam"_s);
    QCOMPARE(labels(), (QStringList{u"Übersichtscam"_s, u"Nozzle"_s, u"Filamentcam"_s, QString(),
                                    u"Bildrate anzeigen"_s}));
    app.settings.setCustomName(u"Rolle"_s, 3);
    QCOMPARE(labels()[2], u"Rolle"_s);

    // Its own camera: nothing happens.
    view->findChild<CameraMenuButton *>()->menu()->actions()[0]->trigger();
    QCoreApplication::processEvents();
    QCOMPARE(window->content(), view);
    QCOMPARE(app.settings.selectedCameraIDs(), CameraIdSet{1});

    // Another camera takes the window's place.
    view->findChild<CameraMenuButton *>()->menu()->actions()[1]->trigger();
    QTRY_COMPARE(app.settings.selectedCameraIDs(), CameraIdSet{2});
    QCOMPARE(coordinator->openCameraIDs(), QList<CameraId>{2});
}

void CameraViewTest::returnAsksBeforePoweringOff()
{
    QTemporaryDir dir;
    test::FakeTool shortcuts(dir.path(), u"shortcuts"_s, u"true"_s);
    QVariantMap stored = noWindows;
    stored.insert(u"homeKitPowerOffSceneName"_s, u"Drucker aus"_s);
    CameraApp app(stored, shortcuts.path());
    auto coordinator = app.start();
    CameraWindowView view(cameraCatalogue()[0], {app.settings, app.monitor, app.homeKit});
    view.show();
    QVERIFY(QTest::qWaitForWindowActive(&view));

    QTest::keyClick(&view, Qt::Key_Return);
    QMessageBox *alert = openAlert(&view);
    QCOMPARE(alert->text(), u"Bist du sicher?"_s);
    QCOMPARE(alert->informativeText(), u"Der Kurzbefehl schaltet den Drucker aus."_s);
    QCOMPARE(alert->buttonRole(buttonLabelled(alert, u"Bis du sicher?"_s)),
             QMessageBox::DestructiveRole);
    writePng(*alert, u"camera-power-off-alert"_s);
    buttonLabelled(alert, u"Abbrechen"_s)->click();
    QTRY_VERIFY(!view.findChild<QMessageBox *>());
    QCoreApplication::processEvents();
    QVERIFY(shortcuts.calls().isEmpty());

    // Confirming runs the off scene named at that moment.
    view.findChild<QToolButton *>(u"powerButton"_s)->click();
    alert = openAlert(&view);
    app.settings.setHomeKitPowerOffSceneName(u"Alles aus"_s);
    buttonLabelled(alert, u"Bis du sicher?"_s)->click();
    const QList<QStringList> offScene{{u"run"_s, u"Alles aus"_s}};
    QTRY_COMPARE(shortcuts.calls(), offScene);
    QTRY_COMPARE(app.homeKit.actionMessage(), u"Kurzbefehl \"Alles aus\" ausgefuehrt"_s);
}

// Every state at the default size and at the smallest: the picture letterboxed, a failure's card
// with all its text, the card over the last good picture, the host-offline card, the placeholder.
void CameraViewTest::rendersInEveryState()
{
    bool overviewFails = false;
    LoopbackHttpServer printer;
    printer.setHandler([&](const HttpRequest &request) {
        return request.path == "/webcam/?action=snapshot" && !overviewFails
                   ? HttpReply::content("image/jpeg", test::testJpeg({1280, 960}))
                   : HttpReply::status("HTTP/1.1 404 Not Found");
    });
    const QString closedAddress = LoopbackHttpServer::closedAddress();
    QVariantMap stored = noWindows;
    stored.insert(u"printerIP"_s, printer.address());
    CameraApp app(stored);
    auto coordinator = app.start();
    QTRY_VERIFY_WITH_TIMEOUT(app.monitor.reachability() == PiReachability::reachable(), 20000);

    const CameraWindowEnvironment environment{app.settings, app.monitor, app.homeKit};
    for (const QSize size : {QSize(436, 296), QSize(320, 220)}) {
        const QString suffix = u"-%1x%2"_s.arg(size.width()).arg(size.height());
        CameraWindowView live(cameraCatalogue()[0], environment);
        live.resize(size);
        live.show();
        auto *stream = live.findChild<SnapshotStreamView *>();
        QSignalSpy pictures(&stream->loader(), &SnapshotLoader::imageChanged);
        QVERIFY(pictures.wait(20000));
        if (size.width() == 436) { // the rate readout, switched on from the window's menu
            live.findChild<CameraMenuButton *>()->menu()->actions().last()->trigger();
            QTRY_VERIFY(app.settings.showPictureRate());
            QLabel *rate = nullptr;
            QTRY_VERIFY_WITH_TIMEOUT((rate = childWithSuffix(&live, u" B/s"_s)), 20000);
            QVERIFY(rate->text().contains(u','));
        }
        writePng(live, u"camera-live"_s + suffix);
        // A 4:3 picture in a wider area: black bars left and right, the picture in the middle.
        const QImage frame = stream->grab().toImage();
        QCOMPARE(frame.pixelColor(2, frame.height() / 2), QColor(Qt::black));
        QVERIFY(frame.pixelColor(frame.width() / 2, frame.height() / 2).lightness() > 200);

        CameraWindowView failing(cameraCatalogue()[1], environment);
        failing.resize(size);
        failing.show();
        QTRY_VERIFY_WITH_TIMEOUT(failing.findChild<SnapshotErrorCard *>()->isVisible(), 20000);
        QVERIFY(cardShowsEverything(failing.findChild<SnapshotErrorCard *>()));
        QVERIFY(!failing.findChild<ProgressSpinner *>()->isVisible()); // no spinner under it
        QCOMPARE(failing.findChild<SnapshotErrorCard *>()->title(), u"Kamera nicht erreichbar"_s);
        writePng(failing, u"camera-error"_s + suffix);
        if (size.width() < 436)
            break;

        // The last good picture stays under the card, and a window minimised and shown again
        // keeps the card until the next round has news.
        overviewFails = true;
        const auto *card = live.findChild<SnapshotErrorCard *>();
        QTRY_VERIFY_WITH_TIMEOUT(card->isVisible(), 20000);
        const QPoint top(frame.width() / 2, 8);
        QVERIFY(frame.pixelColor(top) != QColor(Qt::black));
        const QColor under = stream->grab().toImage().pixelColor(top);
        QVERIFY(std::abs(under.red() - frame.pixelColor(top).red()) < 8 &&
                std::abs(under.blue() - frame.pixelColor(top).blue()) < 8);
        writePng(live, u"camera-error-over-picture"_s);
        live.hide();
        QVERIFY(!stream->loader().isRunning());
        live.show();
        QVERIFY(stream->loader().isRunning() && card->isVisible());
        overviewFails = false;
    }

    // A camera mounted sideways: its picture arrives upright and stands in the middle.
    app.settings.setOrientation({90, false, false}, 1);
    CameraWindowView turned(cameraCatalogue()[0], environment);
    turned.resize(436, 296);
    turned.show();
    auto *stream = turned.findChild<SnapshotStreamView *>();
    QSignalSpy pictures(&stream->loader(), &SnapshotLoader::imageChanged);
    QVERIFY(pictures.wait(20000));
    QCOMPARE(stream->loader().image().size(),
             QSize(960, 1280).scaled(stream->size(), Qt::KeepAspectRatio));
    writePng(turned, u"camera-turned-90"_s);

    // The monitor takes an address one change late: the second change brings the first in.
    app.settings.setPrinterIP(closedAddress);
    app.settings.setPrinterIP(closedAddress + u'/');
    QTRY_VERIFY_WITH_TIMEOUT(app.monitor.reachability().isUnreachable(), 20000);
    CameraWindowView offline(cameraCatalogue()[2], environment);
    offline.resize(436, 296);
    offline.show();
    const auto *card = offline.findChild<SnapshotErrorCard *>();
    QTRY_VERIFY_WITH_TIMEOUT(card->isVisible(), 20000);
    QCOMPARE(card->title(), u"Raspberry Pi offline"_s);
    writePng(offline, u"camera-host-offline"_s);
    offline.resize(320, 220);
    QTRY_VERIFY(cardShowsEverything(card));
    writePng(offline, u"camera-host-offline-320x220"_s);

    app.settings.setPrinterIP(u"drucker zuhause"_s);
    CameraWindowView invalid(cameraCatalogue()[2], environment);
    invalid.resize(320, 220);
    invalid.show();
    writePng(invalid, u"camera-invalid-url"_s);
}

QTEST_MAIN(CameraViewTest)
#include "tst_camera_view.moc"
