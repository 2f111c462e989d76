// SPDX-License-Identifier: GPL-3.0-or-later
// Camera windows on a real X server with a real window manager (Xvfb and openbox): the frames
// the window manager draws, title bar included, must stand where the corner layout says, the
// EWMH hints must say "above" and "all desktops", and the class, role and icon must let window
// managers and task bars know them. Read back from the X server itself.

#include "CameraApp.h"
#include "app/AppIdentity.h"
#include "stream/SnapshotLoader.h"
#include "stream/SnapshotStreamView.h"
#include "windows/CameraWindow.h"
#include "windows/ScreenFrames.h"
#include "windows/WindowGeometry.h"

#include <QApplication>
#include <QScreen>
#include <QTest>
#include <QtGui/qguiapplication_platform.h>

#include <xcb/xcb.h>

#include <algorithm>
#include <memory>

using namespace kestrel;
using namespace kestrel::windowGeometry;
using namespace Qt::StringLiterals;
using test::CameraApp;
using test::idList;

namespace {

bool hasDisplay = false;

xcb_connection_t *connection()
{
    return qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
}

xcb_window_t rootWindow()
{
    return xcb_setup_roots_iterator(xcb_get_setup(connection())).data->root;
}

xcb_atom_t atom(const char *name)
{
    auto *reply = xcb_intern_atom_reply(
        connection(), xcb_intern_atom(connection(), false, uint16_t(qstrlen(name)), name), nullptr);
    const xcb_atom_t result = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    free(reply);
    return result;
}

// The first `words` 32-bit words of a window property, in units of `format` bits; empty when it
// is not set or has another unit.
QByteArray rawProperty(xcb_window_t window, const char *name, int format, quint32 words = 64)
{
    auto *reply = xcb_get_property_reply(
        connection(),
        xcb_get_property(connection(), false, window, atom(name), XCB_ATOM_ANY, 0, words), nullptr);
    QByteArray bytes;
    if (reply && reply->format == format)
        bytes = QByteArray(static_cast<const char *>(xcb_get_property_value(reply)),
                           xcb_get_property_value_length(reply));
    free(reply);
    return bytes;
}

QList<quint32> windowProperty(xcb_window_t window, const char *name, quint32 words = 64)
{
    const QByteArray bytes = rawProperty(window, name, 32, words);
    const auto *data = reinterpret_cast<const quint32 *>(bytes.constData());
    return QList<quint32>(data, data + bytes.size() / 4);
}

QByteArray windowText(xcb_window_t window, const char *name)
{
    return rawProperty(window, name, 8);
}

// The window manager's frame around a client: the ancestor that is a child of the root.
QRect managedFrame(const QWidget *window)
{
    xcb_window_t current = xcb_window_t(window->winId());
    for (;;) {
        auto *tree =
            xcb_query_tree_reply(connection(), xcb_query_tree(connection(), current), nullptr);
        if (!tree)
            return {};
        const xcb_window_t parent = tree->parent;
        free(tree);
        if (parent == rootWindow() || parent == XCB_WINDOW_NONE)
            break;
        current = parent;
    }
    auto *geometry =
        xcb_get_geometry_reply(connection(), xcb_get_geometry(connection(), current), nullptr);
    if (!geometry)
        return {};
    const int border = geometry->border_width;
    const QRect frame(geometry->x, geometry->y, geometry->width + 2 * border,
                      geometry->height + 2 * border);
    free(geometry);
    return frame;
}

bool isFramed(const QWidget *window)
{
    const QRect frame = managedFrame(window);
    return frame.isValid() && frame.height() > window->height();
}

qreal screenHeight()
{
    return QGuiApplication::primaryScreen()->geometry().height();
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
        QTRY_VERIFY_WITH_TIMEOUT(
            !windowProperty(rootWindow(), "_NET_SUPPORTING_WM_CHECK").isEmpty(), 20000);
        appIdentity::apply(); // before the first window: X11 takes the class from it once
    }
    void cameraWindowsAsTheWindowManagerHasThem();
    void minimisedWindowFetchesNothing();
};

