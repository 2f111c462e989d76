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
    explicit Environment(const QString &statusAnswer = QStringLiteral("aus"))
        : shortcuts(dir.path(), QStringLiteral("shortcuts"),
                    QStringLiteral("echo '%1'").arg(statusAnswer))
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
    void oneSettingsWindowAfterTwoOpens();
    void settingsChangesShowAtOnceInTheMainWindow();
    void promptOnAppearAndOnNewReasons();
    void powerOnRowOnlyWhenItCanHelp();
    void closeAllEmptiesTheSelection();
    void settingsFieldsToggleAndPicker();
    void powerOffAsksFirst();
    void sceneFolderButtonPreparesTheFolder();
    void rendersEveryScreen();
    void everyGlyphFitsItsLabel();

private:
    kestrel::test::LoopbackOnlyNetwork &m_network = kestrel::test::LoopbackOnlyNetwork::install();
    QList<QUrl> m_opened;
};

void ScreensTest::oneSettingsWindowAfterTwoOpens()
{
    Environment environment;
    MemoryKeyValueStore store({{QStringLiteral("printerIP"), environment.printer.address()}});
    KestrelApp app(store, {.shortcuts = environment.shortcuts.path()});
    QAction *preferences = nullptr;
    for (QAction *action : app.mainWindow().menuBar()->actions().first()->menu()->actions()) {
        if (action->text() == QStringLiteral("Einstellungen…"))
            preferences = action;
    }
    QVERIFY(preferences);
    QVERIFY(!preferences->shortcut().isEmpty());
    preferences->trigger();
    SettingsView *first = app.settingsWindow();
    preferences->trigger();
    QCOMPARE(app.settingsWindow(), first);
    QVERIFY(first->isVisible());
    int settingsWindows = 0;
    for (QWidget *window : QApplication::topLevelWidgets())
        settingsWindows += qobject_cast<SettingsView *>(window) ? 1 : 0;
    QCOMPARE(settingsWindows, 1);
    QCOMPARE(first->windowTitle(), QStringLiteral("Einstellungen"));
}

void ScreensTest::settingsChangesShowAtOnceInTheMainWindow()
{
    Environment environment;
    MemoryKeyValueStore store({{QStringLiteral("printerIP"), environment.printer.address()}});
    KestrelApp app(store, {.shortcuts = environment.shortcuts.path()});
    app.openSettings();
    QLineEdit *address = app.settingsWindow()->findChildren<QLineEdit *>().first();
    // Qt's own texts speak German too.
    QCOMPARE(
        std::unique_ptr<QMenu>(address->createStandardContextMenu())->actions().first()->text(),
        QStringLiteral("&Rückgängig\tStrg+Z"));
    address->selectAll();
    QTest::keyClicks(address, QStringLiteral("127.0.0.1:9 "));
    QCOMPARE(store.value(QStringLiteral("printerIP")).toString(), QStringLiteral("127.0.0.1:9 "));
    QVERIFY(labelTexts(&app.contentView()).contains(QStringLiteral("Drucker-IP: 127.0.0.1:9 ")));
}

void ScreensTest::promptOnAppearAndOnNewReasons()
{
    const QString closedAddress = LoopbackHttpServer::closedAddress();
    test::CameraApp app({{QStringLiteral("selectedCameraIDs"), idList({99})}});
    PiStatusMonitor monitor(app.settings, nullptr, 30ms); // re-publishes the same reason often
    QTRY_VERIFY(monitor.reachability().isUnreachable());
    auto coordinator = app.start();
    ContentView view(app.settings, app.homeKit, monitor, *coordinator, [] {});

    view.show();
    QVERIFY(view.showsStartupInfo()); // unreachable when it appears
    auto *prompt = view.findChild<StartupInfoView *>();
    writePng(*prompt, QStringLiteral("startup-prompt"));
    childWithText<QPushButton>(prompt, QStringLiteral("Abbrechen"))->click();
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
            {{QStringLiteral("selectedCameraIDs"), idList({99})},
             {QStringLiteral("homeKitStatusShortcutName"), QStringLiteral("Status")}},
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
        return childWithText<QPushButton>(&view, QStringLiteral("Ender einschalten"))->isVisible();
    };
    QVERIFY(powerOnVisible(QStringLiteral("aus"), true));
    QVERIFY(!powerOnVisible(QStringLiteral("ein"), true));  // already on
    QVERIFY(!powerOnVisible(QStringLiteral("aus"), false)); // no tool
}

