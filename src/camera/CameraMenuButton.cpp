// SPDX-License-Identifier: GPL-3.0-or-later
#include "camera/CameraMenuButton.h"

#include "widgets/Symbols.h"
#include "widgets/TextStyles.h"

#include <QPainter>

#include <cmath>

namespace kestrel {

CameraMenuButton::CameraMenuButton(const QString &name, QWidget *parent) : QToolButton(parent)
{
    setText(name);
    setFont(textStyles::headline());
    setPopupMode(QToolButton::InstantPopup);
    setCursor(Qt::PointingHandCursor);
    setAutoRaise(true);
}

QSize CameraMenuButton::sizeHint() const
{
    const QFontMetricsF metrics(font());
    return {int(std::ceil(metrics.horizontalAdvance(text()))) + 1 + chevronGap + chevronSize,
            std::max(fontMetrics().height(), chevronSize)};
}

void CameraMenuButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setPen(Qt::white);
    painter.setFont(font());
    const int chevronSpace = chevronGap + chevronSize;
    const QString name =
        fontMetrics().elidedText(text(), Qt::ElideRight, std::max(0, width() - chevronSpace));
    const int textWidth = fontMetrics().horizontalAdvance(name);
    painter.drawText(QRect(0, 0, textWidth, height()), Qt::AlignLeft | Qt::AlignVCenter, name);
    painter.drawPixmap(QPoint(textWidth + chevronGap, (height() - chevronSize) / 2),
                       symbols::pixmap(QStringLiteral("chevron.down"), Qt::white, chevronSize,
                                       devicePixelRatioF()));
}

} // namespace kestrel
