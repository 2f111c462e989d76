// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/LinkButton.h"

#include <QEvent>
#include <QPainter>

namespace kestrel {

LinkButton::LinkButton(const QColor &color, QWidget *parent)
    : QAbstractButton(parent), m_color(color)
{
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setFont(underlined(font()));
}

QFont LinkButton::underlined(QFont font)
{
    font.setUnderline(true);
    return font;
}

// Whatever font it is given, the button stays underlined: it must look like the link it is.
void LinkButton::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange && !font().underline())
        setFont(underlined(font()));
    QAbstractButton::changeEvent(event);
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
