// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/SecondaryText.h"

#include <QLabel>

namespace kestrel {

QLabel *secondaryText(const QString &text, QWidget *parent, const QFont &font)
{
    auto *label = new QLabel(text, parent);
    label->setFont(font);
    label->setForegroundRole(QPalette::PlaceholderText);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

} // namespace kestrel
