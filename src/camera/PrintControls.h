// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PrintControl.h"

#include <QList>
#include <QObject>

class QAction;
class QWidget;

namespace kestrel {

class Printer;

// A printer's print controls as one window offers them: an action for each, visible only where
// it applies, the questions before a cancel and before the emergency stop, and why the last
// control failed. Every window that offers them has its own, so that a failure shows where the
// user asked. A control is not offered again while its call waits for the host's answer, so that
// a double click does not pause twice.
class PrintControls : public QObject
{
    Q_OBJECT

public:
    // The questions stand over `asker`'s window, which owns the controls.
    PrintControls(Printer &printer, QWidget *asker);

    // In the order they are offered: "Druck pausieren", "Druck fortsetzen", "Druck abbrechen…",
    // "Not-Aus…", "Firmware neu starten".
    const QList<QAction *> &actions() const { return m_actions; }
    QAction *action(PrintControl control) const;
    QString failure() const { return m_failure; }

signals:
    // "Pausieren fehlgeschlagen: …"; empty again once another control is sent, or the print's
    // state changes.
    void failureChanged(const QString &text);

private:
    void refresh();
    void ask(PrintControl control);
    void send(PrintControl control);
    void setFailure(const QString &text);

    Printer &m_printer;
    QWidget *m_asker;
    QList<QAction *> m_actions;
    QString m_failure;
    PrintStatus::State m_failedIn = PrintStatus::State::none;
};

} // namespace kestrel
