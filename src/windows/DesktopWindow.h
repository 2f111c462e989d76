// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

class QWidget;

// How a floating camera window behaves towards the desktop: above other windows or not, and
// present on every virtual desktop. Each call does what the platform allows and nothing where it
// cannot (offscreen, or a window system without the notion).
namespace kestrel::desktopWindow {

// Keeps the window above ordinary windows, or makes it ordinary again, in place: the window
// keeps its position, stays mapped and keeps its native window. A window that follows the user
// to every desktop is told so again afterwards.
void setStaysOnTop(QWidget *window, bool onTop);

// Shows the window on every virtual desktop, so it follows the user. Call it before the window
// is shown and again after each change of its flags.
void followAllDesktops(QWidget *window);

// Calls `changed` on a later event-loop turn whenever the window manager changes the frame it
// draws around `window` (on X11 that happens without any move or resize of the window itself).
// Where frames are known at once, it never calls.
void watchFrame(QWidget *window, std::function<void()> changed);

} // namespace kestrel::desktopWindow
