// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/StatusDot.h"

#include <QPainter>

namespace kestrel {

StatusDot::StatusDot(int diameter, QWidget *parent) : QWidget(parent)
{
    setFixedSize(diameter, diameter);
}

void StatusDot::setColor(const QColor &color)
{
    if (color == m_color)
        return;
    m_color = color;
    update();
}

void StatusDot::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_color);
    painter.drawEllipse(QRectF(rect()));
}

} // namespace kestrel
