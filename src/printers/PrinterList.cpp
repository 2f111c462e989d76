// SPDX-License-Identifier: GPL-3.0-or-later
#include "printers/PrinterList.h"

#include "settings/AppSettings.h"

namespace kestrel {

PrinterList::PrinterList(AppSettings &settings, ExternalTools tools, QObject *parent,
                         PrinterTimings timings)
    : QObject(parent), m_settings(settings), m_tools(std::move(tools)), m_timings(timings),
      m_probes(m_tools.curl)
{
    for (PrinterSettings *printer : settings.printers())
        add(printer);
    connect(&settings, &AppSettings::printerAdded, this, &PrinterList::add);
    connect(&settings, &AppSettings::printerRemoving, this, &PrinterList::remove);
}

// The printers go before the probe batch they share.
PrinterList::~PrinterList()
{
    qDeleteAll(m_printers);
}

Printer *PrinterList::printer(const QString &id) const
{
    for (Printer *printer : m_printers) {
        if (printer->id() == id)
            return printer;
    }
    return nullptr;
}

namespace {

QStringList scenesOf(const Printer &printer)
{
    const PrinterSettings &settings = printer.settings();
    QStringList names;
    for (const QString &name :
         {settings.homeKitPowerOnSceneName(), settings.homeKitPowerOffSceneName(),
          settings.homeKitStatusShortcutName()}) {
        if (!name.trimmed().isEmpty() && !names.contains(name.trimmed()))
            names.append(name.trimmed());
    }
    return names;
}

} // namespace

QList<std::pair<const Printer *, QString>>
PrinterList::scenesSharedWith(const Printer &printer) const
{
    QList<std::pair<const Printer *, QString>> shared;
    const QStringList own = scenesOf(printer);
    for (const Printer *other : m_printers) {
        if (other == &printer)
            continue;
        for (const QString &scene : scenesOf(*other)) {
            if (own.contains(scene))
                shared.append({other, scene});
        }
    }
    return shared;
}

void PrinterList::add(PrinterSettings *settings)
{
    auto *printer = new Printer(*settings, m_tools, this, m_timings, &m_probes);
    m_printers.append(printer);
    tellEachHowMany();
    emit printerAdded(printer);
}

void PrinterList::tellEachHowMany()
{
    for (Printer *printer : std::as_const(m_printers))
        printer->setAmongSeveral(isSeveral());
}

void PrinterList::remove(PrinterSettings *settings)
{
    Printer *printer = this->printer(settings->printerID());
    if (!printer)
        return;
    emit printerRemoving(printer);
    m_printers.removeOne(printer);
    printer->deleteLater();
    tellEachHowMany();
}

} // namespace kestrel
