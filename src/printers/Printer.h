// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PiStatusMonitor.h"
#include "monitor/PrintStatusClient.h"
#include "platform/ExternalTools.h"
#include "power/HomeKitManager.h"
#include "settings/PrinterSettings.h"

#include <QObject>

namespace kestrel {

// How often a printer asks its host; tests and benchmarks shorten what the user never changes.
struct PrinterTimings
{
    std::chrono::milliseconds probeInterval = PiStatusMonitor::defaultInterval;
    PrintStatusTimings printStatus;
};

// One printer as Kestrel watches it: its settings, the power switch, the host monitor and the
// print status. The parts are made in that order (the power manager before the monitor) and go
// with the printer.
class Printer : public QObject
{
    Q_OBJECT

public:
    // `probes`, where given, shares the host probes with other printers.
    Printer(PrinterSettings &settings, const ExternalTools &tools, QObject *parent = nullptr,
            const PrinterTimings &timings = {}, HostProbeBatch *probes = nullptr);

    QString id() const { return m_settings.printerID(); }
    PrinterSettings &settings() const { return m_settings; }
    HomeKitManager &power() { return m_power; }
    const HomeKitManager &power() const { return m_power; }
    const PiStatusMonitor &monitor() const { return m_monitor; }
    PrintStatusClient &printStatus() { return m_printStatus; }
    const PrintStatusClient &printStatus() const { return m_printStatus; }

private:
    PrinterSettings &m_settings;
    HomeKitManager m_power;
    PiStatusMonitor m_monitor;
    PrintStatusClient m_printStatus;
};

} // namespace kestrel
