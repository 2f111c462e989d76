// SPDX-License-Identifier: GPL-3.0-or-later
// The main window, the start-up prompt, the settings window and the camera windows as a user
// meets them: what each shows in every state, that every change is stored at once, that powering
// off asks first, that no text is cut, and where the camera windows stand.
#include "CameraApp.h"
#include "FakeTool.h"
#include "Helpers.h"
#include "LoopbackHttpServer.h"
#include "app/KestrelApp.h"
#include "camera/CameraMenuButton.h"
#include "camera/CameraWindowView.h"
#include "camera/PrintControls.h"
#include "camera/SnapshotErrorCard.h"
#include "camera/SnapshotStreamView.h"
#include "screens/ContentView.h"
#include "screens/SettingsView.h"
#include "screens/StartupInfoView.h"
#include "stream/SnapshotLoader.h"
#include "widgets/ContentUnavailableView.h"
#include "widgets/LinkButton.h"
#include "widgets/ProgressSpinner.h"
#include "windows/CameraWindow.h"
#include "windows/ScreenFrames.h"
#include "windows/WindowGeometry.h"

#include <QAccessible>
#include <QCheckBox>
#include <QComboBox>
#include <QDesktopServices>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QScrollArea>
#include <QSignalSpy>
#include <QStyle>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

using namespace kestrel;
using namespace kestrel::windowGeometry;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using test::CameraApp;
using test::FakeTool;
using test::idList;
using P = WindowPlacement;

