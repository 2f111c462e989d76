// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PiStatusMonitor.h"
#include "monitor/PrintStatusClient.h"
#include "platform/ExternalTools.h"
#include "power/HomeKitManager.h"
#include "printers/RecentPicture.h"
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

    // Among several printers every text about one names it ("Prusa ist eingeschaltet"); alone,
    // the printer is "Ender", as it always was. Set by the list of printers.
    bool isAmongSeveral() const { return m_amongSeveral; }
    void setAmongSeveral(bool amongSeveral);
    QString nameInTexts() const;

    // Whether the windows offer to switch the printer on, or off: the first printer as it always
    // has, any other only once the user has named its own scene for it.
    bool offersPowerOn() const;
    bool offersPowerOff() const;

    // The user has the printer's page of the settings in front of them, and may be typing its
    // address: its start-up prompt waits.
    bool settingsShown() const { return m_settingsShown; }
    void setSettingsShown(bool shown);
    PrinterSettings &settings() const { return m_settings; }
    HomeKitManager &power() { return m_power; }
    const HomeKitManager &power() const { return m_power; }
    const PiStatusMonitor &monitor() const { return m_monitor; }
    RecentPicture &recentPicture() { return m_recentPicture; }
    PrintStatusClient &printStatus() { return m_printStatus; }
    const PrintStatusClient &printStatus() const { return m_printStatus; }

signals:
    // Whether texts name the printer, or the name they use, changed.
    void namingChanged();
    void settingsShownChanged(bool shown);

private:
    void nameThePower();

    PrinterSettings &m_settings;
    bool m_amongSeveral = false;
    bool m_settingsShown = false;
    HomeKitManager m_power;
    PiStatusMonitor m_monitor;
    PrintStatusClient m_printStatus;
    RecentPicture m_recentPicture;
};

} // namespace kestrel
