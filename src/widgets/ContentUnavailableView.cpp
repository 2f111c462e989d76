// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/ContentUnavailableView.h"

#include "widgets/Symbols.h"
#include "widgets/TextStyles.h"

#include <QLabel>
#include <QVBoxLayout>

namespace kestrel {

ContentUnavailableView::ContentUnavailableView(const QString &title, const QString &symbol,
                                               const QColor &color, QWidget *parent)
    : QWidget(parent), m_title(new QLabel(title, this))
{
    auto *layout = new QVBoxLayout(this);
    layout->setSpacing(10);
    layout->addStretch();
    auto *icon = new QLabel(this);
    QColor dimmed = color;
    dimmed.setAlphaF(color.alphaF() * 0.6);
    icon->setPixmap(symbols::pixmap(symbol, dimmed, 40, devicePixelRatioF()));
    layout->addWidget(icon, 0, Qt::AlignHCenter);
    m_title->setFont(textStyles::title3());
    m_title->setStyleSheet(QStringLiteral("color: %1;").arg(color.name(QColor::HexArgb)));
    m_title->setTextFormat(Qt::PlainText);
    layout->addWidget(m_title, 0, Qt::AlignHCenter);
    layout->addStretch();
}

QString ContentUnavailableView::title() const
{
    return m_title->text();
}

} // namespace kestrel
