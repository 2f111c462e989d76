// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QWidget>

class QLabel;
class QVBoxLayout;

namespace kestrel {

// A symbol followed by a text, both in one colour, as a status line shows them.
class SymbolLabel : public QWidget
{
    Q_OBJECT

public:
    explicit SymbolLabel(QWidget *parent = nullptr);

    // An invalid colour means the palette's text colour. The text takes the colour too unless
    // told otherwise.
    enum class Tint
    {
        symbolAndText,
        symbolOnly
    };
    void set(const QString &symbol, const QString &text, const QColor &color = {},
             Tint tint = Tint::symbolAndText);
    QString text() const;
    // A line under the text, beside the symbol as the text is (a camera's caption).
    void addLineUnderText(QWidget *line);
    QString symbol() const { return m_symbolName; }

private:
    QLabel *m_symbol;
    QLabel *m_text;
    QVBoxLayout *m_lines;
    QString m_symbolName;
    QColor m_color;
    Tint m_tint = Tint::symbolAndText;
};

} // namespace kestrel
