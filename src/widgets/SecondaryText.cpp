// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/SecondaryText.h"

#include "widgets/WrappedLabel.h"

namespace kestrel {

QLabel *secondaryText(const QString &text, QWidget *parent, const QFont &font)
{
    auto *label = new WrappedLabel(text, parent);
    label->setFont(font);
    label->setForegroundRole(QPalette::PlaceholderText);
    label->setTextFormat(Qt::PlainText);
    return label;
}

} // namespace kestrel
