// SPDX-License-Identifier: GPL-3.0-or-later
// Kestrel on a real X server with a real window manager (Xvfb and openbox). The real binary,
// ended every way a user or a session ends it, quits in order: no curl left, no picture file, the
// camera windows kept for the next start. Camera windows, read back from the X server: the frames
// the window manager draws stand in their corners, above and on every desktop, with a class and
// role for task bars; a minimised window fetches nothing.

#include "CameraApp.h"
#include "LoopbackHttpServer.h"
#include "app/AppIdentity.h"
#include "app/KestrelApp.h"
#include "camera/SnapshotStreamView.h"
#include "platform/MemoryKeyValueStore.h"
#include "screens/SettingsView.h"
#include "stream/SnapshotLoader.h"
#include "windows/CameraWindow.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QScreen>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QSystemTrayIcon>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace kestrel;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::CameraApp;
using test::idList;

namespace {

bool hasDisplay = false;

// Runs a program to its end with the event loop going, for a loopback printer of the test's own
// must go on answering meanwhile; its output, or none when it failed.
std::optional<QString> run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    QSignalSpy finished(&process, &QProcess::finished);
    process.start(program, arguments);
    if (!finished.wait(20000) || process.exitCode() != 0)
        return std::nullopt;
    return QString::fromUtf8(process.readAllStandardOutput());
}

// A property as xprop prints it after " = "; `format` for xprop's -f.
QString xprop(const QWidget *window, const QString &name, const QStringList &format = {})
{
    const QString id = QString::number(window->winId());
    return run(u"xprop"_s, QStringList{u"-id"_s, id} << format << name)
        .value_or(QString())
        .section(u" = "_s, 1)
        .trimmed();
}

// Where X has the window, widened by the frame the window manager says it drew around it.
QRect managedFrame(const QWidget *window)
{
    const QStringList extents = xprop(window, u"_NET_FRAME_EXTENTS"_s).split(u", "_s);
    if (extents.size() != 4) // left, right, top, bottom
        return {};
    const QString info =
        run(u"xwininfo"_s, {u"-id"_s, QString::number(window->winId())}).value_or(QString());
    auto field = [&](const char *name) {
        return QRegularExpression(QString::fromLatin1(name) + u":\\s+(-?\\d+)"_s)
            .match(info)
            .captured(1)
            .toInt();
    };
    return QRect(field("Absolute upper-left X"), field("Absolute upper-left Y"), field("Width"),
                 field("Height"))
        .adjusted(-extents[0].toInt(), -extents[2].toInt(), extents[1].toInt(), extents[3].toInt());
}

// Processes anywhere on the machine whose command line mentions `text`.
int processesMentioning(const QString &text)
{
    int count = 0;
    const QStringList entries = QDir(u"/proc"_s).entryList(QDir::Dirs);
    for (const QString &entry : entries) {
        QFile cmdline(u"/proc/"_s + entry + u"/cmdline"_s);
        if (cmdline.open(QIODevice::ReadOnly) && cmdline.readAll().contains(text.toUtf8()))
            ++count;
    }
    return count;
}

QStringList pictureFiles(const QString &folder)
{
    return QDir(folder).entryList({u"kestrel-*"_s}, QDir::Files);
}

// The real binary in a home of its own: its settings folder, its temporary folder, and settings
// written there before it starts.
struct Kestrel
{
    QTemporaryDir home;
    QProcess process;
    QString config = home.filePath(u"config"_s);
    QString temporary = home.filePath(u"tmp"_s);
    QString runtime = home.filePath(u"run"_s); // the session's, where the single-instance socket is