namespace {

template <typename T = QPushButton> T *childWithText(QWidget *root, const QString &text)
{
    for (T *child : root->findChildren<T *>()) {
        if (child->text() == text)
            return child;
    }
    return nullptr;
}

QStringList labelTexts(QWidget *root)
{
    QStringList texts;
    for (const QLabel *label : root->findChildren<QLabel *>()) {
        if (label->isVisibleTo(root))
            texts << label->text();
    }
    return texts;
}

QMessageBox *openAlert(QWidget *view)
{
    QMessageBox *alert = nullptr;
    [&] { QTRY_VERIFY((alert = view->findChild<QMessageBox *>()) != nullptr); }();
    return alert;
}

// The card shows its symbol, its title and its whole detail, each as tall as its text needs.
bool cardShowsEverything(const SnapshotErrorCard *card)
{
    if (!card->parentWidget()->rect().contains(card->geometry()))
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

// A printer host that answers, and a shortcuts tool that answers the status query with
// `statusAnswer` and records every call.
struct Environment
{
    explicit Environment(const QString &statusAnswer = u"aus"_s)
        : shortcuts(dir.path(), u"shortcuts"_s, u"echo '%1'"_s.arg(statusAnswer))
    {}
    QTemporaryDir dir;
    FakeTool shortcuts;
    LoopbackHttpServer printer;
};

QPointF originOf(const QWidget *window)
{
    return screenFrames::frame(window).topLeft(); // our x, y: the lower-left corner
}

const QVariantMap noWindows{{u"selectedCameraIDs"_s, idList({99})}};

} // namespace

class ScreensTest : public QObject
{
    Q_OBJECT

public:
    // Exact positions need a known screen: 1440 x 900, and windows without frame margins (the
    // real frames are the desktop test's business).
    static void initMain()
    {
        qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" KESTREL_OFFSCREEN_CONFIG);
    }

public slots:
    // Stands in for the file manager and the browser.
    void openUrl(const QUrl &url) { m_opened << url; }

private slots:
    void initTestCase() { qputenv("TMPDIR", QDir::tempPath().toLocal8Bit()); }
    void promptOnAppearAndOnNewReasons();
    void settingsWindowStoresAtOnceAndAsksBeforePowerOff();
    void everyScreenShowsItsTextsWhole();
    void cameraWindowFollowsAddressAndNames();
    void takingCamerasOverRefreshesTheirWindows();
    void cameraWindowInEveryState();
    void workedExampleAndWrappingRow();
    void startOpensTheSelectionInOrderAndLaysOut();
    void closingDeselectsAndSavesTheFrame();
    void savedFrameOnlyForFreeCornersSnapBack();

private:
    QList<QUrl> m_opened;
};

// The prompt opens when the host is unreachable as the window appears, and again only for a new
// reason. Behind it, "Ender einschalten" offers itself while the printer is off.
void ScreensTest::promptOnAppearAndOnNewReasons()
{
    Environment environment(u"aus"_s);
    QVariantMap stored = noWindows;
    stored.insert(u"homeKitStatusShortcutName"_s, u"Status"_s);
    CameraApp app(stored, environment.shortcuts.path(), 30ms); // the same reason again and again
    const PiStatusMonitor &monitor = app.monitor;
    QTRY_VERIFY(monitor.reachability().isUnreachable());
    auto coordinator = app.start();
    ContentView view(app.printers, *coordinator, [] {});

    view.show();
    QVERIFY(view.showsStartupInfo());
    auto *prompt = view.findChild<StartupInfoView *>();
    childWithText(prompt, u"Abbrechen"_s)->click();
    QVERIFY(!view.showsStartupInfo());
    QTRY_VERIFY(childWithText(&view, u"Ender einschalten"_s)->isVisible());

    // The same reason again and again keeps it closed...
    QSignalSpy published(&monitor, &PiStatusMonitor::reachabilityChanged);
    QTRY_VERIFY(published.count() >= 3);
    QVERIFY(!view.showsStartupInfo());
    // ... a new reason brings it back (the monitor takes an address one change late).
    const QString closedAddress = LoopbackHttpServer::closedAddress();
    app.printer.setPrinterIP(closedAddress);
    app.printer.setPrinterIP(closedAddress + u'/');
    QTRY_VERIFY_WITH_TIMEOUT(monitor.reachability().reason().startsWith(u"curl: (7)"), 20000);
    QVERIFY(view.showsStartupInfo());
}

void ScreensTest::settingsWindowStoresAtOnceAndAsksBeforePowerOff()
{
    QTemporaryDir config;
    const QByteArray ownConfig = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_CONFIG_HOME", config.path().toUtf8());
    Environment environment;
    CameraApp app({{u"selectedCameraIDs"_s, idList({99})},
                   {u"cameraPlacements"_s, QVariantMap{}},
                   {u"customCameraNames"_s, QVariantMap{{u"2"_s, u"Nozzle"_s}}}},
                  environment.shortcuts.path());
    SettingsView view(app.printers);
    view.show();

    // Camera 2's name field: cleared, the entry goes and the catalogue name shows again.
    QLineEdit *name = childWithText<QLineEdit>(&view, u"Nozzle"_s);
    name->selectAll();
    QTest::keyClick(name, Qt::Key_Backspace);
    QCOMPARE(name->text(), u"Düsencam"_s);
    QCOMPARE(app.store.value(u"customCameraNames"_s), QVariant(QVariantMap{}));

    // Clicking a camera's name toggles it, as a check box's label does; it is written at once.
    QCheckBox *third = childWithText<QCheckBox>(&view, u"Filamentcam"_s);
    const int nameMiddle = third->style()->pixelMetric(QStyle::PM_IndicatorWidth) +
                           third->style()->pixelMetric(QStyle::PM_CheckBoxLabelSpacing) +
                           third->fontMetrics().horizontalAdvance(third->text()) / 2;
    QTest::mouseClick(third, Qt::LeftButton, {}, QPoint(nameMiddle, third->height() / 2));
    QCOMPARE(app.store.value(u"selectedCameraIDs"_s), idList({3, 99}));

    // No placement entry shows "Frei"; choosing it makes the entry explicit.
    auto combo = [&](const QString &name, int index) {
        QList<QComboBox *> found = view.findChildren<QComboBox *>();
        found.removeIf([&](QComboBox *box) { return box->accessibleName() != name; });
        return found.value(index);
    };
    QComboBox *picker = combo(u"Startposition"_s, 1);
    QCOMPARE(picker->currentText(), u"Frei"_s);
    picker->activated(4);
    QCOMPARE(app.store.value(u"cameraPlacements"_s), QVariant(QVariantMap{{u"2"_s, u"free"_s}}));

    // Turning camera 2 and mirroring camera 1 are stored at once.
    QComboBox *rotation = combo(u"Drehung Düsencam"_s, 0);
    rotation->setCurrentIndex(rotation->findText(u"270°"_s)); // as a click on the entry does
    rotation->activated(rotation->currentIndex());
    childWithText<QCheckBox>(&view, u"Horizontal spiegeln"_s)->click();
    QCOMPARE(app.store.value(u"cameraRotations"_s), QVariant(QVariantMap{{u"2"_s, u"270"_s}}));
    QCOMPARE(app.store.value(u"cameraMirroring"_s),
             QVariant(QVariantMap{{u"1"_s, u"horizontal"_s}}));

    // The scenes folder is named, and its button makes it, puts the templates in as examples
    // that cannot run, and opens it.
    const QString folder = config.filePath(u"Kestrel/scenes"_s);
    QVERIFY(childWithText<QLabel>(&view, u"Szenen sind ausführbare Dateien in "_s + folder));
    QDesktopServices::setUrlHandler(u"file"_s, this, "openUrl");
    childWithText(&view, u"Szenenordner öffnen"_s)->click();
    QDesktopServices::unsetUrlHandler(u"file"_s);

    // "Beim Anmelden starten" is the autostart entry itself: ticked, Kestrel starts into the
    // tray at login; the box shows the entry as it is, also one made or removed elsewhere.
    // It names this very program: by its path, unless the PATH finds it as "kestrel".
    QCheckBox *atLogin = childWithText<QCheckBox>(&view, u"Beim Anmelden starten"_s);
    QFile entry(config.filePath(u"autostart/kestrel.desktop"_s));
    const auto written = [&] {
        entry.open(QIODevice::ReadOnly);
        const QByteArray text = entry.readAll();
        entry.close();
        return text;
    };
    atLogin->click();
    QVERIFY(written().contains("\nExec=" + QCoreApplication::applicationFilePath().toUtf8() +
                               " --hidden\n"));
    atLogin->click();
    QVERIFY(!entry.exists() && !atLogin->isChecked());
    QTemporaryDir bin;
    QVERIFY(QFile::link(QCoreApplication::applicationFilePath(), bin.filePath(u"kestrel"_s)));
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", bin.path().toUtf8() + ':' + path);
    atLogin->click();
    qputenv("PATH", path);
    QVERIFY(written().contains("\nExec=kestrel --hidden\n"));
    // One the desktop switched off counts as off, and ticking the box switches it on again.
    for (const QByteArray off : {"Hidden=true", "X-GNOME-Autostart-enabled=false"}) {
        view.hide();
        QVERIFY(entry.open(QIODevice::WriteOnly) &&
                entry.write("[Desktop Entry]\nExec=kestrel\n" + off + "\n") > 0);
        entry.close();
        view.show();
        QVERIFY(!atLogin->isChecked());
        atLogin->click();
        QVERIFY(atLogin->isChecked() && !written().contains(off));
    }
    view.hide();
    QVERIFY(entry.open(QIODevice::WriteOnly) && entry.write("[Desktop Entry]\n") > 0);
    entry.close();
    view.show();
    QVERIFY(atLogin->isChecked());
    qputenv("XDG_CONFIG_HOME", ownConfig);
    QCOMPARE(m_opened.takeLast(), QUrl::fromLocalFile(folder));
    QVERIFY(QFileInfo::exists(folder + u"/tasmota-an.beispiel"_s));
    QCOMPARE(QFile::permissions(folder + u"/tasmota.conf"_s) & 0x0077, 0);
    QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Executable), QStringList());

    // "Klipper ausschalten" asks first; only "Ausschalten" runs the scene.
    childWithText(&view, u"Klipper ausschalten"_s)->click();
    QCOMPARE(openAlert(&view)->text(), u"Klipper ausschalten?"_s);
    childWithText(openAlert(&view), u"Abbrechen"_s)->click();
    QTRY_VERIFY(!view.findChild<QMessageBox *>());
    childWithText(&view, u"Klipper ausschalten"_s)->click();
    childWithText(openAlert(&view), u"Ausschalten"_s)->click();
    const QList<QStringList> offScene{{u"run"_s, u"Klipper ausschalten"_s}};
    QTRY_COMPARE(environment.shortcuts.calls(), offScene);

    // Escape closes the window, as Ctrl+W does.
    view.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&view));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    QVERIFY(!view.isVisible());

    // Without the shortcuts tool the scene runner switches the printer, and the section says so.
    PrinterList scenes(app.settings,
                       {.shortcuts = u"/kein/shortcuts"_s, .sceneRunner = u"/bin/true"_s});
    SettingsView sceneView(scenes);
    QStringList sections;
    for (const QGroupBox *box : sceneView.findChildren<QGroupBox *>())
        sections << box->title();
    QVERIFY(sections.contains(u"Steckdose"_s) && !sections.contains(u"HomeKit"_s));
    QVERIFY(childWithText(&sceneView, u"Status aktualisieren"_s));
    QVERIFY(labelTexts(&sceneView).filter(u"Kurzbefehl"_s).isEmpty());
    QVERIFY(labelTexts(&sceneView).contains(u"Status-Szene (optional)"_s));
    sceneView.findChild<QScrollArea *>()->widget()->grab().save(u"settings-window-scenes.png"_s);
}

