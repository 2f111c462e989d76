// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/CornerCaps.h"

#include <QPaintDevice>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace kestrel {

CornerCaps::CornerCaps(int radius, const QColor &backdrop)
    : m_radius(radius), m_backdrop(backdrop)
{
}

void CornerCaps::paint(QPainter &painter, const QRect &area) const
{
    const int side = std::min({m_radius, area.width() / 2, area.height() / 2});
    if (side <= 0)
        return;
    const qreal ratio = painter.device()->devicePixelRatioF();
    const int pixels = int(std::ceil(2 * side * ratio));
    if (m_caps.width() != pixels || m_caps.devicePixelRatio() != ratio) {
        m_caps = QImage(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
        m_caps.setDevicePixelRatio(ratio);
        m_caps.fill(m_backdrop);
        QPainter cut(&m_caps);
        cut.setRenderHint(QPainter::Antialiasing);
        cut.setCompositionMode(QPainter::CompositionMode_DestinationOut);
        cut.setPen(Qt::NoPen);
        cut.setBrush(Qt::black);
        cut.drawEllipse(QRectF(0, 0, 2 * side, 2 * side));
    }
    const QSize quarter(side, side);
    const QPoint corners[] = {area.topLeft(), QPoint(area.right() - side + 1, area.top()),
                              QPoint(area.left(), area.bottom() - side + 1),
                              QPoint(area.right() - side + 1, area.bottom() - side + 1)};
    const QPoint sources[] = {{0, 0}, {side, 0}, {0, side}, {side, side}};
    for (int i = 0; i < 4; ++i)
        painter.drawImage(QRectF(corners[i], quarter), m_caps,
                          QRectF(QPointF(sources[i]) * ratio, QSizeF(quarter) * ratio));
}

} // namespace kestrel