// Camera 1 top left, 2 bottom right, 3 free at its saved frame; all framed by openbox.
void WindowsX11Test::cameraWindowsAsTheWindowManagerHasThem()
{
    CameraApp app(
        {{u"selectedCameraIDs"_s, idList({1, 2, 3})},
         {u"printerIP"_s, u"127.0.0.1:9"_s}, // a stream, though nothing answers
         {u"cameraPlacements"_s,
          QVariantMap{{u"1"_s, u"topLeft"_s}, {u"2"_s, u"bottomRight"_s}, {u"3"_s, u"free"_s}}},
         {u"cameraWindowFrames"_s, QVariantMap{{u"3"_s, u"{{300, 200}, {500, 400}}"_s}}}});
    auto coordinator = app.start();
    const QList<CameraId> corners{1, 2};
    for (const CameraId id : {1, 2, 3})
        QTRY_VERIFY2_WITH_TIMEOUT(
            isFramed(coordinator->window(id)),
            qPrintable(u"camera %1: frame %2,%3 %4x%5, window height %6"_s.arg(id)
                           .arg(managedFrame(coordinator->window(id)).x())
                           .arg(managedFrame(coordinator->window(id)).y())
                           .arg(managedFrame(coordinator->window(id)).width())
                           .arg(managedFrame(coordinator->window(id)).height())
                           .arg(coordinator->window(id)->height())),
            20000);

    // The frames the window manager drew, title bars included, stand where the layout puts
    // frames of their size.
    auto expected = [&] {
        QList<LayoutWindow> windows;
        for (const CameraId id : corners)
            windows.append({id, QSizeF(managedFrame(coordinator->window(id)).size()),
                            app.settings.cameraPlacements().value(id)});
        QMap<CameraId, QRect> frames;
        for (const auto &[id, origin] : layoutCornerWindows(windows, screenFrames::visibleFrame()))
            frames.insert(id,
                          screenToQt(QRectF(origin, managedFrame(coordinator->window(id)).size()),
                                     screenHeight())
                              .toRect());
        return frames;
    };
    auto actual = [&] {
        QMap<CameraId, QRect> frames;
        for (const CameraId id : corners)
            frames.insert(id, managedFrame(coordinator->window(id)));
        return frames;
    };
    QTRY_COMPARE_WITH_TIMEOUT(actual(), expected(), 20000);
    QCOMPARE(actual()[1].topLeft(), QPoint(24, 24));
    QTRY_VERIFY_WITH_TIMEOUT(coordinator->window(1)->geometry().top() > 24, 20000);
    QTRY_COMPARE_WITH_TIMEOUT(managedFrame(coordinator->window(3)),
                              screenToQt(QRectF(300, 200, 500, 400), screenHeight()).toRect(),
                              20000);

    // Above the others and on every desktop; turning "above" off keeps the same window in place.
    const CameraWindow *window = coordinator->window(1);
    const auto id = xcb_window_t(window->winId());
    const quint32 above = atom("_NET_WM_STATE_ABOVE");
    const QList<quint32> allDesktops{0xFFFFFFFF};
    for (const bool onTop : {true, false, true}) {
        app.settings.setAlwaysOnTop(onTop);
        QTRY_COMPARE_WITH_TIMEOUT(windowProperty(id, "_NET_WM_STATE").contains(above), onTop,
                                  20000);
        QTRY_COMPARE_WITH_TIMEOUT(windowProperty(id, "_NET_WM_DESKTOP"), allDesktops, 20000);
        QCOMPARE(xcb_window_t(window->winId()), id);
        QCOMPARE(managedFrame(window).topLeft(), QPoint(24, 24));
    }

    // The class is what the desktop entry's StartupWMClass names; the role tells cameras apart.
    const auto second = xcb_window_t(coordinator->window(2)->winId());
    QCOMPARE(windowText(id, "WM_CLASS").split('\0').value(1), QByteArray("Kestrel"));
    QCOMPARE(windowText(second, "WM_WINDOW_ROLE"), QByteArray("kestrel-camera-2"));
    // The icon is ours only if the SVG icon engine loaded and rendered it; without it there is a
    // stand-in icon. Ours is mostly rufous plumage. The first image: width, height, then ARGB.
    const QList<quint32> icon = windowProperty(second, "_NET_WM_ICON", 2 + 64 * 64);
    QVERIFY2(icon.size() > 2, "no _NET_WM_ICON");
    const auto pixels = icon.mid(2, qsizetype(icon[0]) * icon[1]);
    const auto rufous = std::count_if(pixels.begin(), pixels.end(), [](QRgb pixel) {
        return qAlpha(pixel) == 255 && qRed(pixel) > 0xA0 && qBlue(pixel) < 0x60;
    });
    QVERIFY2(rufous > pixels.size() / 4, "the window icon is not Kestrel's");
}

void WindowsX11Test::minimisedWindowFetchesNothing()
{
    CameraApp app({{u"selectedCameraIDs"_s, idList({1})}, {u"printerIP"_s, u"127.0.0.1:9"_s}});
    auto coordinator = app.start();
    CameraWindow *window = coordinator->window(1);
    QTRY_VERIFY_WITH_TIMEOUT(isFramed(window), 20000);
    const auto *stream = window->findChild<SnapshotStreamView *>();
    QVERIFY(stream->loader().isRunning());
    window->showMinimized();
    QTRY_VERIFY_WITH_TIMEOUT(!stream->loader().isRunning(), 20000);
    window->showNormal();
    QTRY_VERIFY_WITH_TIMEOUT(stream->loader().isRunning(), 20000);
}

QTEST_MAIN(WindowsX11Test)
#include "tst_windows_x11.moc"
