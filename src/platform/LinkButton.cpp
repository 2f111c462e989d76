#include "platform/LinkButton.h"

#include <QPainter>

namespace kestrel {

LinkButton::LinkButton(const QColor &color, QWidget *parent)
    : QAbstractButton(parent), m_color(color)
{
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    QFont underlined = font();
    underlined.setUnderline(true);
    setFont(underlined);
}

QSize LinkButton::sizeHint() const
{
    return {fontMetrics().horizontalAdvance(text()) + 2, fontMetrics().height()};
}

QSize LinkButton::minimumSizeHint() const
{
    return {fontMetrics().horizontalAdvance(QStringLiteral("http://…")), fontMetrics().height()};
}

void LinkButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setPen(m_color);
    painter.setFont(font());
    painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter,
                     fontMetrics().elidedText(text(), Qt::ElideMiddle, width()));
}

} // namespace kestrel
