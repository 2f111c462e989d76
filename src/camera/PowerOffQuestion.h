// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QWidget;

namespace kestrel {

class Printer;

// Asks over `parent`'s window whether the printer is to be switched off, and runs its power-off
// scene, as it is named at that moment, once the user says yes. Nobody waits for the outcome,
// which the main window shows.
void askToPowerOff(QWidget *parent, Printer &printer);

} // namespace kestrel