    bool start(const QJsonObject &settings, const QStringList &arguments = {})
    {
        QDir().mkpath(config + u"/Kestrel"_s);
        QDir().mkpath(temporary);
        QDir().mkpath(runtime);
        QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QFile file(config + u"/Kestrel/settings.json"_s);
        if (!file.exists() &&
            (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(settings).toJson()) < 0))
            return false;
        file.close();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"XDG_CONFIG_HOME"_s, config);
        environment.insert(u"TMPDIR"_s, temporary);
        environment.insert(u"XDG_RUNTIME_DIR"_s, runtime);
        environment.remove(u"QT_QPA_PLATFORM"_s); // the test's own X display
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral(KESTREL_PATH), arguments);
        return process.waitForStarted();
    }
    QJsonArray selected() const
    {
        QFile file(config + u"/Kestrel/settings.json"_s);
        return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll())
                                                    .object()
                                                    .value(u"selectedCameraIDs"_s)
                                                    .toArray()
                                              : QJsonArray();
    }
};

// Drives the desktop as a user does, through xdotool and the window manager.
bool xdotool(const QStringList &arguments)
{
    return run(u"xdotool"_s, arguments).has_value();
}

bool windowShown(const QString &title)
{
    return xdotool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, title});
}

// The first window titled "Kestrel" (shown ones only, if asked) whose width lies in [from, to].
QString kestrelWindow(bool shownOnly, int from, int to)
{
    QStringList search{u"search"_s, u"--name"_s, u"^Kestrel$"_s};
    if (shownOnly)
        search.insert(1, u"--onlyvisible"_s);
    const QStringList ids =
        run(u"xdotool"_s, search).value_or(QString()).split(u'\n', Qt::SkipEmptyParts);
    for (const QString &id : ids) {
        const QString geometry =
            run(u"xdotool"_s, {u"getwindowgeometry"_s, id}).value_or(QString());
        const int width = geometry.section(u"Geometry: "_s, 1).section(u'x', 0, 0).toInt();
        if (width >= from && width <= to)
            return id;
    }
    return {};
}

// Presses `keys` in the window whose title matches `title` until it is gone. Kestrel may still
// be raising its own windows when the test starts, so a press that went elsewhere is repeated.
bool closeWithKeys(const QString &title, const QString &keys)
{
    for (int attempt = 0; attempt < 10; ++attempt) {
        if (xdotool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, title, u"windowactivate"_s,
                     u"windowfocus"_s, u"--sync"_s}))
            xdotool({u"key"_s, keys});
        if (QTest::qWaitFor([&] { return !windowShown(title); }, 2000))
            return true;
    }
    return false;
}

bool mainWindowShown()
{
    return !kestrelWindow(true, 200, 10000).isEmpty();
}

// The tray icon: a small window of Kestrel's inside the tray, which xdotool does not search.
QString trayIcon()
{
    const QString tree = run(u"xwininfo"_s, {u"-root"_s, u"-tree"_s}).value_or(QString());
    const QRegularExpression icon(
        u"(0x[0-9a-f]+) \"Kestrel\": \\(\"kestrel\" \"Kestrel\"\\)\\s+(\\d+)x"_s);
    for (const QRegularExpressionMatch &match : icon.globalMatch(tree)) {
        if (match.captured(2).toInt() <= 64)
            return match.captured(1);
    }
    return {};
}

} // namespace

class DesktopTest : public QObject
{
    Q_OBJECT

public:
    static void initMain()
    {
        hasDisplay = !qEnvironmentVariableIsEmpty("DISPLAY");
        qputenv("QT_QPA_PLATFORM", hasDisplay ? "xcb" : "offscreen");
    }

private slots:
    void initTestCase()
    {
        if (!hasDisplay || QStandardPaths::findExecutable(u"xdotool"_s).isEmpty())
            QSKIP("needs an X display with a window manager, and xdotool");
        appIdentity::apply(); // before the first window: X11 takes the class from it once
    }
    void cameraWindowsAsTheWindowManagerHasThem();
    void settingsWindowFitsTheScreen();
    void minimisedWindowFetchesNothing();
    void endingKestrelKeepsTheSelection_data();
    void endingKestrelKeepsTheSelection();
    void theTrayKeepsCamerasWithoutTheMainWindow();
    void aSecondLaunchDefersToTheFirst();
};

