// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/ScreenFrames.h"

#include "windows/WindowGeometry.h"

#include <QApplication>
#include <QScreen>
#include <QWidget>

namespace kestrel::screenFrames {

namespace {

qreal primaryHeight()
{
    const QScreen *primary = QGuiApplication::primaryScreen();
    return primary ? primary->geometry().height() : 0;
}

QRectF toQt(const QRectF &rect)
{
    return windowGeometry::screenToQt(rect, primaryHeight());
}

} // namespace

QMargins frameMargins(const QWidget *window)
{
    const QRect outer = window->frameGeometry();
    const QRect inner = window->geometry();
    return {inner.left() - outer.left(), inner.top() - outer.top(), outer.right() - inner.right(),
            outer.bottom() - inner.bottom()};
}

QRectF visibleFrame()
{
    const QWidget *active = QApplication::activeWindow();
    const QScreen *screen = active ? active->screen() : QGuiApplication::primaryScreen();
    if (!screen)
        return windowGeometry::fallbackScreenFrame;
    return windowGeometry::qtToScreen(screen->availableGeometry(), primaryHeight());
}

QRectF frame(const QWidget *window)
{
    return windowGeometry::qtToScreen(window->frameGeometry(), primaryHeight());
}

void setFrameOrigin(QWidget *window, QPointF origin)
{
    const QRectF target = toQt(QRectF(origin, window->frameGeometry().size()));
    window->move(target.topLeft().toPoint()); // a top-level's position is its frame's
}

void setFrame(QWidget *window, const QRectF &frame)
{
    const QRect target = toQt(frame).toRect();
    window->setGeometry(target.marginsRemoved(frameMargins(window)));
}

void setContentRect(QWidget *window, const QRectF &content)
{
    window->setGeometry(toQt(content).toRect());
}

} // namespace kestrel::screenFrames