void ScreensTest::closeAllEmptiesTheSelection()
{
    test::CameraApp app({{QStringLiteral("selectedCameraIDs"), idList({1, 2})}});
    auto coordinator = app.start();
    ContentView view(app.settings, app.homeKit, app.monitor, *coordinator, [] {});
    childWithText<QPushButton>(&view, QStringLiteral("Alle Fenster schließen"))->click();
    QCOMPARE(app.settings.selectedCameraIDs(), CameraIdSet{});
    QCOMPARE(app.store.value(QStringLiteral("selectedCameraIDs")), idList({}));
    QVERIFY(coordinator->openCameraIDs().isEmpty());
    childWithText<QPushButton>(&view, QStringLiteral("Kamerafenster öffnen"))->click();
    QVERIFY(coordinator->openCameraIDs().isEmpty());
}

void ScreensTest::settingsFieldsToggleAndPicker()
{
    test::CameraApp app({{QStringLiteral("selectedCameraIDs"), idList({99})},
                         {QStringLiteral("cameraPlacements"), QVariantMap{}},
                         {QStringLiteral("customCameraNames"),
                          QVariantMap{{QStringLiteral("2"), QStringLiteral("Nozzle")}}}});
    SettingsView view(app.settings, app.homeKit);
    view.show();

    // Camera 2's name field: cleared, the entry goes and the catalogue name shows again.
    QLineEdit *name = childWithText<QLineEdit>(&view, QStringLiteral("Nozzle"));
    QVERIFY(name);
    name->selectAll();
    QTest::keyClick(name, Qt::Key_Backspace);
    QCOMPARE(name->text(), QStringLiteral("Düsencam"));
    QVERIFY(!app.settings.customCameraNames().contains(2));
    QCOMPARE(app.store.value(QStringLiteral("customCameraNames")), QVariant(QVariantMap{}));

    // Clicking a camera's name toggles it, as a check box's label does; it is written at once.
    const QList<QCheckBox *> toggles = view.findChildren<QCheckBox *>();
    QCheckBox *third = toggles[3]; // after "Fenster immer oben halten"
    QCOMPARE(third->text(), QStringLiteral("Filamentcam"));
    const int nameMiddle = third->style()->pixelMetric(QStyle::PM_IndicatorWidth) +
                           third->style()->pixelMetric(QStyle::PM_CheckBoxLabelSpacing) +
                           third->fontMetrics().horizontalAdvance(third->text()) / 2;
    QTest::mouseClick(third, Qt::LeftButton, {}, QPoint(nameMiddle, third->height() / 2));
    QCOMPARE(app.store.value(QStringLiteral("selectedCameraIDs")), idList({3, 99}));

    // No placement entry shows "Frei"; choosing it makes the entry explicit.
    QComboBox *picker = view.findChildren<QComboBox *>()[1];
    QCOMPARE(picker->currentText(), QStringLiteral("Frei"));
    QCOMPARE(picker->count(), 5);
    QCOMPARE(picker->itemText(0), QStringLiteral("Links oben"));
    picker->activated(4);
    QCOMPARE(app.store.value(QStringLiteral("cameraPlacements")),
             QVariant(QVariantMap{{QStringLiteral("2"), QStringLiteral("free")}}));

    // Escape closes the window, as Ctrl+W does.
    view.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&view));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    QVERIFY(!view.isVisible());
}

void ScreensTest::powerOffAsksFirst()
{
    Environment environment;
    test::CameraApp app({{QStringLiteral("selectedCameraIDs"), idList({99})}},
                        environment.shortcuts.path());
    SettingsView view(app.settings, app.homeKit);
    view.show();
    childWithText<QPushButton>(&view, QStringLiteral("Klipper ausschalten"))->click();
    QMessageBox *alert = view.findChild<QMessageBox *>();
    QVERIFY(alert);
    QCOMPARE(alert->text(), QStringLiteral("Klipper ausschalten?"));
    childWithText<QPushButton>(alert, QStringLiteral("Abbrechen"))->click();
    QTRY_VERIFY(!view.findChild<QMessageBox *>());
    QCoreApplication::processEvents();
    QVERIFY(environment.shortcuts.calls().isEmpty());

    childWithText<QPushButton>(&view, QStringLiteral("Klipper ausschalten"))->click();
    childWithText<QPushButton>(view.findChild<QMessageBox *>(), QStringLiteral("Ausschalten"))
        ->click();
    const QList<QStringList> offScene{
        {QStringLiteral("run"), QStringLiteral("Klipper ausschalten")}};
    QTRY_COMPARE(environment.shortcuts.calls(), offScene);
}

