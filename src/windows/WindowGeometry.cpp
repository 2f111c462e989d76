// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/WindowGeometry.h"

#include <QtGlobal>

#include <algorithm>

namespace kestrel::windowGeometry {

namespace {

bool isLeft(WindowPlacement placement)
{
    return placement == WindowPlacement::topLeft || placement == WindowPlacement::bottomLeft;
}

bool isTop(WindowPlacement placement)
{
    return placement == WindowPlacement::topLeft || placement == WindowPlacement::topRight;
}

// Wrapping around would put a window anywhere; a position that cannot be computed is a bug.
qint64 checkedSubtract(qint64 a, qint64 b)
{
    qint64 result = 0;
    if (__builtin_sub_overflow(a, b, &result))
        qFatal("camera window position overflows");
    return result;
}

qint64 checkedAdd(qint64 a, qint64 b)
{
    qint64 result = 0;
    if (__builtin_add_overflow(a, b, &result))
        qFatal("camera window position overflows");
    return result;
}

qint64 checkedMultiply(qint64 a, qint64 b)
{
    qint64 result = 0;
    if (__builtin_mul_overflow(a, b, &result))
        qFatal("camera window position overflows");
    return result;
}

} // namespace

QPointF cornerAnchor(WindowPlacement placement, const QRectF &area, qreal margin)
{
    // QRectF's top() is the smaller y, which in our coordinates is the bottom edge.
    const qreal minX = area.left();
    const qreal maxX = area.left() + area.width();
    const qreal minY = area.top();
    const qreal maxY = area.top() + area.height();
    switch (placement) {
    case WindowPlacement::topLeft:
        return {minX + margin, maxY - margin};
    case WindowPlacement::topRight:
        return {maxX - margin, maxY - margin};
    case WindowPlacement::bottomLeft:
        return {minX + margin, minY + margin};
    case WindowPlacement::bottomRight:
        return {maxX - margin, minY + margin};
    case WindowPlacement::free:
        break;
    }
    return {0, 0};
}

QRectF initialContentRect(CameraId id)
{
    const qint64 offset = checkedMultiply(cascadeStep, checkedSubtract(id, 1));
    const qint64 x = checkedAdd(qint64(cascadeOrigin.x()), offset);
    const qint64 y = checkedSubtract(qint64(cascadeOrigin.y()), offset);
    return {qreal(x), qreal(y), initialContentSize.width(), initialContentSize.height()};
}

QList<LayoutOrigin> layoutCornerWindows(const QList<LayoutWindow> &windows, const QRectF &area)
{
    const qreal minX = area.left();
    const qreal maxX = area.left() + area.width();
    QList<LayoutOrigin> origins;
    for (const WindowPlacement corner : allWindowPlacements) {
        if (corner == WindowPlacement::free)
            continue;
        QList<LayoutWindow> group;
        std::copy_if(windows.cbegin(), windows.cend(), std::back_inserter(group),
                     [corner](const LayoutWindow &window) { return window.placement == corner; });
        std::stable_sort(group.begin(), group.end(), [](const auto &a, const auto &b) {
            return std::pair(a.printerIndex, a.cameraID) < std::pair(b.printerIndex, b.cameraID);
        });
        if (group.isEmpty())
            continue;

        const bool left = isLeft(corner);
        const bool top = isTop(corner);
        QPointF cursor = cornerAnchor(corner, area, cornerMargin);
        qreal rowHeight = 0;
        for (const LayoutWindow &window : std::as_const(group)) {
            const qreal w = window.frameSize.width();
            const qreal h = window.frameSize.height();
            // Tested for every window, the first of a row included: a window wider than the
            // area starts a row of its own, one gap away from the anchor.
            const bool overflows =
                left ? maxX - cornerMargin < cursor.x() + w : cursor.x() - w < minX + cornerMargin;
            if (overflows) {
                cursor.setX(left ? minX + cornerMargin : maxX - cornerMargin);
                cursor.setY(top ? cursor.y() - rowHeight - windowGap
                                : cursor.y() + rowHeight + windowGap);
                rowHeight = 0;
            }
            origins.append(
                {window.printerIndex, window.cameraID,
                 QPointF(left ? cursor.x() : cursor.x() - w, top ? cursor.y() - h : cursor.y())});
            rowHeight = std::max(rowHeight, h);
            cursor.setX(left ? cursor.x() + w + windowGap : cursor.x() - w - windowGap);
        }
    }
    return origins;
}

QRectF screenToQt(const QRectF &rect, qreal primaryHeight)
{
    return {rect.x(), primaryHeight - (rect.y() + rect.height()), rect.width(), rect.height()};
}

QRectF qtToScreen(const QRectF &rect, qreal primaryHeight)
{
    return screenToQt(rect, primaryHeight);
}

} // namespace kestrel::windowGeometry
