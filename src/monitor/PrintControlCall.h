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
class PrintControlCall : public QObject
{
    Q_OBJECT

public:
    // Fails by itself when no answer came within `patience`.
    PrintControlCall(PrintControl control, std::chrono::milliseconds patience,
                     QObject *parent = nullptr);

    PrintControl control() const { return m_control; }

    void succeed();
    // `why` in the user's words; the call makes the whole line of it.
    void fail(const QString &why);

signals:
    void succeeded();
    // "Pausieren fehlgeschlagen: <why>"
    void failed(const QString &text);

private:
    const PrintControl m_control;
    QTimer m_patience;
    bool m_done = false;
};

} // namespace kestrel
