// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/PaintCache.h"

#include <QPainter>
#include <QWidget>

namespace kestrel {

void PaintCache::paint(QPainter &painter, const QWidget &widget, const QRect &exposed, int look,
                       const Drawing &draw)
{
    const qreal ratio = widget.devicePixelRatioF();
    const QSize pixels = widget.size() * ratio;
    if (m_pixmap.size() != pixels || m_pixmap.devicePixelRatio() != ratio || m_look != look) {
        m_pixmap = QPixmap(pixels);
        m_pixmap.setDevicePixelRatio(ratio);
        m_pixmap.fill(Qt::transparent);
        QPainter cached(&m_pixmap);
        cached.setRenderHint(QPainter::Antialiasing);
        draw(cached);
        m_look = look;
    }
    const QRect area = exposed & widget.rect();
    painter.drawPixmap(area, m_pixmap,
                       QRectF(QPointF(area.topLeft()) * ratio, QSizeF(area.size()) * ratio));
}

} // namespace kestrel