// Every screen open at once, through the app as it starts: the main window in both of the host's
// states, the start-up prompt and the settings. Capital umlauts rise above the font's ascent; a
// label without room for them loses their dots, and none may, nor be cut at its end.
void ScreensTest::everyScreenShowsItsTextsWhole()
{
    Environment environment(u"ein"_s);
    MemoryKeyValueStore store({{u"selectedCameraIDs"_s, idList({1, 2})},
                               {u"printerIP"_s, environment.printer.address()},
                               {u"homeKitStatusShortcutName"_s, u"Status"_s},
                               {u"customCameraNames"_s, QVariantMap{{u"2"_s, u"Düse"_s}}},
                               {u"cameraStreamPaths"_s, QVariantMap{{u"1"_s, u"/live"_s}}}});
    KestrelApp app(store, {.shortcuts = environment.shortcuts.path()});
    QWidget &view = app.mainWindow();
    view.resize(680, 560);
    QTRY_VERIFY_WITH_TIMEOUT(labelTexts(&view).contains(u"Raspberry Pi erreichbar"_s), 20000);
    QVERIFY(labelTexts(&view).filter(u"PiP-Fenster auf dem Desktop an."_s).size() == 1);
    app.printers().first().power().runShortcut(u"Klipper einschalten"_s); // one line more
    QTRY_VERIFY(app.printers().first().power().actionMessage().has_value());
    QTRY_COMPARE(app.printers().first().power().accessoryState(), HomeKitAccessoryState::on());
    // A camera row's caption stands under its name, beside the symbol.
    const auto left = [&view](const QString &text) {
        return childWithText<QLabel>(&view, text)->mapTo(&view, QPoint()).x();
    };
    QCOMPARE(left(u"1920x1080 • Proxy /webcam2/?action=snapshot"_s), left(u"Düse"_s));
    QVERIFY(childWithText<QLabel>(&view, u"1280x960 • Live-Stream /live"_s)); // as its window says

    // The menu's "Einstellungen…" twice gives one window, whose changes reach the main window at
    // once; Qt's own texts in it speak German too.
    const QList<QAction *> menu = app.mainWindow().menuBar()->actions().first()->menu()->actions();
    QAction *preferences = *std::find_if(menu.begin(), menu.end(), [](const QAction *action) {
        return action->text() == u"Einstellungen…"_s && !action->shortcut().isEmpty();
    });
    preferences->trigger();
    preferences->trigger();
    const QList<QWidget *> windows = QApplication::topLevelWidgets();
    QCOMPARE(std::count_if(windows.begin(), windows.end(),
                           [](QWidget *window) { return qobject_cast<SettingsView *>(window); }),
             1);
    QLineEdit *address =
        childWithText<QLineEdit>(app.settingsWindow(), environment.printer.address());
    QCOMPARE(
        std::unique_ptr<QMenu>(address->createStandardContextMenu())->actions().first()->text(),
        u"&Rückgängig\tStrg+Z"_s);
    address->selectAll();
    QTest::keyClick(address, Qt::Key_Backspace);
    QTest::keyClick(address, Qt::Key_Space); // the monitor takes an address one change late
    QCOMPARE(store.value(u"printerIP"_s), QVariant(u" "_s));
    QVERIFY(labelTexts(&view).contains(u"Drucker-IP:  "_s));
    QTRY_VERIFY_WITH_TIMEOUT(app.contentView().showsStartupInfo(), 20000);
    // The host's state, and under it the reason it gives; the printer is on, so no power-on row.
    QVERIFY(labelTexts(&view).contains(u"Raspberry Pi nicht erreichbar"_s));
    QVERIFY(labelTexts(&view).contains(u"Keine Drucker-IP eingetragen"_s));
    QVERIFY(!childWithText(&view, u"Ender einschalten"_s)->isVisible());
    QVERIFY(app.settingsWindow()->width() >= 560);
    // On a screen lower than the form, the window fits and the form scrolls.
    QVERIFY(app.settingsWindow()->frameGeometry().height() <=
            app.settingsWindow()->screen()->availableGeometry().height());

    int checked = 0;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        for (const QLabel *label : window->findChildren<QLabel *>()) {
            if (!label->isVisible() || label->text().isEmpty() || label->wordWrap())
                continue;
            const QFontMetrics metrics = label->fontMetrics();
            const int rise = -metrics.tightBoundingRect(label->text()).top() - metrics.ascent();
            QVERIFY2(label->sizeHint().height() >= metrics.height() + std::max(rise, 0) &&
                         label->height() >= label->sizeHint().height() &&
                         label->width() >= label->minimumSizeHint().width(),
                     qPrintable(label->text()));
            ++checked;
        }
    }
    QVERIFY(checked > 10);

    // A screen reader names every control the keyboard reaches, by its German label.
    for (QWidget *window : {&view, static_cast<QWidget *>(app.settingsWindow())}) {
        for (QWidget *control : window->findChildren<QWidget *>()) {
            if (!control->isVisible() || !(control->focusPolicy() & Qt::TabFocus) ||
                qobject_cast<QScrollArea *>(control))
                continue;
            QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(control);
            QVERIFY2(accessible && !accessible->text(QAccessible::Name).isEmpty(),
                     control->metaObject()->className());
        }
    }

    // "Alle Fenster schließen" gives up every camera; "Kamerafenster öffnen" then opens none.
    childWithText(&view, u"Alle Fenster schließen"_s)->click();
    QCOMPARE(store.value(u"selectedCameraIDs"_s), idList({}));
    childWithText(&view, u"Kamerafenster öffnen"_s)->click();
    QTest::qWait(0);
    for (QWidget *window : QApplication::topLevelWidgets())
        QVERIFY(!qobject_cast<CameraWindow *>(window) || !window->isVisible());
}

