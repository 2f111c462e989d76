// SPDX-License-Identifier: GPL-3.0-or-later
#include "camera/PrintControls.h"

#include "monitor/PrintControlCall.h"
#include "printers/Printer.h"
#include "widgets/ConfirmationAlert.h"

#include <QAction>
#include <QPointer>
#include <QWidget>

#include <algorithm>

namespace kestrel {

namespace {

constexpr PrintControl offered[] = {PrintControl::pause, PrintControl::resume, PrintControl::cancel,
                                    PrintControl::emergencyStop, PrintControl::firmwareRestart};

QString label(PrintControl control)
{
    switch (control) {
    case PrintControl::pause:
        return PrintControls::tr("Druck pausieren");
    case PrintControl::resume:
        return PrintControls::tr("Druck fortsetzen");
    case PrintControl::cancel:
        return PrintControls::tr("Druck abbrechen…");
    case PrintControl::emergencyStop:
        return PrintControls::tr("Not-Aus…");
    case PrintControl::firmwareRestart:
        return PrintControls::tr("Firmware neu starten");
    }
    return {};
}

// What is about to be lost: the file, and how long it has printed.
QString printThatWouldEnd(const PrintStatus &status)
{
    const QString time = durationText(status.printDuration);
    if (status.filename.isEmpty())
        return PrintControls::tr("Der Druck läuft seit %1.").arg(time);
    return PrintControls::tr("„%1“ läuft seit %2.").arg(status.filename, time);
}

} // namespace

PrintControls::PrintControls(Printer &printer, QWidget *asker)
    : QObject(asker), m_printer(printer), m_asker(asker)
{
    for (const PrintControl control : offered) {
        auto *entry = new QAction(label(control), this);
        connect(entry, &QAction::triggered, this, [this, control] { ask(control); });
        m_actions.append(entry);
    }
    connect(&printer.printStatus(), &PrintStatusClient::statusChanged, this,
            &PrintControls::refresh);
    refresh();
}

QAction *PrintControls::action(PrintControl control) const
{
    return m_actions.at(std::find(std::begin(offered), std::end(offered), control) -
                        std::begin(offered));
}

// A failure says no more once the print has moved on: a new print, or the one it was about has
// ended. A lost connection is no news of the print, and the failure may well be about it.
void PrintControls::refresh()
{
    const PrintStatus status = m_printer.printStatus().status();
    const QList<PrintControl> applicable = applicableControls(status);
    for (const PrintControl control : offered)
        action(control)->setVisible(applicable.contains(control));
    if (status.state != m_failedIn && status.state != PrintStatus::State::none)
        setFailure({});
}

// Pausing and resuming can be undone, so they do not ask. The question names what the user saw
// when asking; the answer is sent even if the print has moved on since, and the host says so.
void PrintControls::ask(PrintControl control)
{
    const auto sendIt = [self = QPointer(this), control] {
        if (self)
            self->send(control);
    };
    if (control == PrintControl::cancel) {
        confirmDestructive(m_asker, tr("Druck abbrechen?"),
                           printThatWouldEnd(m_printer.printStatus().status()),
                           tr("Druck abbrechen"), sendIt);
    } else if (control == PrintControl::emergencyStop) {
        confirmDestructive(m_asker, tr("Not-Aus auslösen?"),
                           tr("Heizungen und Motoren stoppen sofort. Danach muss Klipper neu "
                              "gestartet werden."),
                           tr("Not-Aus"), sendIt);
    } else {
        send(control);
    }
}

void PrintControls::send(PrintControl control)
{
    setFailure({});
    QAction *entry = action(control);
    entry->setEnabled(false);
    PrintControlCall *call = m_printer.printStatus().send(control);
    connect(call, &QObject::destroyed, entry, [entry] { entry->setEnabled(true); });
    connect(call, &PrintControlCall::failed, this, &PrintControls::setFailure);
}

void PrintControls::setFailure(const QString &text)
{
    if (text == m_failure)
        return;
    m_failure = text;
    m_failedIn = m_printer.printStatus().status().state;
    emit failureChanged(text);
}

} // namespace kestrel
