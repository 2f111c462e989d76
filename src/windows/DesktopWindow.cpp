// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/DesktopWindow.h"

#include <QGuiApplication>
#include <QHash>
#include <QPointer>
#include <QWidget>
#include <QWindow>

#if defined(Q_OS_LINUX)
#include <QAbstractNativeEventFilter>
#include <QtGui/qguiapplication_platform.h>
#include <xcb/xcb.h>
#endif

namespace kestrel::desktopWindow {

#if defined(Q_OS_APPLE)
void applyMacCollectionBehaviour(QWidget *window); // DesktopWindowMac.mm
#endif

namespace {

#if defined(Q_OS_LINUX)
// The X server's connection, when the windows live on X11 (not offscreen, not Wayland).
xcb_connection_t *xcbConnection()
{
    if (QGuiApplication::platformName() != u"xcb")
        return nullptr;
    auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t atom(xcb_connection_t *connection, const char *name)
{
    const xcb_intern_atom_cookie_t cookie =
        xcb_intern_atom(connection, false, uint16_t(qstrlen(name)), name);
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(connection, cookie, nullptr);
    const xcb_atom_t result = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    free(reply);
    return result;
}

// Hears the window manager set _NET_FRAME_EXTENTS on watched windows. Qt reads the same event
// to learn the frame, so the callback runs on the next turn, when Qt knows it too.
class FrameExtentsFilter : public QAbstractNativeEventFilter
{
public:
    explicit FrameExtentsFilter(xcb_connection_t *connection)
        : m_frameExtents(atom(connection, "_NET_FRAME_EXTENTS"))
    {}

    void watch(QWidget *window, std::function<void()> changed)
    {
        const auto id = xcb_window_t(window->winId());
        m_watched.insert(id, {window, std::move(changed)});
        QObject::connect(window, &QObject::destroyed, window, [this, id] { m_watched.remove(id); });
    }

    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *) override
    {
        if (type != "xcb_generic_event_t")
            return false;
        const auto *event = static_cast<const xcb_generic_event_t *>(message);
        if ((event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY)
            return false;
        const auto *notify = static_cast<const xcb_property_notify_event_t *>(message);
        const auto watched = m_watched.constFind(notify->window);
        if (notify->atom == m_frameExtents && watched != m_watched.cend() && watched->window)
            QMetaObject::invokeMethod(watched->window, watched->changed, Qt::QueuedConnection);
        return false;
    }

private:
    struct Watched
    {
        QPointer<QWidget> window;
        std::function<void()> changed;
    };
    const xcb_atom_t m_frameExtents;
    QHash<xcb_window_t, Watched> m_watched;
};

// EWMH: the property says it before the window is mapped; once mapped, only a request to the
// root window counts.
void followAllDesktopsOnX11(QWidget *window, xcb_connection_t *connection)
{
    const auto id = xcb_window_t(window->winId());
    const xcb_atom_t desktop = atom(connection, "_NET_WM_DESKTOP");
    if (desktop == XCB_ATOM_NONE)
        return;
    constexpr uint32_t allDesktops = 0xFFFFFFFF;
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, desktop, XCB_ATOM_CARDINAL, 32, 1,
                        &allDesktops);

    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = id;
    event.type = desktop;
    event.data.data32[0] = allDesktops;
    event.data.data32[1] = 1; // the request comes from an ordinary application
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_send_event(connection, false, root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&event));
    xcb_flush(connection);
}
#endif

} // namespace

void setStaysOnTop(QWidget *window, bool onTop)
{
    const Qt::WindowFlags flags = window->windowFlags().setFlag(Qt::WindowStaysOnTopHint, onTop);
    if (flags == window->windowFlags())
        return;
    // QWidget::setWindowFlags would hide the window and, on X11, build a new native window;
    // telling the QWindow changes the hint in place.
    window->overrideWindowFlags(flags);
    if (QWindow *handle = window->windowHandle())
        handle->setFlags(flags);
}

void watchFrame(QWidget *window, std::function<void()> changed)
{
#if defined(Q_OS_LINUX)
    xcb_connection_t *connection = xcbConnection();
    if (!connection)
        return;
    static FrameExtentsFilter *filter = [connection] {
        auto *created = new FrameExtentsFilter(connection);
        qGuiApp->installNativeEventFilter(created);
        return created;
    }();
    filter->watch(window, std::move(changed));
#else
    Q_UNUSED(window);
    Q_UNUSED(changed);
#endif
}

void followAllDesktops(QWidget *window)
{
#if defined(Q_OS_LINUX)
    if (xcb_connection_t *connection = xcbConnection())
        followAllDesktopsOnX11(window, connection);
#elif defined(Q_OS_APPLE)
    applyMacCollectionBehaviour(window);
#else
    Q_UNUSED(window);
#endif
}

} // namespace kestrel::desktopWindow