// Without a valid address only the placeholder shows and nothing fetches; with one, the picture
// and the footer, which shows the snapshot address but opens the host's page. The window's menu
// names the cameras as the user does and switches the window to another. Powering off asks first.
void ScreensTest::cameraWindowFollowsAddressAndNames()
{
    Environment environment;
    CameraApp app({{u"selectedCameraIDs"_s, idList({1, 3})},
                   {u"printerIP"_s, u"drucker zuhause"_s},
                   {u"customSnapshotPaths"_s, QVariantMap{{u"1"_s, u"snap.jpg"_s}}},
                   {u"customCameraNames"_s, QVariantMap{{u"2"_s, u"Nozzle"_s}}},
                   {u"homeKitPowerOffSceneName"_s, u"Drucker aus"_s}},
                  environment.shortcuts.path());
    auto coordinator = app.start();
    CameraWindow *window = coordinator->window(1);
    auto *view = qobject_cast<CameraWindowView *>(window->content());
    const auto *placeholder = view->findChild<ContentUnavailableView *>();
    auto *footer = view->findChild<LinkButton *>();
    QVERIFY(placeholder->isVisible() && !footer->isVisible());
    QCOMPARE(placeholder->title(), u"Ungültige URL"_s);
    QVERIFY(!view->findChild<SnapshotStreamView *>()); // nothing that could fetch

    QSignalSpy closes(window, &CameraWindow::closing);
    app.printer.setPrinterIP(u"127.0.0.1:9"_s); // the same window gets new content
    QCOMPARE(coordinator->window(1), window);
    QCOMPARE(closes.count(), 0);
    view = qobject_cast<CameraWindowView *>(window->content());
    const auto *stream = view->findChild<SnapshotStreamView *>();
    footer = view->findChild<LinkButton *>();
    QTRY_VERIFY(stream && stream->source().isRunning() && footer->isVisible());
    QCOMPARE(footer->text(), u"http://127.0.0.1:9/snap.jpg"_s);
    QVERIFY(footer->font().underline()); // it looks like the link it is
    QDesktopServices::setUrlHandler(u"http"_s, this, "openUrl");
    footer->click();
    QDesktopServices::unsetUrlHandler(u"http"_s);
    QCOMPARE(m_opened.takeLast(), QUrl(u"http://127.0.0.1:9/"_s));

    auto *menuButton = view->findChild<CameraMenuButton *>();
    auto labels = [&] {
        QStringList texts;
        for (QAction *action : menuButton->menu()->actions())
            texts << action->text();
        return texts;
    };
    QCOMPARE(menuButton->text(), u"Übersichtscam"_s);
    QCOMPARE(labels().first(5), (QStringList{u"Übersichtscam"_s, u"Nozzle"_s, u"Filamentcam"_s,
                                             QString(), u"Bildrate anzeigen"_s}));
    app.printer.setCustomName(u"Rolle"_s, 3);
    QCOMPARE(labels()[2], u"Rolle"_s);

    // Its own camera: nothing happens. Another takes the window's place; one that is open
    // already only closes this window.
    QSignalSpy selections(&app.printer, &PrinterSettings::selectedCameraIDsWillChange);
    menuButton->menu()->actions()[0]->trigger();
    QCoreApplication::processEvents();
    QCOMPARE(selections.count(), 0);
    menuButton->menu()->actions()[1]->trigger();
    QTRY_COMPARE(app.printer.selectedCameraIDs(), (CameraIdSet{2, 3}));
    QCOMPARE(coordinator->openCameraIDs(), (QList<CameraId>{2, 3}));
    QCOMPARE(selections.count(), 1);
    view = qobject_cast<CameraWindowView *>(coordinator->window(2)->content());
    view->findChild<CameraMenuButton *>()->menu()->actions()[2]->trigger();
    QTRY_COMPARE(app.printer.selectedCameraIDs(), CameraIdSet{3});
    QCOMPARE(coordinator->openCameraIDs(), QList<CameraId>{3});

    // Return asks before powering off; confirming runs the off scene named at that moment.
    CameraWindow *three = coordinator->window(3);
    QTRY_VERIFY((view = qobject_cast<CameraWindowView *>(three->content()))->isVisible());
    three->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(three));
    QTest::keyClick(view, Qt::Key_Return);
    QMessageBox *alert = openAlert(three); // the window's, whatever content it gets meanwhile
    QCOMPARE(alert->text(), u"Bist du sicher?"_s);
    QCOMPARE(alert->informativeText(), u"Der Kurzbefehl schaltet den Drucker aus."_s);
    QCOMPARE(alert->buttonRole(childWithText(alert, u"Bis du sicher?"_s)),
             QMessageBox::DestructiveRole);
    childWithText(alert, u"Abbrechen"_s)->click();
    QTRY_VERIFY(!three->findChild<QMessageBox *>());
    view->findChild<QToolButton *>(u"powerButton"_s)->click();
    alert = openAlert(three);
    app.printer.setHomeKitPowerOffSceneName(u"Alles aus"_s);
    childWithText(alert, u"Bis du sicher?"_s)->click();
    const QList<QStringList> offScene{{u"run"_s, u"Alles aus"_s}};
    QTRY_COMPARE(environment.shortcuts.calls(), offScene);
    QTRY_COMPARE(app.homeKit.actionMessage(), u"Kurzbefehl \"Alles aus\" ausgefuehrt"_s);
}