// The folder a Linux user fills with scenes: the settings name it, and the button makes it,
// puts the templates in as examples that cannot run, and opens it.
void ScreensTest::sceneFolderButtonPreparesTheFolder()
{
    QTemporaryDir config;
    const QByteArray ownConfig = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_CONFIG_HOME", config.path().toUtf8());
    QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "openUrl");
    Environment environment;
    test::CameraApp app({}, environment.shortcuts.path());
    SettingsView view(app.settings, app.homeKit);
    const QString folder = config.filePath(QStringLiteral("Kestrel/scenes"));
    QVERIFY(childWithText<QLabel>(&view,
                                  QStringLiteral("Szenen sind ausführbare Dateien in ") + folder));
    childWithText<QPushButton>(&view, QStringLiteral("Szenenordner öffnen"))->click();
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
    qputenv("XDG_CONFIG_HOME", ownConfig);

    QCOMPARE(m_opened, QList{QUrl::fromLocalFile(folder)});
    const QFileInfo example(folder + QStringLiteral("/tasmota-an.beispiel"));
    QVERIFY(example.isFile());
    QVERIFY(!example.isExecutable());
    QCOMPARE(QFile::permissions(folder + QStringLiteral("/tasmota.conf")) & 0x0077, 0);
    QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Executable), QStringList());
}

void ScreensTest::rendersEveryScreen()
{
    const GlyphRoom glyphRoom; // as the app has it
    Environment environment(QStringLiteral("ein"));
    test::CameraApp app({{QStringLiteral("selectedCameraIDs"), idList({99})},
                         {QStringLiteral("printerIP"), environment.printer.address()},
                         {QStringLiteral("homeKitStatusShortcutName"), QStringLiteral("Status")},
                         {QStringLiteral("customCameraNames"),
                          QVariantMap{{QStringLiteral("2"), QStringLiteral("Düse")}}}},
                        environment.shortcuts.path());
    app.settings.setSelectedCameraIDs({1, 2});
    auto coordinator = app.start();
    ContentView view(app.settings, app.homeKit, app.monitor, *coordinator, [] {});
    view.resize(680, 560);
    view.show();
    QTRY_VERIFY_WITH_TIMEOUT(app.monitor.reachability() == PiReachability::reachable(), 20000);
    QTRY_COMPARE(app.homeKit.accessoryState(), HomeKitAccessoryState::on());
    app.homeKit.runShortcut(QStringLiteral("Klipper einschalten"));
    QTRY_VERIFY(app.homeKit.actionMessage().has_value());
    QTRY_COMPARE(app.homeKit.accessoryState(), HomeKitAccessoryState::on());
    writePng(view, QStringLiteral("main-reachable-on"));
    // A camera row's caption stands under its name, beside the symbol.
    const auto left = [&view](const QString &text) {
        return childWithText<QLabel>(&view, text)->mapTo(&view, QPoint()).x();
    };
    QCOMPARE(left(QStringLiteral("1920x1080 • Proxy /webcam2/?action=snapshot")),
             left(QStringLiteral("Düse")));

    app.settings.setPrinterIP(QString());
    app.settings.setPrinterIP(QStringLiteral(" "));
    QTRY_VERIFY_WITH_TIMEOUT(view.showsStartupInfo(), 20000);
    // The host's state, and under it the reason it gives.
    QVERIFY(labelTexts(&view).contains(QStringLiteral("Raspberry Pi nicht erreichbar")));
    QVERIFY(labelTexts(&view).contains(QStringLiteral("Keine Drucker-IP eingetragen")));
    writePng(view, QStringLiteral("main-unreachable"));
    writePng(*view.findChild<StartupInfoView *>(), QStringLiteral("main-unreachable-prompt"));

    SettingsView settings(app.settings, app.homeKit);
    settings.show();
    writePng(settings, QStringLiteral("settings"));
    writePng(*settings.findChild<QScrollArea *>()->widget(), QStringLiteral("settings-form"));
    QVERIFY(settings.width() >= 560);
    // On a screen lower than the form, the window fits and the form scrolls.
    QVERIFY(settings.frameGeometry().height() <= settings.screen()->availableGeometry().height());
}

// Capital umlauts rise above the font's ascent; a label without room for them loses their dots.
// Every screen is open: the main window, the start-up prompt and the settings.
void ScreensTest::everyGlyphFitsItsLabel()
{
    MemoryKeyValueStore store({{QStringLiteral("printerIP"), LoopbackHttpServer::closedAddress()},
                               {QStringLiteral("selectedCameraIDs"), idList({1, 2, 3})}});
    KestrelApp app(store);
    app.openSettings();
    QTRY_VERIFY_WITH_TIMEOUT(app.contentView().showsStartupInfo(), 20000);
    app.homeKitManager().runShortcut(QStringLiteral("Klipper einschalten")); // one line more
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
