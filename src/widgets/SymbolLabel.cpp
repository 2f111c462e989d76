// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/SymbolLabel.h"

#include "widgets/Symbols.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace kestrel {

SymbolLabel::SymbolLabel(QWidget *parent)
    : QWidget(parent), m_symbol(new QLabel(this)), m_text(new QLabel(this)),
      m_lines(new QVBoxLayout)
{
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(m_symbol);
    m_lines->setSpacing(2);
    m_lines->addWidget(m_text);
    layout->addLayout(m_lines, 1);
    m_text->setTextFormat(Qt::PlainText);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse);
}

void SymbolLabel::set(const QString &symbol, const QString &text, const QColor &color, Tint tint)
{
    const QColor plain = palette().color(QPalette::WindowText);
    const QColor shown = color.isValid() ? color : plain;
    // Drawing the symbol is the costly part, and most callers repeat what is shown.
    if (symbol == m_symbolName && text == m_text->text() && shown == m_color && tint == m_tint)
        return;
    m_symbolName = symbol;
    m_color = shown;
    m_tint = tint;
    const int size = m_text->fontMetrics().height();
    m_symbol->setPixmap(symbols::pixmap(symbol, shown, size, devicePixelRatioF()));
    m_text->setText(text);
    QPalette textPalette = m_text->palette();
    textPalette.setColor(QPalette::WindowText, tint == Tint::symbolAndText ? shown : plain);
    m_text->setPalette(textPalette);
}

void SymbolLabel::addLineUnderText(QWidget *line)
{
    m_lines->addWidget(line);
}

QString SymbolLabel::text() const
{
    return m_text->text();
}

} // namespace kestrel
