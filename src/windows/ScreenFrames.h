// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMargins>
#include <QPointF>
#include <QRectF>

class QWidget;

// Window frames and screen areas in our screen coordinates (origin lower left, y up), read from
// and written to Qt windows. A frame includes the title bar; a content rectangle does not.
namespace kestrel::screenFrames {

// The usable area of the screen the user works on (the active window's, else the primary), or
// the fallback area when there is no screen at all.
QRectF visibleFrame();

QRectF frame(const QWidget *window);
// Title bar and borders around the content; all zero until the window manager has framed it.
QMargins frameMargins(const QWidget *window);
void setFrameOrigin(QWidget *window, QPointF origin);
void setFrame(QWidget *window, const QRectF &frame);
void setContentRect(QWidget *window, const QRectF &content);

} // namespace kestrel::screenFrames
