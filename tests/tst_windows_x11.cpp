// SPDX-License-Identifier: GPL-3.0-or-later
// Camera windows on a real X server with a real window manager (Xvfb and openbox), read back from
// the X server with xprop and xwininfo: the frames the window manager draws, title bar included,
// stand in their corners; the windows stay above and on every desktop; the class and role let
// task bars know them; and a minimised window fetches nothing.

#include "CameraApp.h"
#include "app/AppIdentity.h"
#include "stream/SnapshotLoader.h"
#include "stream/SnapshotStreamView.h"
#include "windows/CameraWindow.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTest>

using namespace kestrel;
using namespace Qt::StringLiterals;
using test::CameraApp;
using test::idList;

namespace {

bool hasDisplay = false;

QString run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(20000);
    return QString::fromUtf8(process.readAllStandardOutput());
}

// A property as xprop prints it after " = "; `format` for xprop's -f.
QString xprop(const QWidget *window, const QString &name, const QStringList &format = {})
{
    const QString id = QString::number(window->winId());
    return run(u"xprop"_s, QStringList{u"-id"_s, id} << format << name)
        .section(u" = "_s, 1)
        .trimmed();
}

// Where X has the window, widened by the frame the window manager says it drew around it.
QRect managedFrame(const QWidget *window)
{
    const QStringList extents = xprop(window, u"_NET_FRAME_EXTENTS"_s).split(u", "_s);
    if (extents.size() != 4) // left, right, top, bottom
        return {};
    const QString info = run(u"xwininfo"_s, {u"-id"_s, QString::number(window->winId())});
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

} // namespace

class WindowsX11Test : public QObject
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
        if (!hasDisplay)
            QSKIP("needs an X display with a window manager; install xvfb and openbox");
        appIdentity::apply(); // before the first window: X11 takes the class from it once
    }
    void cameraWindowsAsTheWindowManagerHasThem();
    void minimisedWindowFetchesNothing();
};

// On the 1440 x 900 screen: camera 1 top left, 2 bottom right, 3 free at its saved frame.
void WindowsX11Test::cameraWindowsAsTheWindowManagerHasThem()
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

void WindowsX11Test::minimisedWindowFetchesNothing()
{
    CameraApp app({{u"selectedCameraIDs"_s, idList({1})}, {u"printerIP"_s, u"127.0.0.1:9"_s}});
    auto coordinator = app.start();
    CameraWindow *window = coordinator->window(1);
    QTRY_VERIFY_WITH_TIMEOUT(managedFrame(window).isValid(), 20000);
    const auto *stream = window->findChild<SnapshotStreamView *>();
    QVERIFY(stream->loader().isRunning());
    window->showMinimized();
    QTRY_VERIFY_WITH_TIMEOUT(!stream->loader().isRunning(), 20000);
    window->showNormal();
    QTRY_VERIFY_WITH_TIMEOUT(stream->loader().isRunning(), 20000);
}

QTEST_MAIN(WindowsX11Test)
#include "tst_windows_x11.moc"