// On the 1440 x 900 screen: camera 1 top left, 2 bottom right, 3 free at its saved frame.
void DesktopTest::cameraWindowsAsTheWindowManagerHasThem()
{
    CameraApp app(
        {{u"selectedCameraIDs"_s, idList({1, 2, 3})},
         {u"printerIP"_s, u"127.0.0.1:9"_s}, // a stream, though nothing answers
         {u"cameraPlacements"_s,
          QVariantMap{{u"1"_s, u"topLeft"_s}, {u"2"_s, u"bottomRight"_s}, {u"3"_s, u"free"_s}}},
         {u"cameraWindowFrames"_s, QVariantMap{{u"3"_s, u"{{300, 200}, {500, 400}}"_s}}}});
    auto coordinator = app.start();
    const CameraWindow *one = coordinator->window(1);
    QTRY_COMPARE_WITH_TIMEOUT(managedFrame(one).topLeft(), QPoint(24, 24), 20000);
    QVERIFY(one->geometry().top() > 24); // the title bar is inside the gap's corner, not over it
    QTRY_COMPARE_WITH_TIMEOUT(managedFrame(coordinator->window(2)).bottomRight(),
                              QPoint(1440 - 24 - 1, 900 - 24 - 1), 20000);
    // Saved frames count from the lower left, as on the Mac.
    QTRY_COMPARE_WITH_TIMEOUT(managedFrame(coordinator->window(3)), QRect(300, 300, 500, 400),
                              20000);

    // Above the others and on every desktop; turning "above" off keeps the same window in place.
    const WId id = one->winId();
    for (const bool onTop : {true, false, true}) {
        app.settings.setAlwaysOnTop(onTop);
        QTRY_COMPARE_WITH_TIMEOUT(xprop(one, u"_NET_WM_STATE"_s).contains(u"_NET_WM_STATE_ABOVE"_s),
                                  onTop, 20000);
        QCOMPARE(xprop(one, u"_NET_WM_DESKTOP"_s), u"4294967295"_s);
        QCOMPARE(one->winId(), id);
        QCOMPARE(managedFrame(one).topLeft(), QPoint(24, 24));
    }

    // The class is what the desktop entry's StartupWMClass names; the role tells cameras apart.
    const CameraWindow *two = coordinator->window(2);
    QCOMPARE(xprop(two, u"WM_CLASS"_s).section(u", "_s, 1), u"\"Kestrel\""_s);
    QCOMPARE(xprop(two, u"WM_WINDOW_ROLE"_s), u"\"kestrel-camera-2\""_s);
}

// Taller than the screen, the settings window fits it with its whole frame, title bar and
// borders as the window manager draws them, and its form scrolls.
void DesktopTest::settingsWindowFitsTheScreen()
{
    CameraApp app({});
    SettingsView view(app.printers);
    view.show();
    QTRY_VERIFY_WITH_TIMEOUT(managedFrame(&view).isValid(), 20000);
    QTRY_VERIFY_WITH_TIMEOUT(view.screen()->availableGeometry().contains(managedFrame(&view)),
                             20000);
    QVERIFY(managedFrame(&view).height() > 800);
}

void DesktopTest::minimisedWindowFetchesNothing()
{
    CameraApp app({{u"selectedCameraIDs"_s, idList({1})}, {u"printerIP"_s, u"127.0.0.1:9"_s}});
    auto coordinator = app.start();
    CameraWindow *window = coordinator->window(1);
    QTRY_VERIFY_WITH_TIMEOUT(managedFrame(window).isValid(), 20000);
    const auto *stream = window->findChild<SnapshotStreamView *>();
    QVERIFY(stream->source().isRunning());
    window->showMinimized();
    QTRY_VERIFY_WITH_TIMEOUT(!stream->source().isRunning(), 20000);
    window->showNormal();
    QTRY_VERIFY_WITH_TIMEOUT(stream->source().isRunning(), 20000);
}

