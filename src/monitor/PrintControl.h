// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PrintStatus.h"

#include <QList>
#include <QString>

namespace kestrel {

// What the user can ask of a printer through its host's API, beyond watching it.
enum class PrintControl
{
    pause,
    resume,
    cancel,
    emergencyStop,
    firmwareRestart, // the way back from a shutdown, the emergency stop's included
};

// The host API's method: "printer.print.pause", and so on.
const char *controlMethod(PrintControl control);

// "Pausieren fehlgeschlagen: <why>", and so on, for the window that asked.
QString controlFailure(PrintControl control, const QString &why);

// The controls that make sense in this state, in the order they are offered: pause while
// printing, resume while paused, cancel while either, the emergency stop whenever the host's API
// or the host itself (`hostAnswers`) answers, and the firmware restart while Klipper stands shut
// down.
QList<PrintControl> applicableControls(const PrintStatus &status, bool hostAnswers);

} // namespace kestrel
