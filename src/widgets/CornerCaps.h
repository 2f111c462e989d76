// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QImage>

class QPainter;
class QRect;

namespace kestrel {

// Rounds a rectangle's corners by covering them in the colour around it, for a widget on a flat
// background. Unlike clipping, the widget then paints every pixel of its rectangle and can tell
// Qt so (Qt::WA_OpaquePaintEvent): Qt need not paint the parent beneath it first, which for a
// live picture happened at every picture. The four quarter caps are drawn once per pixel ratio.
class CornerCaps
{
public:
    CornerCaps() = default;
    CornerCaps(int radius, const QColor &backdrop);

    void paint(QPainter &painter, const QRect &area) const;

private:
    int m_radius = 0;
    QColor m_backdrop;
    mutable QImage m_caps; // a disc cut out of the backdrop: its quarters are the four caps
};

} // namespace kestrel
