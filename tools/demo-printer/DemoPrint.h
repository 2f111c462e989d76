// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QJsonObject>
#include <QString>

#include <chrono>

#include <variant>

namespace kestrel::demo {

// What the simulated print runs into, to show Kestrel's status line and notifications.
enum class KlipperFault
{
    none,
    restart,    // Klipper goes away for 5 s a third of the way in, and comes back
    printError, // the print fails half way
    idle,       // no print at all: Klipper stands by
    shutdown,   // Klipper shuts down a third of the way in, and restarts its firmware 10 s later
    deaf,       // the controls are taken and never answered
};

// The print that the demo printer's Klipper runs, without the host around it: one file over and
// over, a print of the given length with layers, then a while in standby, with heaters that rise
// while it prints and cool after it. It takes the controls as Klipper does: a pause holds the
// print with the heaters on, a cancel ends it, and the emergency stop shuts Klipper down until
// its firmware is restarted. The print moves on only when told, so that the host says when.
class DemoPrint
{
public:
    // A print's end shows for `rest` before standby, and standby as long before the next print
    // of the same file.
    DemoPrint(double printLength, KlipperFault fault, std::chrono::milliseconds rest);

    // What the host must tell its clients after a step or a control.
    struct News
    {
        bool statusChanged = false;
        bool shutDown = false;   // Klipper stopped itself; its objects say why
        bool klippyGone = false; // Klipper went away, and the host forgets every subscription
        bool klippyBack = false;
    };
    // Klipper's error for a control that does not apply.
    struct Refusal
    {
        int code;
        QString message;
    };

    static const QString &file();
    static constexpr int layers = 120;
    static bool isControl(const QString &method);

    double printLength() const { return m_printLength; }
    bool klippyReady() const;
    // "startup", "shutdown" or "ready"
    QString klippyState() const;
    // print_stats, display_status, virtual_sdcard, the heaters and webhooks, as subscribed
    QJsonObject objects() const;

    News advance(double seconds);
    std::variant<News, Refusal> control(const QString &method);

private:
    News shutDown(const QString &message, bool restartsItself);
    News restartFirmware();
    void enter(const QString &state);
    bool heating() const;
    bool heatersSettled() const;

    const double m_printLength;
    const KlipperFault m_fault;
    const qint64 m_restMs;
    QElapsedTimer m_inState; // since the print's state last changed
    QString m_state;
    double m_printed = 0; // seconds, pauses left out
    double m_total = 0;   // seconds since the print began, pauses included
    bool m_restarted = false;
    double m_nozzle;
    double m_bed;
    QElapsedTimer m_down;     // while Klipper is away
    QElapsedTimer m_shutdown; // while Klipper stands shut down
    QString m_shutdownMessage;
    bool m_restartsItself = false;
};

} // namespace kestrel::demo