void DesktopTest::endingKestrelKeepsTheSelection_data()
{
    QTest::addColumn<QString>("keys"); // pressed in `window`, if any
    QTest::addColumn<QString>("window");
    QTest::addColumn<int>("signal"); // sent afterwards, if any
    QTest::addColumn<QJsonArray>("selectedAfterwards");
    QTest::addColumn<bool>("hostAnswers"); // if not, the start-up prompt is open meanwhile
    const QJsonArray both{2, 3};
    QTest::newRow("SIGTERM") << QString() << QString() << SIGTERM << both << true;
    QTest::newRow("SIGINT") << QString() << QString() << SIGINT << both << true;
    QTest::newRow("main window closed") << u"alt+F4"_s << u"^Kestrel$"_s << 0 << both << true;
    QTest::newRow("Ctrl+Q") << u"ctrl+q"_s << u"^Kestrel$"_s << 0 << both << true;
    QTest::newRow("Ctrl+Q, prompt open") << u"ctrl+q"_s << u"^Kestrel$"_s << 0 << both << false;
    // Only a user's close of one camera window gives up that camera.
    QTest::newRow("camera window closed")
        << u"alt+F4"_s << u"Filamentcam"_s << SIGTERM << QJsonArray{2} << true;
}

// However it ends, Kestrel quits in order: status 0, no curl left running and no half-written
// picture left behind, and the selection kept for the next start.
void DesktopTest::endingKestrelKeepsTheSelection()
{
    QFETCH(QString, keys);
    QFETCH(QString, window);
    QFETCH(int, signal);
    QFETCH(QJsonArray, selectedAfterwards);
    QFETCH(bool, hostAnswers);

    LoopbackHttpServer printer;
    printer.setHandler([](const HttpRequest &request) {
        if (request.path == "/")
            return HttpReply{};
        // The start of a picture, then silence: curl holds a half-written file.
        return HttpReply{.contentType = "image/jpeg",
                         .body = QByteArray(4096, '\xff'),
                         .declaredLength = 1000000,
                         .stallAfterBody = true};
    });
    Kestrel kestrel;
    const QString address = hostAnswers ? printer.address() : LoopbackHttpServer::closedAddress();
    QVERIFY(kestrel.start({{u"printerIP"_s, address}, {u"selectedCameraIDs"_s, QJsonArray{2, 3}}}));
    QTRY_VERIFY_WITH_TIMEOUT(windowShown(u"Filamentcam"_s), 20000); // everything is up
    if (hostAnswers)
        QTRY_COMPARE_WITH_TIMEOUT(pictureFiles(kestrel.temporary).size(), 2, 20000);
    else
        QTRY_VERIFY_WITH_TIMEOUT(windowShown(u"antwortet nicht"_s), 20000);

    if (!keys.isEmpty())
        QVERIFY(closeWithKeys(window, keys));
    QTRY_COMPARE_WITH_TIMEOUT(kestrel.selected(), selectedAfterwards, 20000);
    if (signal != 0)
        ::kill(pid_t(kestrel.process.processId()), signal);
    QTRY_COMPARE_WITH_TIMEOUT(kestrel.process.state(), QProcess::NotRunning, 20000);
    QCOMPARE(kestrel.process.exitCode(), 0);
    QCOMPARE(kestrel.selected(), selectedAfterwards);
    QCOMPARE(pictureFiles(kestrel.temporary), QStringList());
    QCOMPARE(processesMentioning(kestrel.temporary), 0);
    QVERIFY(!QFile::exists(kestrel.config + u"/Kestrel/settings.json.corrupt"_s));
}

