// SPDX-License-Identifier: GPL-3.0-or-later
#include "CameraApp.h"
#include "FakeTool.h"
#include "LoopbackHttpServer.h"
#include "LoopbackOnlyNetwork.h"
#include "Screenshots.h"
#include "app/KestrelApp.h"
#include "screens/ContentView.h"
#include "screens/SettingsView.h"
#include "screens/StartupInfoView.h"
#include "widgets/GlyphRoom.h"
#include "widgets/SymbolLabel.h"
#include "windows/CameraWindow.h"

#include <QAccessible>
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDesktopServices>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QSignalSpy>
#include <QStyle>
#include <QTemporaryDir>
#include <QTest>

#include <chrono>

using namespace kestrel;
using test::writePng;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using test::FakeTool;
using test::idList;

namespace {

template <typename T> T *childWithText(QWidget *root, const QString &text)
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

// A printer host that answers, or none at all; a shortcuts tool that answers the status query
// with `statusAnswer` and records every call.
struct Environment
{
    explicit Environment(const QString &statusAnswer = u"aus"_s)
        : shortcuts(dir.path(), u"shortcuts"_s, u"echo '%1'"_s.arg(statusAnswer))
    {}
    QTemporaryDir dir;
    FakeTool shortcuts;
    LoopbackHttpServer printer;
};

} // namespace

class ScreensTest : public QObject
{
    Q_OBJECT

public slots:
    // Stands in for the file manager.
    void openUrl(const QUrl &url) { m_opened << url; }

private slots:
    // Every address the tests use is loopback: none reached for the network.
    void cleanupTestCase();
    void settingsOpenOnceAndChangesShowAtOnce();
    void promptOnAppearAndOnNewReasons();
    void powerOnRowOnlyWhenItCanHelp();
    void settingsWindowStoresAtOnceAndAsksBeforePowerOff();
    void sceneFolderButtonPreparesTheFolder();
    void rendersEveryScreen();
    void everyGlyphFitsItsLabel();

private:
    kestrel::test::LoopbackOnlyNetwork &m_network = kestrel::test::LoopbackOnlyNetwork::install();
    QList<QUrl> m_opened;
};

// The menu's "Einstellungen…" twice gives one window, whose changes reach the main window at once.
void ScreensTest::settingsOpenOnceAndChangesShowAtOnce()
{
    Environment environment;
    MemoryKeyValueStore store({{u"printerIP"_s, environment.printer.address()}});
    KestrelApp app(store, {.shortcuts = environment.shortcuts.path()});
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
    QVERIFY(app.settingsWindow()->isVisible());

    QLineEdit *address = app.settingsWindow()->findChildren<QLineEdit *>().first();
    // Qt's own texts speak German too.
    QCOMPARE(
        std::unique_ptr<QMenu>(address->createStandardContextMenu())->actions().first()->text(),
        u"&Rückgängig\tStrg+Z"_s);
    address->selectAll();
    QTest::keyClicks(address, u"127.0.0.1:9 "_s);
    QCOMPARE(store.value(u"printerIP"_s).toString(), u"127.0.0.1:9 "_s);
    QVERIFY(labelTexts(&app.contentView()).contains(u"Drucker-IP: 127.0.0.1:9 "_s));
}

void ScreensTest::promptOnAppearAndOnNewReasons()
{
    const QString closedAddress = LoopbackHttpServer::closedAddress();
    test::CameraApp app({{u"selectedCameraIDs"_s, idList({99})}});
    PiStatusMonitor monitor(app.settings, nullptr, 30ms); // re-publishes the same reason often
    QTRY_VERIFY(monitor.reachability().isUnreachable());
    auto coordinator = app.start();
    ContentView view(app.settings, app.homeKit, monitor, *coordinator, [] {});

    view.show();
    QVERIFY(view.showsStartupInfo()); // unreachable when it appears
    auto *prompt = view.findChild<StartupInfoView *>();
    writePng(*prompt, u"startup-prompt"_s);
    childWithText<QPushButton>(prompt, u"Abbrechen"_s)->click();
    QVERIFY(!view.showsStartupInfo());

    // The same reason again and again keeps it closed...
    QSignalSpy published(&monitor, &PiStatusMonitor::reachabilityChanged);
    QTRY_VERIFY(published.count() >= 3);
    QVERIFY(!view.showsStartupInfo());
    // ... a new reason brings it back (the monitor takes an address one change late).
    app.settings.setPrinterIP(closedAddress);
    app.settings.setPrinterIP(closedAddress + u'/');
    QTRY_VERIFY_WITH_TIMEOUT(monitor.reachability().reason().startsWith(u"curl: (7)"), 20000);
    QVERIFY(view.showsStartupInfo());
}

