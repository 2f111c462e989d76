// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/PrinterSettings.h"
#include "settings/WallSettings.h"

#include <QList>
#include <QObject>

#include <memory>
#include <vector>

namespace kestrel {

class KeyValueStore;
class PrinterEntryStore;

// The options that hold for every printer, and the printers themselves in the file's order.
//
// The first printer lives at the top level of the store, key for key as a single printer always
// has, so a file with one printer reads the same either way. Each further printer is an object
// in the "additionalPrinters" array with the same keys and a stable "printerID". An array entry
// that is no object is no printer, but stays in the array as it was.
//
// Every assignment of a global option first emits <field>WillChange(newValue) while the old value
// is still in place, then stores and writes it, then emits changed(), as each printer's own
// settings do.
class AppSettings : public QObject
{
    Q_OBJECT

public:
    static const QString additionalPrintersKey;

    // Reads every printer and option from the store at once; the store must outlive the settings.
    explicit AppSettings(KeyValueStore &store, QObject *parent = nullptr);
    ~AppSettings() override;

    bool alwaysOnTop() const { return m_alwaysOnTop; }
    bool showPictureRate() const { return m_showPictureRate; }
    // A desktop notification when a print ends or pauses.
    bool notifyPrintEvents() const { return m_notifyPrintEvents; }

    WallSettings &wall() const { return *m_wall; }

    void setAlwaysOnTop(bool value);
    void setShowPictureRate(bool value);
    void setNotifyPrintEvents(bool value);

    // Never empty: the first printer is always there.
    QList<PrinterSettings *> printers() const;
    PrinterSettings &firstPrinter() const { return *m_printers.front().settings; }
    PrinterSettings *printer(const QString &printerID) const;

    // A further printer at the end of the list, with `name` and an address still to be given.
    PrinterSettings &addPrinter(const QString &name);
    // Announces the printer's going, then takes it out of the store and deletes it later. The
    // first printer stays: it is the top level of the store.
    void removePrinter(const QString &printerID);

signals:
    void alwaysOnTopWillChange(bool newValue);
    void showPictureRateWillChange(bool newValue);
    void notifyPrintEventsWillChange(bool newValue);
    void printerAdded(kestrel::PrinterSettings *printer);
    // While the printer and its settings are still whole.
    void printerRemoving(kestrel::PrinterSettings *printer);

    // After any option has been stored and written, or a printer added or removed.
    void changed();

private:
    struct Entry
    {
        std::unique_ptr<PrinterEntryStore> scope; // none for the first printer
        PrinterSettings *settings = nullptr;
    };

    void loadAdditionalPrinters();
    static QString unusedPrinterID(const QStringList &taken);
    void appendPrinter(const QString &printerID);

    template <typename WillChange>
    void assign(bool &field, bool value, WillChange willChange, const QString &key);

    KeyValueStore &m_store;
    WallSettings *m_wall;
    std::vector<Entry> m_printers;
    bool m_alwaysOnTop = true;
    bool m_showPictureRate = false;
    bool m_notifyPrintEvents = true;
};

} // namespace kestrel