// With a tray, "--hidden" starts with the cameras alone; the icon brings the main window, whose
// close only hides it, and its menu's "Beenden" quits as every other way does. Without a tray the
// option is ignored.
void DesktopTest::theTrayKeepsCamerasWithoutTheMainWindow()
{
    if (QStandardPaths::findExecutable(u"trayer"_s).isEmpty())
        QSKIP("needs trayer as the desktop's tray");
    // Started into a tray that never comes, the main window shows after a while; one that
    // comes back from the tray comes back as it went, maximised.
    {
        MemoryKeyValueStore store({{u"printerIP"_s, u"kein host"_s}});
        KestrelApp trayless(store, {}, KestrelApp::StartMode::toTray, 500ms);
        QVERIFY(!trayless.mainWindow().isVisible());
        QTRY_VERIFY_WITH_TIMEOUT(trayless.mainWindow().isVisible(), 20000);
        trayless.mainWindow().showMaximized();
        QTRY_VERIFY_WITH_TIMEOUT(managedFrame(&trayless.mainWindow()).width() == 1440, 20000);
        trayless.mainWindow().hide();
        trayless.bringToFront();
        QVERIFY(trayless.mainWindow().isVisible() && trayless.mainWindow().isMaximized());
    }

    // At login the tray comes later than Kestrel: the icon goes there once it is up.
    const QJsonObject settings{{u"printerIP"_s, u"kein host"_s},
                               {u"selectedCameraIDs"_s, QJsonArray{1, 3}}};
    Kestrel kestrel;
    QVERIFY(kestrel.start(settings, {u"--hidden"_s}));
    QTRY_VERIFY_WITH_TIMEOUT(windowShown(u"Filamentcam"_s), 20000);
    QProcess tray;
    tray.start(u"trayer"_s, {u"--edge"_s, u"bottom"_s, u"--align"_s, u"right"_s});
    QTRY_VERIFY_WITH_TIMEOUT(!trayIcon().isEmpty(), 20000);
    QVERIFY(!mainWindowShown());

    // Clicked in its lower half: the message that Kestrel runs on covers the top of the icon.
    const auto click = [icon = trayIcon()](const QString &button) {
        return xdotool({u"mousemove"_s, u"--window"_s, icon, u"11"_s, u"16"_s, u"click"_s, button});
    };
    QVERIFY(click(u"1"_s));
    QTRY_VERIFY_WITH_TIMEOUT(mainWindowShown(), 20000);
    // One press only: a second would close whichever window has the focus next.
    QVERIFY(xdotool({u"windowactivate"_s, u"--sync"_s, kestrelWindow(true, 200, 10000), u"key"_s,
                     u"alt+F4"_s}));
    QTRY_VERIFY_WITH_TIMEOUT(!mainWindowShown(), 20000);
    QVERIFY(windowShown(u"Übersichtscam"_s) && windowShown(u"Filamentcam"_s));
    QCOMPARE(kestrel.process.state(), QProcess::Running);

    QVERIFY(click(u"3"_s));
    QTest::qWait(500);                                  // the menu opens
    QVERIFY(xdotool({u"key"_s, u"Up"_s, u"Return"_s})); // its last entry, "Beenden"
    QTRY_COMPARE_WITH_TIMEOUT(kestrel.process.state(), QProcess::NotRunning, 20000);
    QCOMPARE(kestrel.process.exitCode(), 0);
    QCOMPARE(kestrel.selected(), (QJsonArray{1, 3}));
    tray.kill();
    tray.waitForFinished();
}

// Two launches at the same moment (a restored session and the autostart) leave one Kestrel, and a
// later one, from a terminal with a temporary folder of its own, defers to it too.
void DesktopTest::aSecondLaunchDefersToTheFirst()
{
    const QJsonObject settings{{u"printerIP"_s, u"kein host"_s},
                               {u"selectedCameraIDs"_s, QJsonArray{1}}};
    Kestrel first, twin;
    twin.config = first.config;
    twin.runtime = first.runtime;
    QVERIFY(first.start(settings) && twin.start(settings));
    const auto ended = [](const Kestrel &kestrel) {
        return kestrel.process.state() == QProcess::NotRunning;
    };
    QTRY_VERIFY_WITH_TIMEOUT(ended(first) || ended(twin), 20000);
    QTest::qWait(2000);
    QVERIFY(ended(first) != ended(twin)); // one stays
    Kestrel &running = ended(first) ? twin : first;
    QCOMPARE((ended(first) ? first : twin).process.exitCode(), 0);

    Kestrel second;
    second.config = first.config;
    second.runtime = first.runtime;
    QVERIFY(second.start(settings));
    QVERIFY(second.process.waitForFinished(20000));
    QCOMPARE(second.process.exitCode(), 0);
    QCOMPARE(running.process.state(), QProcess::Running);

    running.process.terminate();
    QVERIFY(running.process.waitForFinished(20000));
    QCOMPARE(running.process.exitCode(), 0);
}

QTEST_MAIN(DesktopTest)
#include "tst_desktop.moc"
