// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/ButtonStyles.h"

#include "widgets/SystemColors.h"

#include <QPushButton>

namespace kestrel::buttonStyles {

namespace {

// A button that cannot be pressed keeps the style's grey, whatever it says when it can.
void colourWhileEnabled(QPalette &palette, QPalette::ColorRole role, const QColor &colour)
{
    for (const auto group : {QPalette::Active, QPalette::Inactive})
        palette.setColor(group, role, colour);
}

} // namespace

void makeProminent(QPushButton *button)
{
    QPalette palette = button->palette();
    colourWhileEnabled(palette, QPalette::Button, palette.color(QPalette::Highlight));
    colourWhileEnabled(palette, QPalette::ButtonText, palette.color(QPalette::HighlightedText));
    button->setPalette(palette);
    button->setDefault(true);
}

void makeDestructive(QPushButton *button)
{
    QPalette palette = button->palette();
    colourWhileEnabled(palette, QPalette::ButtonText, systemColors::red());
    button->setPalette(palette);
}

} // namespace kestrel::buttonStyles
