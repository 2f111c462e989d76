// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/Camera.h"
#include "settings/WindowPlacement.h"

#include <QList>
#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <utility>

// Where camera windows stand, in screen coordinates with the origin at the lower left of the
// main screen and y growing upwards (a rectangle's x, y is its lower-left corner). Everything
// here is plain arithmetic; the conversion to Qt's top-left coordinates is done in one place,
// screenToQt / qtToScreen.
namespace kestrel::windowGeometry {

inline constexpr qreal cornerMargin = 24;
inline constexpr qreal windowGap = 18;
inline constexpr QRectF fallbackScreenFrame{80, 80, 1280, 800};
inline constexpr QSizeF initialContentSize{420, 280};
inline constexpr qint64 cascadeStep = 40;
inline constexpr QPointF cascadeOrigin{120, 700};

// The corner point a group of windows grows from; (0, 0) for free, which is never laid out.
QPointF cornerAnchor(WindowPlacement placement, const QRectF &area, qreal margin);

// The content rectangle of a new window: cascaded by id from (120, 700), 420 x 280, neither
// relative to nor clamped to any screen. Overflowing integer arithmetic stops the program.
QRectF initialContentRect(CameraId id);

// One open window as the corner layout sees it.
struct LayoutWindow
{
    CameraId cameraID = 0;
    QSizeF frameSize;
    WindowPlacement placement = WindowPlacement::free;
    int printerIndex = 0; // the printer's place in the list
};

// Where the layout puts one corner window's frame.
struct LayoutOrigin
{
    int printerIndex = 0;
    CameraId cameraID = 0;
    QPointF origin;

    friend bool operator==(const LayoutOrigin &, const LayoutOrigin &) = default;
};

// Snaps corner windows into rows along their corner: each group sorted by printer, then by
// camera id, a row wrapping
// when the next window would cross the inner margin, rows stacking away from the corner by the
// tallest window of the row before plus the gap. Free windows are left alone. Returns the new
// frame origin of every corner window; sizes never change.
QList<LayoutOrigin> layoutCornerWindows(const QList<LayoutWindow> &windows, const QRectF &area);

// Between our screen coordinates and Qt's (origin top left, y down); `primaryHeight` is the
// height of the primary screen's full geometry. The same formula works both ways.
QRectF screenToQt(const QRectF &rect, qreal primaryHeight);
QRectF qtToScreen(const QRectF &rect, qreal primaryHeight);

} // namespace kestrel::windowGeometry