// The picture letterboxed, with its rate, and turned when the camera is; a failure's card with
// all its text at the smallest size and no spinner under it; the card over the last good picture,
// kept while the window is minimised and shown again; the host-offline card.
// "Vom Drucker übernehmen" says it has taken the cameras over, so their windows show it at once:
// the new name and the new address, while a window whose camera stayed as it was is left alone.
void ScreensTest::takingCamerasOverRefreshesTheirWindows()
{
    LoopbackHttpServer printer;
    printer.setReply(HttpReply::content("application/json", R"({"result": {"webcams": [
        {"name": "Oben", "snapshot_url": "/oben.jpg"},
        {"name": "Düsencam", "snapshot_url": "/webcam2/?action=snapshot"}]}})"));
    MemoryKeyValueStore store(
        {{u"selectedCameraIDs"_s, idList({1, 2})}, {u"printerIP"_s, printer.address()}});
    KestrelApp app(store, {.shortcuts = u"/kein/shortcuts"_s});
    QWidget *unchanged = app.windowCoordinator().window(2)->content();
    app.openSettings();
    childWithText(app.settingsWindow(), u"Vom Drucker übernehmen"_s)->click();
    CameraWindow *window = app.windowCoordinator().window(1);
    QTRY_COMPARE_WITH_TIMEOUT(window->windowTitle(), u"Oben"_s, 20000);
    QTRY_COMPARE(window->content()->findChild<LinkButton *>()->text(),
                 u"http://"_s + printer.address() + u"/oben.jpg"_s);
    QCOMPARE(app.windowCoordinator().window(2)->content(), unchanged);
}

