// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QPainterPath>
#include <QRect>

#include <array>
#include <functional>

class QPainter;

namespace kestrel {

// An area with rounded corners that is painted over at every picture. Qt hands a large
// antialiased or clipped fill to helper threads and waits for them, which costs more than the
// fill; so the area is painted in rectangular bands where the corners cannot reach, and only the
// corners that are reached are clipped round, each by a path no larger than itself.
class RoundedArea
{
public:
    RoundedArea() = default;
    RoundedArea(const QRect &area, qreal radius);

    const QRect &rect() const { return m_area; }
    qreal radius() const { return m_radius; }

    // Paints through `draw`, which covers `content` at most, kept within the rounded corners.
    void paint(QPainter &painter, const QRect &content, const std::function<void()> &draw) const;

private:
    QRect m_area;
    qreal m_radius = 0;
    std::array<QRect, 3> m_bands;
    std::array<QRect, 4> m_cornerSquares;
    std::array<QPainterPath, 4> m_corners;
};

// A camera's picture fitted into the area. A picture decoded at the size shown is copied pixel
// for pixel; one from before a resize is scaled smoothly until the next comes at the new size.
void paintFittedPicture(QPainter &painter, const RoundedArea &area, const QImage &image);

} // namespace kestrel
