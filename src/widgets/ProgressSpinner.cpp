// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/ProgressSpinner.h"

#include <QPainter>

#include <algorithm>

namespace kestrel {

namespace {
constexpr int spokes = 12;
}

ProgressSpinner::ProgressSpinner(const QColor &color, QWidget *parent)
    : QWidget(parent), m_color(color)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setFixedSize(sizeHint());
    m_step.setInterval(1000 / spokes); // one turn a second
    connect(&m_step, &QTimer::timeout, this, [this] {
        m_phase = (m_phase + 1) % spokes;
        update();
    });
}

void ProgressSpinner::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(rect().center() + QPointF(0.5, 0.5));
    const qreal radius = std::min(width(), height()) / 2.0;
    QPen pen(m_color, radius * 0.16, Qt::SolidLine, Qt::RoundCap);
    for (int i = 0; i < spokes; ++i) {
        // The spoke at the phase is brightest; the ones behind it fade out.
        const int age = (m_phase - i + spokes) % spokes;
        QColor color = m_color;
        color.setAlphaF(1.0 - 0.8 * age / (spokes - 1));
        pen.setColor(color);
        painter.setPen(pen);
        painter.drawLine(QPointF(0, -radius * 0.45), QPointF(0, -radius * 0.9));
        painter.rotate(360.0 / spokes);
    }
}

void ProgressSpinner::showEvent(QShowEvent *)
{
    m_step.start();
}

void ProgressSpinner::hideEvent(QHideEvent *)
{
    m_step.stop();
}

} // namespace kestrel