void ScreensTest::cameraWindowInEveryState()
{
    bool overviewFails = false;
    LoopbackHttpServer printer;
    printer.setHandler([&](const HttpRequest &request) {
        return request.path == "/webcam/?action=snapshot" && !overviewFails
                   ? HttpReply::content("image/jpeg", test::testJpeg({1280, 960}))
                   : HttpReply::status("HTTP/1.1 404 Not Found");
    });
    QVariantMap stored = noWindows;
    stored.insert(u"printerIP"_s, printer.address());
    CameraApp app(stored);
    auto coordinator = app.start();
    QTRY_VERIFY_WITH_TIMEOUT(app.monitor.reachability() == PiReachability::reachable(), 20000);

    const CameraWindowEnvironment environment{app.settings, app.printers.first()};
    QWidget window; // which the print's controls belong to
    auto &controls = *new PrintControls(app.printers.first(), &window);
    CameraWindowView live(cameraCatalogue()[0], environment, controls);
    live.resize(436, 296);
    live.show();
    auto *stream = live.findChild<SnapshotStreamView *>();
    QSignalSpy pictures(&stream->source(), &PictureSource::imageChanged);
    QVERIFY(pictures.wait(20000));
    live.findChild<CameraMenuButton *>()->menu()->actions().at(4)->trigger(); // the picture rate
    QTRY_VERIFY(app.settings.showPictureRate());
    QTRY_VERIFY_WITH_TIMEOUT(
        labelTexts(&live).filter(QRegularExpression(u"^\\d+,\\d B/s$"_s)).size() == 1, 20000);
    // A 4:3 picture in a wider area: black bars left and right, the picture in the middle.
    const QImage frame = stream->grab().toImage();
    QCOMPARE(frame.pixelColor(2, frame.height() / 2), QColor(Qt::black));
    QVERIFY(frame.pixelColor(frame.width() / 2, frame.height() / 2).lightness() > 200);

    CameraWindowView failing(cameraCatalogue()[1], environment, controls);
    failing.resize(320, 220);
    failing.show();
    const auto *card = failing.findChild<SnapshotErrorCard *>();
    QTRY_VERIFY_WITH_TIMEOUT(card->isVisible(), 20000);
    QVERIFY(cardShowsEverything(card));
    QVERIFY(!failing.findChild<ProgressSpinner *>()->isVisible());
    QCOMPARE(card->title(), u"Kamera nicht erreichbar"_s);

    overviewFails = true;
    card = live.findChild<SnapshotErrorCard *>();
    QTRY_VERIFY_WITH_TIMEOUT(card->isVisible(), 20000);
    const QPoint top(frame.width() / 2, 8);
    QVERIFY(frame.pixelColor(top) != QColor(Qt::black));
    const QColor under = stream->grab().toImage().pixelColor(top);
    QVERIFY(std::abs(under.red() - frame.pixelColor(top).red()) < 8 &&
            std::abs(under.blue() - frame.pixelColor(top).blue()) < 8);
    live.hide();
    QVERIFY(!stream->source().isRunning());
    live.show();
    QVERIFY(stream->source().isRunning() && card->isVisible());
    QVERIFY(!stream->source().picturesPerSecond()); // the pause counts as no time at all

    // A camera mounted sideways: its picture arrives upright, fitted to the window.
    overviewFails = false;
    app.printer.setOrientation({90, false, false}, 1);
    QTRY_COMPARE_WITH_TIMEOUT(stream->source().image().size(),
                              QSize(960, 1280).scaled(stream->size(), Qt::KeepAspectRatio), 20000);

    // The monitor takes an address one change late: the second change brings the first in.
    const QString closedAddress = LoopbackHttpServer::closedAddress();
    app.printer.setPrinterIP(closedAddress);
    app.printer.setPrinterIP(closedAddress + u'/');
    QTRY_VERIFY_WITH_TIMEOUT(app.monitor.reachability().isUnreachable(), 20000);
    CameraWindowView offline(cameraCatalogue()[2], environment, controls);
    offline.resize(320, 220);
    offline.show();
    card = offline.findChild<SnapshotErrorCard *>();
    QTRY_VERIFY_WITH_TIMEOUT(card->isVisible(), 20000);
    QCOMPARE(card->title(), u"Raspberry Pi offline"_s);
    QVERIFY(cardShowsEverything(card));
}

