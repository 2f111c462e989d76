#include "platform/SymbolLabel.h"

#include "platform/Symbols.h"

#include <QHBoxLayout>
#include <QLabel>

namespace kestrel {

SymbolLabel::SymbolLabel(QWidget *parent)
    : QWidget(parent), m_symbol(new QLabel(this)), m_text(new QLabel(this))
{
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(m_symbol);
    layout->addWidget(m_text, 1);
    m_text->setTextFormat(Qt::PlainText);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse);
}

void SymbolLabel::set(const QString &symbol, const QString &text, const QColor &color, Tint tint)
{
    const QColor plain = palette().color(QPalette::WindowText);
    const QColor shown = color.isValid() ? color : plain;
    m_symbolName = symbol;
    const int size = m_text->fontMetrics().height();
    m_symbol->setPixmap(symbols::pixmap(symbol, shown, size, devicePixelRatioF()));
    m_text->setText(text);
    QPalette textPalette = m_text->palette();
    textPalette.setColor(QPalette::WindowText, tint == Tint::symbolAndText ? shown : plain);
    m_text->setPalette(textPalette);
}

QString SymbolLabel::text() const
{
    return m_text->text();
}

} // namespace kestrel
