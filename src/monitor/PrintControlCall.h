// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PrintControl.h"

#include <QObject>
#include <QTimer>

#include <chrono>

namespace kestrel {

// One control sent to the host, until its answer: it says once whether the host did it, or why
// not, and then goes. Whoever asked connects to it with a context of its own, so that a window
// closed meanwhile hears nothing.
//
// A host that waits for a heater holds its G-code queue, and a pause or a cancel with it, for
// minutes: a call without an answer says after a while that it still waits, and fails only when
// it has waited far longer than any heater takes.
class PrintControlCall : public QObject
{
    Q_OBJECT

public:
    // Says it is slow when no answer came within `slow`, and fails by itself after `giveUp`.
    PrintControlCall(PrintControl control, std::chrono::milliseconds slow,
                     std::chrono::milliseconds giveUp, QObject *parent = nullptr);

    PrintControl control() const { return m_control; }

    void succeed();
    // `why` in the user's words; the call makes the whole line of it.
    void fail(const QString &why);

signals:
    // No answer yet, after the time a host that is not busy takes.
    void slow();
    void succeeded();
    // "Pausieren fehlgeschlagen: <why>"
    void failed(const QString &text);

private:
    const PrintControl m_control;
    QTimer m_slow;
    QTimer m_patience;
    bool m_done = false;
};

} // namespace kestrel