void ScreensTest::powerOnRowOnlyWhenItCanHelp()
{
    auto powerOnVisible = [](const QString &statusAnswer, bool toolPresent) {
        Environment environment(statusAnswer);
        test::CameraApp app(
            {{u"selectedCameraIDs"_s, idList({99})}, {u"homeKitStatusShortcutName"_s, u"Status"_s}},
            toolPresent ? environment.shortcuts.path() : QString());
        auto coordinator = app.start();
        ContentView view(app.settings, app.homeKit, app.monitor, *coordinator, [] {});
        view.show();
        [&] {
            QTRY_VERIFY(app.monitor.reachability().isUnreachable());
            QTRY_VERIFY(app.homeKit.accessoryState().kind() !=
                        HomeKitAccessoryState::Kind::checking);
        }();
        view.setShowStartupInfo(false);
        return childWithText<QPushButton>(&view, u"Ender einschalten"_s)->isVisible();
    };
    QVERIFY(powerOnVisible(u"aus"_s, true));
    QVERIFY(!powerOnVisible(u"ein"_s, true));  // already on
    QVERIFY(!powerOnVisible(u"aus"_s, false)); // no tool
}

void ScreensTest::settingsWindowStoresAtOnceAndAsksBeforePowerOff()
{
    Environment environment;
    test::CameraApp app({{u"selectedCameraIDs"_s, idList({99})},
                         {u"cameraPlacements"_s, QVariantMap{}},
                         {u"customCameraNames"_s, QVariantMap{{u"2"_s, u"Nozzle"_s}}}},
                        environment.shortcuts.path());
    SettingsView view(app.settings, app.homeKit);
    view.show();

    // Camera 2's name field: cleared, the entry goes and the catalogue name shows again.
    QLineEdit *name = childWithText<QLineEdit>(&view, u"Nozzle"_s);
    QVERIFY(name);
    name->selectAll();
    QTest::keyClick(name, Qt::Key_Backspace);
    QCOMPARE(name->text(), u"Düsencam"_s);
    QVERIFY(!app.settings.customCameraNames().contains(2));
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

    // "Klipper ausschalten" asks first; only "Ausschalten" runs the scene.
    childWithText<QPushButton>(&view, u"Klipper ausschalten"_s)->click();
    QCOMPARE(view.findChild<QMessageBox *>()->text(), u"Klipper ausschalten?"_s);
    childWithText<QPushButton>(view.findChild<QMessageBox *>(), u"Abbrechen"_s)->click();
    QTRY_VERIFY(!view.findChild<QMessageBox *>());
    QCoreApplication::processEvents();
    QVERIFY(environment.shortcuts.calls().isEmpty());
    childWithText<QPushButton>(&view, u"Klipper ausschalten"_s)->click();
    childWithText<QPushButton>(view.findChild<QMessageBox *>(), u"Ausschalten"_s)->click();
    const QList<QStringList> offScene{{u"run"_s, u"Klipper ausschalten"_s}};
    QTRY_COMPARE(environment.shortcuts.calls(), offScene);

    // Escape closes the window, as Ctrl+W does.
    view.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&view));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    QVERIFY(!view.isVisible());
}

// The folder a Linux user fills with scenes: the settings name it, and the button makes it,
// puts the templates in as examples that cannot run, and opens it.
void ScreensTest::sceneFolderButtonPreparesTheFolder()
{
    QTemporaryDir config;
    const QByteArray ownConfig = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_CONFIG_HOME", config.path().toUtf8());
    QDesktopServices::setUrlHandler(u"file"_s, this, "openUrl");
    Environment environment;
    test::CameraApp app({}, environment.shortcuts.path());
    SettingsView view(app.settings, app.homeKit);
    const QString folder = config.filePath(u"Kestrel/scenes"_s);
    QVERIFY(childWithText<QLabel>(&view, u"Szenen sind ausführbare Dateien in "_s + folder));
    childWithText<QPushButton>(&view, u"Szenenordner öffnen"_s)->click();
    QDesktopServices::unsetUrlHandler(u"file"_s);
    qputenv("XDG_CONFIG_HOME", ownConfig);

    QCOMPARE(m_opened, QList{QUrl::fromLocalFile(folder)});
    const QFileInfo example(folder + u"/tasmota-an.beispiel"_s);
    QVERIFY(example.isFile());
    QVERIFY(!example.isExecutable());
    QCOMPARE(QFile::permissions(folder + u"/tasmota.conf"_s) & 0x0077, 0);
    QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Executable), QStringList());
}