void ScreensTest::workedExampleAndWrappingRow()
{
    const QRectF area(0, 25, 1440, 850);
    QList<LayoutWindow> windows;
    for (CameraId id : {3, 1, 4, 2}) // the order given does not matter, ids do
        windows.append({id, QSizeF(420, 308), P::topLeft});
    QCOMPARE(layoutCornerWindows(windows, area),
             (QList<LayoutOrigin>{
                 {0, 1, {24, 543}}, {0, 2, {462, 543}}, {0, 3, {900, 543}}, {0, 4, {24, 217}}}));
    // Two printers share the corner: the first printer's windows, then the second's.
    windows = {{3, QSizeF(420, 308), P::topLeft, 0},
               {2, QSizeF(420, 308), P::topLeft, 1},
               {1, QSizeF(420, 308), P::topLeft, 1},
               {1, QSizeF(420, 308), P::topLeft, 0}};
    QCOMPARE(layoutCornerWindows(windows, area),
             (QList<LayoutOrigin>{
                 {0, 1, {24, 543}}, {0, 3, {462, 543}}, {1, 1, {900, 543}}, {1, 2, {24, 217}}}));

    // The same on the right and at the bottom: rows grow from their corner.
    windows = {{1, QSizeF(420, 308), P::bottomRight}, {2, QSizeF(420, 100), P::bottomRight}};
    QCOMPARE(layoutCornerWindows(windows, area),
             (QList<LayoutOrigin>{{0, 1, {996, 49}}, {0, 2, {558, 49}}}));

    // A window wider than the screen stands alone, one gap below its anchor; every further one
    // gets its own row.
    const QList<LayoutWindow> wide{{1, QSizeF(1400, 300), P::topLeft},
                                   {2, QSizeF(1400, 300), P::bottomRight},
                                   {3, QSizeF(1400, 200), P::topLeft}};
    QCOMPARE(layoutCornerWindows(wide, area),
             (QList<LayoutOrigin>{{0, 1, {24, 851 - 18 - 300}},
                                  {0, 3, {24, 851 - 18 - 300 - 18 - 200}},
                                  {0, 2, {1416 - 1400, 49 + 18}}}));
}

