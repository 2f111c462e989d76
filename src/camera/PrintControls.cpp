// SPDX-License-Identifier: GPL-3.0-or-later
#include "camera/PrintControls.h"

#include "monitor/PrintControlCall.h"
#include "printers/Printer.h"
#include "widgets/ConfirmationAlert.h"

#include <QAction>
#include <QMessageBox>
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
    connect(&printer.monitor(), &PiStatusMonitor::reachabilityChanged, this,
            &PrintControls::refresh);
    refresh();
}

QAction *PrintControls::action(PrintControl control) const
{
    return m_actions.at(std::find(std::begin(offered), std::end(offered), control) -
                        std::begin(offered));
}

// A note says no more once the print has moved on: a new print, or the one it was about has
// ended. A lost connection is no news of the print, and the note may well be about it. The
// emergency stop is offered whenever the host answers, also while its API's connection is down.
void PrintControls::refresh()
{
    const PrintStatus status = m_printer.printStatus().status();
    const QList<PrintControl> applicable = applicableControls(
        status, m_printer.monitor().reachability().kind() == PiReachability::Kind::reachable);
    for (const PrintControl control : offered)
        action(control)->setVisible(applicable.contains(control));
    if (status.state != m_noteState && status.state != PrintStatus::State::none)
        setNote({});
    emit offeredChanged();
}

// Pausing and resuming can be undone, so they do not ask. Among several printers, each question
// names the printer it is about. A question goes with the controls that asked it.
void PrintControls::ask(PrintControl control)
{
    QMessageBox *question = nullptr;
    const bool named = m_printer.isAmongSeveral();
    const QString name = m_printer.settings().displayName();
    if (control == PrintControl::cancel) {
        const std::optional<PrintIdentity> print = m_printer.printStatus().printUnderWay();
        if (!print)
            return;
        question = confirmDestructive(
            m_asker, named ? tr("Druck auf %1 abbrechen?").arg(name) : tr("Druck abbrechen?"),
            printThatWouldEnd(m_printer.printStatus().status()), tr("Druck abbrechen"),
            [self = QPointer(this), asked = *print] {
                if (self)
                    self->cancelIfStillUnderWay(asked);
            },
            tr("Weiterdrucken"));
    } else if (control == PrintControl::emergencyStop) {
        question = confirmDestructive(
            m_asker, named ? tr("Not-Aus für %1 auslösen?").arg(name) : tr("Not-Aus auslösen?"),
            tr("Heizungen und Motoren stoppen sofort. Danach muss Klipper neu "
               "gestartet werden."),
            tr("Not-Aus"), [self = QPointer(this)] {
                if (self)
                    self->send(PrintControl::emergencyStop);
            });
    } else {
        send(control);
        return;
    }
    connect(this, &QObject::destroyed, question, &QWidget::close);
}

// The question named a print; a question left open while that print ended must not cancel the
// next one, nor run the host's cancel macro with nothing printing.
void PrintControls::cancelIfStillUnderWay(const PrintIdentity &asked)
{
    const std::optional<PrintIdentity> now = m_printer.printStatus().printUnderWay();
    if (now && now->isSameAs(asked)) {
        send(PrintControl::cancel);
        return;
    }
    setNote({asked.filename.isEmpty()
                 ? tr("Nicht abgebrochen: Der Druck läuft nicht mehr")
                 : tr("Nicht abgebrochen: „%1“ läuft nicht mehr").arg(asked.filename)});
}

void PrintControls::send(PrintControl control)
{
    setNote({});
    QAction *entry = action(control);
    entry->setEnabled(false);
    PrintControlCall *call = m_printer.printStatus().send(control);
    connect(call, &QObject::destroyed, entry, [entry] { entry->setEnabled(true); });
    connect(call, &PrintControlCall::slow, this,
            [this] { setNote({tr("Wartet auf den Drucker …")}); });
    connect(call, &PrintControlCall::succeeded, this, [this] {
        if (m_note.text == tr("Wartet auf den Drucker …"))
            setNote({});
    });
    connect(call, &PrintControlCall::failed, this, [this](const QString &text) {
        setNote({text, true});
    });
}

void PrintControls::setNote(const Note &note)
{
    if (note.text == m_note.text && note.isFailure == m_note.isFailure)
        return;
    m_note = note;
    m_noteState = m_printer.printStatus().status().state;
    emit noteChanged();
}

} // namespace kestrel
