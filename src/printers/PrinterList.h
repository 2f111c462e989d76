// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/HostProbeBatch.h"
#include "printers/Printer.h"

#include <QList>
#include <QObject>

namespace kestrel {

class AppSettings;

// Every printer in the settings, in their order, each watched from the moment it is added until
// it is removed. A single printer is simply a list of one.
class PrinterList : public QObject
{
    Q_OBJECT

public:
    PrinterList(AppSettings &settings, ExternalTools tools, QObject *parent = nullptr,
                PrinterTimings timings = {});
    ~PrinterList() override;

    AppSettings &settings() const { return m_settings; }
    // Never empty.
    const QList<Printer *> &printers() const { return m_printers; }
    Printer &first() const { return *m_printers.first(); }
    Printer *printer(const QString &id) const;
    qsizetype indexOf(const Printer &printer) const { return m_printers.indexOf(&printer); }
    // Whether windows, cards and notifications must say which printer they belong to.
    bool isSeveral() const { return m_printers.size() > 1; }

    // The scenes `printer` names that another printer names too, each with that printer: both
    // would switch the same plug.
    QList<std::pair<const Printer *, QString>> scenesSharedWith(const Printer &printer) const;

signals:
    void printerAdded(kestrel::Printer *printer);
    // While the printer still works; it is deleted on the next turn of the event loop.
    void printerRemoving(kestrel::Printer *printer);

private:
    void add(PrinterSettings *settings);
    void remove(PrinterSettings *settings);
    void tellEachHowMany();

    AppSettings &m_settings;
    const ExternalTools m_tools;
    const PrinterTimings m_timings;
    HostProbeBatch m_probes; // one curl run asks every host that is due
    QList<Printer *> m_printers;
};

} // namespace kestrel