void ScreensTest::startOpensTheSelectionInOrderAndLaysOut()
{
    CameraApp app({{u"selectedCameraIDs"_s, idList({3, 1})},
                   {u"cameraRotations"_s, QVariantMap{{u"3"_s, u"90"_s}}}});
    auto coordinator = app.start();
    QCOMPARE(coordinator->openCameraIDs(), (QList<CameraId>{1, 3}));
    CameraWindow *one = coordinator->window(1);
    CameraWindow *three = coordinator->window(3);
    QCOMPARE(one->windowTitle(), u"Übersichtscam"_s);
    QVERIFY(one->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    QCOMPARE(one->geometry().size(), initialContentSize.toSize());
    // Turned 90°, camera 3 stands upright, as narrow as a camera window may be.
    QCOMPARE(three->geometry().size(), QSize(320, 420));

    // Default placements: 1 top left, 3 top right.
    QCOMPARE(screenFrames::visibleFrame(), QRectF(0, 0, 1440, 900));
    const auto origins = layoutCornerWindows(
        {{1, initialContentSize, P::topLeft}, {3, QSizeF(320, 420), P::topRight}},
        screenFrames::visibleFrame());
    QCOMPARE(origins[0].origin, QPointF(24, 900 - 24 - 280));
    QCOMPARE(originOf(one), origins[0].origin);
    QCOMPARE(originOf(three), origins[1].origin);
    QVERIFY(qobject_cast<CameraWindowView *>(one->content()));
}

// The user's close and a deselection in the settings each give up that camera alone, once, and
// keep its frame; cameras Kestrel does not know stay selected.
void ScreensTest::closingDeselectsAndSavesTheFrame()
{
    CameraApp app({{u"selectedCameraIDs"_s, idList({1, 2, 3, 42})},
                   {u"cameraPlacements"_s,
                    QVariantMap{{u"1"_s, u"bottomLeft"_s}, {u"2"_s, u"bottomLeft"_s}}}});
    auto coordinator = app.start();
    QPointer<CameraWindow> one = coordinator->window(1);
    CameraWindow *two = coordinator->window(2);
    const QRectF frame = screenFrames::frame(one);
    const QPointF secondBefore = originOf(two);
    QSignalSpy selections(&app.printer, &PrinterSettings::selectedCameraIDsWillChange);

    one->close(); // as the title bar's close button does
    QCOMPARE(app.store.value(u"selectedCameraIDs"_s), idList({2, 3, 42}));
    QCOMPARE(coordinator->openCameraIDs(), (QList<CameraId>{2, 3}));
    QVERIFY(originOf(two) != secondBefore); // laid out again: now first in its corner
    QTRY_VERIFY(one.isNull());              // and the closed window is gone
    QTRY_COMPARE(app.printer.frame(1), std::optional(frame));

    const QRectF thirdFrame = screenFrames::frame(coordinator->window(3));
    app.printer.setCameraSelected(3, false);
    QCOMPARE(selections.count(), 2);
    QCOMPARE(coordinator->openCameraIDs(), QList<CameraId>{2});
    QCOMPARE(app.printer.selectedCameraIDs(), (CameraIdSet{2, 42}));
    QTRY_COMPARE(app.printer.frame(3), std::optional(thirdFrame));
}

// Only a window placed "free" opens at its saved frame; one with no placement at all takes the
// cascade position. A corner window moved by hand snaps back at the next change.
void ScreensTest::savedFrameOnlyForFreeCornersSnapBack()
{
    const QString saved = u"{{300, 200}, {500, 400}}"_s;
    CameraApp app(
        {{u"selectedCameraIDs"_s, idList({1, 2, 3})},
         {u"cameraPlacements"_s, QVariantMap{{u"2"_s, u"free"_s}, {u"3"_s, u"topLeft"_s}}},
         {u"cameraWindowFrames"_s, QVariantMap{{u"1"_s, saved}, {u"2"_s, saved}}}});
    auto coordinator = app.start();
    QCOMPARE(screenFrames::frame(coordinator->window(2)), QRectF(300, 200, 500, 400));
    const QScreen *screen = QGuiApplication::primaryScreen();
    QCOMPARE(qtToScreen(coordinator->window(1)->geometry(), screen->geometry().height()),
             initialContentRect(1));

    CameraWindow *three = coordinator->window(3);
    const QPointF corner = originOf(three);
    screenFrames::setFrameOrigin(three, corner + QPointF(50, -30));
    QTRY_COMPARE(app.printer.frame(3)->topLeft(), corner + QPointF(50, -30));
    app.settings.setAlwaysOnTop(true); // any watched setting
    QCOMPARE(originOf(three), corner);
}

QTEST_MAIN(ScreensTest)
#include "tst_screens.moc"
