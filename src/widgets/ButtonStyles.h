// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QPushButton;

// The two button roles the screens name, drawn by the desktop's own style through the palette,
// so they keep its border, height and focus frame.
namespace kestrel::buttonStyles {

// The one action a screen offers first: filled with the palette's accent colour.
void makeProminent(QPushButton *button);
// An action that switches something off: its text in red.
void makeDestructive(QPushButton *button);

} // namespace kestrel::buttonStyles
