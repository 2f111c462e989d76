// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/ButtonStyles.h"

#include "widgets/SystemColors.h"

#include <QPushButton>

namespace kestrel::buttonStyles {

void makeProminent(QPushButton *button)
{
    QPalette palette = button->palette();
    palette.setColor(QPalette::Button, palette.color(QPalette::Highlight));
    palette.setColor(QPalette::ButtonText, palette.color(QPalette::HighlightedText));
    button->setPalette(palette);
    button->setDefault(true);
}

void makeDestructive(QPushButton *button)
{
    QPalette palette = button->palette();
    palette.setColor(QPalette::ButtonText, systemColors::red());
    button->setPalette(palette);
}

} // namespace kestrel::buttonStyles
