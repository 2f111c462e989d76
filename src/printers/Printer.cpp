// SPDX-License-Identifier: GPL-3.0-or-later
#include "printers/Printer.h"

namespace kestrel {

Printer::Printer(PrinterSettings &settings, const ExternalTools &tools, QObject *parent,
                 const PrinterTimings &timings, HostProbeBatch *probes)
    : QObject(parent), m_settings(settings),
      m_power(settings, nullptr, tools.shortcuts, tools.sceneRunner),
      m_monitor(settings, nullptr, timings.probeInterval, tools.curl, probes),
      m_printStatus(settings, m_monitor, nullptr, timings.printStatus), m_recentPicture(settings)
{
    connect(&settings, &PrinterSettings::changed, this, &Printer::nameThePower);
}

void Printer::setAmongSeveral(bool amongSeveral)
{
    if (std::exchange(m_amongSeveral, amongSeveral) == amongSeveral)
        return;
    nameThePower();
    emit namingChanged();
}

QString Printer::nameInTexts() const
{
    return m_amongSeveral ? m_settings.displayName() : QStringLiteral("Ender");
}

void Printer::setSettingsShown(bool shown)
{
    if (std::exchange(m_settingsShown, shown) != shown)
        emit settingsShownChanged(shown);
}

bool Printer::offersPowerOn() const
{
    return m_settings.isFirst() || !m_settings.homeKitPowerOnSceneName().trimmed().isEmpty();
}

bool Printer::offersPowerOff() const
{
    return m_settings.isFirst() || !m_settings.homeKitPowerOffSceneName().trimmed().isEmpty();
}

void Printer::nameThePower()
{
    m_power.setPrinterName(nameInTexts());
}

} // namespace kestrel
