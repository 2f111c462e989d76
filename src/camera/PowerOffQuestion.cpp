// SPDX-License-Identifier: GPL-3.0-or-later
#include "camera/PowerOffQuestion.h"

#include "power/PowerWords.h"
#include "printers/Printer.h"
#include "widgets/ConfirmationAlert.h"

#include <QCoreApplication>
#include <QPointer>

namespace kestrel {

void askToPowerOff(QWidget *parent, Printer &printer)
{
    const QString whom = printer.isAmongSeveral()
                             ? printer.settings().displayName()
                             : QCoreApplication::translate("CameraWindowView", "den Drucker");
    confirmDestructive(parent, QCoreApplication::translate("CameraWindowView", "Bist du sicher?"),
                       printer.power().words().switchesOff.arg(whom),
                       QCoreApplication::translate("CameraWindowView", "Bis du sicher?"),
                       [printer = QPointer(&printer)] {
                           if (printer)
                               printer->power().runShortcut(
                                   printer->settings().homeKitPowerOffSceneName());
                       });
}

} // namespace kestrel
