// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/PrintControl.h"

#include <QCoreApplication>

namespace kestrel {

const char *controlMethod(PrintControl control)
{
    switch (control) {
    case PrintControl::pause:
        return "printer.print.pause";
    case PrintControl::resume:
        return "printer.print.resume";
    case PrintControl::cancel:
        return "printer.print.cancel";
    case PrintControl::emergencyStop:
        return "printer.emergency_stop";
    case PrintControl::firmwareRestart:
        return "printer.firmware_restart";
    }
    return "";
}

QString controlFailure(PrintControl control, const QString &why)
{
    const auto tr = [](const char *text) {
        return QCoreApplication::translate("PrintControl", text);
    };
    switch (control) {
    case PrintControl::pause:
        return tr("Pausieren fehlgeschlagen: %1").arg(why);
    case PrintControl::resume:
        return tr("Fortsetzen fehlgeschlagen: %1").arg(why);
    case PrintControl::cancel:
        return tr("Abbrechen fehlgeschlagen: %1").arg(why);
    case PrintControl::emergencyStop:
        return tr("Not-Aus fehlgeschlagen: %1").arg(why);
    case PrintControl::firmwareRestart:
        return tr("Firmware-Neustart fehlgeschlagen: %1").arg(why);
    }
    return why;
}

QList<PrintControl> applicableControls(const PrintStatus &status, bool hostAnswers)
{
    using State = PrintStatus::State;
    switch (status.state) {
    case State::none:
    case State::unauthorized:
    case State::apiUnavailable:
        return hostAnswers ? QList{PrintControl::emergencyStop} : QList<PrintControl>{};
    case State::printing:
        return {PrintControl::pause, PrintControl::cancel, PrintControl::emergencyStop};
    case State::paused:
        return {PrintControl::resume, PrintControl::cancel, PrintControl::emergencyStop};
    case State::shutdown:
        return {PrintControl::emergencyStop, PrintControl::firmwareRestart};
    case State::klippyNotReady:
    case State::standby:
    case State::complete:
    case State::cancelled:
    case State::error:
        return {PrintControl::emergencyStop};
    }
    return {};
}

} // namespace kestrel
