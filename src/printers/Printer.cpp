// SPDX-License-Identifier: GPL-3.0-or-later
#include "printers/Printer.h"

namespace kestrel {

Printer::Printer(PrinterSettings &settings, const ExternalTools &tools, QObject *parent,
                 const PrinterTimings &timings, HostProbeBatch *probes)
    : QObject(parent), m_settings(settings),
      m_power(settings, nullptr, tools.shortcuts, tools.sceneRunner),
      m_monitor(settings, nullptr, timings.probeInterval, tools.curl, probes),
      m_printStatus(settings, m_monitor, nullptr, timings.printStatus)
{}

} // namespace kestrel
