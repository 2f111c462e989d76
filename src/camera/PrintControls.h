// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PrintControl.h"

#include <QList>
#include <QObject>

class QAction;
class QWidget;

namespace kestrel {

class Printer;
struct PrintIdentity;

// A printer's print controls as one window offers them: an action for each, visible only where
// it applies, the questions before a cancel and before the emergency stop, and a note of how the
// last control went. Every window that offers them has its own, made with the window and kept
// while its content changes, so that a question stays open and an answer arrives where the user
// asked. A control is not offered again while its call waits for the host's answer, so that a
// double click does not pause twice.
class PrintControls : public QObject
{
    Q_OBJECT

public:
    // What the window says of its controls under the print's line.
    struct Note
    {
        QString text;           // empty for nothing to say
        bool isFailure = false; // said in red
    };

    // The questions stand over `asker`'s window, which owns the controls.
    PrintControls(Printer &printer, QWidget *asker);

    // In the order they are offered: "Druck pausieren", "Druck fortsetzen", "Druck abbrechen…",
    // "Not-Aus…", "Firmware neu starten".
    const QList<QAction *> &actions() const { return m_actions; }
    QAction *action(PrintControl control) const;
    // Why the last control failed, that it still waits for the host, or that a cancel was not
    // sent. It goes once another control is sent, or the print's state changes.
    Note note() const { return m_note; }

signals:
    void noteChanged();
    // After the actions' visibility has followed the print's state.
    void offeredChanged();

private:
    void refresh();
    void ask(PrintControl control);
    void cancelIfStillUnderWay(const PrintIdentity &asked);
    void send(PrintControl control);
    void setNote(const Note &note);

    Printer &m_printer;
    QWidget *m_asker;
    QList<QAction *> m_actions;
    Note m_note;
    PrintStatus::State m_noteState = PrintStatus::State::none; // the print's, when the note came
};

} // namespace kestrel
