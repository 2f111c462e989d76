// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PiReachability.h"

#include <QObject>

#include <chrono>

class QNetworkAccessManager;

namespace kestrel {

class HostProbeBatch;
class PrinterSettings;

// Probes the printer host every interval and publishes whether it answers HTTP.
//
// A loop starts at construction and again on every change of the printer address (the first
// printer's) or once typing rests on a new one (any other printer's); each start
// cancels the loop before it, resets to "checking", sends one wake-up request and probes at once.
// A probe that was under way when its loop was cancelled runs to its end, but its answer is
// dropped, so a stale result for an old address never shows.
class PiStatusMonitor : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds defaultInterval{10'000};

    explicit PiStatusMonitor(PrinterSettings &settings, QObject *parent = nullptr,
                             std::chrono::milliseconds interval = defaultInterval,
                             QString curlPath = QStringLiteral("/usr/bin/curl"),
                             HostProbeBatch *batch = nullptr);

    PiReachability reachability() const { return m_reachability; }

signals:
    // Every publication, also one equal to the value before.
    void reachabilityChanged(const kestrel::PiReachability &reachability);

private:
    void restart();
    void startLoop(quint64 loop, const QString &host);
    void probeAfter(std::chrono::milliseconds pause);
    void sendWakeUpRequest(const QString &host);
    void publish(const PiReachability &reachability);

    PrinterSettings &m_settings;
    HostProbeBatch *const m_batch; // shared with other printers' monitors, or the monitor's own
    const std::chrono::milliseconds m_interval;
    QObject *m_round = nullptr; // the running loop's; its probes still waiting go with it
    QNetworkAccessManager *m_network;
    PiReachability m_reachability = PiReachability::checking();
    QString m_subscribedAddress;
    QString m_host;     // the address the running loop probes
    quint64 m_loop = 0; // bumped by every restart; a result from an older loop is dropped
};

} // namespace kestrel