void ScreensTest::rendersEveryScreen()
{
    const GlyphRoom glyphRoom; // as the app has it
    Environment environment(u"ein"_s);
    test::CameraApp app({{u"selectedCameraIDs"_s, idList({99})},
                         {u"printerIP"_s, environment.printer.address()},
                         {u"homeKitStatusShortcutName"_s, u"Status"_s},
                         {u"customCameraNames"_s, QVariantMap{{u"2"_s, u"Düse"_s}}}},
                        environment.shortcuts.path());
    app.settings.setSelectedCameraIDs({1, 2});
    auto coordinator = app.start();
    ContentView view(app.settings, app.homeKit, app.monitor, *coordinator, [] {});
    view.resize(680, 560);
    view.show();
    QTRY_VERIFY_WITH_TIMEOUT(app.monitor.reachability() == PiReachability::reachable(), 20000);
    QTRY_COMPARE(app.homeKit.accessoryState(), HomeKitAccessoryState::on());
    app.homeKit.runShortcut(u"Klipper einschalten"_s);
    QTRY_VERIFY(app.homeKit.actionMessage().has_value());
    QTRY_COMPARE(app.homeKit.accessoryState(), HomeKitAccessoryState::on());
    writePng(view, u"main-reachable-on"_s);
    // A camera row's caption stands under its name, beside the symbol.
    const auto left = [&view](const QString &text) {
        return childWithText<QLabel>(&view, text)->mapTo(&view, QPoint()).x();
    };
    QCOMPARE(left(u"1920x1080 • Proxy /webcam2/?action=snapshot"_s), left(u"Düse"_s));

    app.settings.setPrinterIP(QString());
    app.settings.setPrinterIP(u" "_s);
    QTRY_VERIFY_WITH_TIMEOUT(view.showsStartupInfo(), 20000);
    // The host's state, and under it the reason it gives.
    QVERIFY(labelTexts(&view).contains(u"Raspberry Pi nicht erreichbar"_s));
    QVERIFY(labelTexts(&view).contains(u"Keine Drucker-IP eingetragen"_s));
    writePng(view, u"main-unreachable"_s);
    writePng(*view.findChild<StartupInfoView *>(), u"main-unreachable-prompt"_s);

    SettingsView settings(app.settings, app.homeKit);
    settings.show();
    writePng(settings, u"settings"_s);
    writePng(*settings.findChild<QScrollArea *>()->widget(), u"settings-form"_s);
    QVERIFY(settings.width() >= 560);
    // On a screen lower than the form, the window fits and the form scrolls.
    QVERIFY(settings.frameGeometry().height() <= settings.screen()->availableGeometry().height());

    // "Alle Fenster schließen" gives up every camera; "Kamerafenster öffnen" then opens none.
    childWithText<QPushButton>(&view, u"Alle Fenster schließen"_s)->click();
    QCOMPARE(app.store.value(u"selectedCameraIDs"_s), idList({}));
    QVERIFY(coordinator->openCameraIDs().isEmpty());
    childWithText<QPushButton>(&view, u"Kamerafenster öffnen"_s)->click();
    QVERIFY(coordinator->openCameraIDs().isEmpty());
}

// Capital umlauts rise above the font's ascent; a label without room for them loses their dots.
// Every screen is open: the main window, the start-up prompt and the settings.
void ScreensTest::everyGlyphFitsItsLabel()
{
    MemoryKeyValueStore store({{u"printerIP"_s, LoopbackHttpServer::closedAddress()},
                               {u"selectedCameraIDs"_s, idList({1, 2, 3})}});
    KestrelApp app(store);
    app.openSettings();
    QTRY_VERIFY_WITH_TIMEOUT(app.contentView().showsStartupInfo(), 20000);
    app.homeKitManager().runShortcut(u"Klipper einschalten"_s); // one line more
    QTRY_VERIFY_WITH_TIMEOUT(app.homeKitManager().actionMessage().has_value(), 20000);
    int checked = 0;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (!window->isVisible())
            continue;
        for (const QLabel *label : window->findChildren<QLabel *>()) {
            if (!label->isVisible() || label->text().isEmpty() || label->wordWrap())
                continue;
            const QFontMetrics metrics = label->fontMetrics();
            const int rise = -metrics.tightBoundingRect(label->text()).top() - metrics.ascent();
            // Nor is a line cut at its end.
            QVERIFY2(label->sizeHint().height() >= metrics.height() + std::max(rise, 0) &&
                         label->height() >= label->sizeHint().height() &&
                         label->width() >= label->minimumSizeHint().width(),
                     qPrintable(label->text()));
            ++checked;
        }
    }
    QVERIFY(checked > 10);

    // A screen reader names every control the keyboard reaches, by its German label.
    for (QWidget *window : {static_cast<QWidget *>(&app.mainWindow()),
                            static_cast<QWidget *>(app.settingsWindow())}) {
        for (QWidget *control : window->findChildren<QWidget *>()) {
            if (!control->isVisible() || !(control->focusPolicy() & Qt::TabFocus) ||
                qobject_cast<QScrollArea *>(control))
                continue;
            QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(control);
            QVERIFY2(accessible && !accessible->text(QAccessible::Name).isEmpty(),
                     control->metaObject()->className());
        }
    }
}

void ScreensTest::cleanupTestCase()
{
    QCOMPARE(m_network.strayHosts(), QStringList());
}

QTEST_MAIN(ScreensTest)
#include "tst_screens.moc"
