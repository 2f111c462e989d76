// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/AppSettings.h"

#include "platform/KeyValueStore.h"
#include "settings/PrinterEntryStore.h"
#include "settings/SettingsCodec.h"

#include <QUuid>
#include <QVariantList>

namespace kestrel {

namespace keys {
const QString alwaysOnTop = QStringLiteral("alwaysOnTop");
const QString showPictureRate = QStringLiteral("showPictureRate");
const QString notifyPrintEvents = QStringLiteral("notifyPrintEvents");
} // namespace keys

const QString AppSettings::additionalPrintersKey = QStringLiteral("additionalPrinters");

namespace {

// A value that is no list, as a person may write a single further printer, reads as a list of
// that one value: an object is then a printer like any other, and anything else an entry that is
// none, kept as it was.
QVariantList entriesOf(const QVariant &stored)
{
    if (stored.metaType().id() == QMetaType::QVariantList)
        return stored.toList();
    return stored.isValid() ? QVariantList{stored} : QVariantList{};
}

} // namespace

AppSettings::AppSettings(KeyValueStore &store, QObject *parent)
    : QObject(parent), m_store(store), m_wall(new WallSettings(store, this))
{
    using namespace codec;
    m_alwaysOnTop = decodeBool(store.value(keys::alwaysOnTop), true);
    m_showPictureRate = decodeBool(store.value(keys::showPictureRate), false);
    m_notifyPrintEvents = decodeBool(store.value(keys::notifyPrintEvents), true);
    m_printers.push_back({nullptr, new PrinterSettings(store, {}, this)});
    loadAdditionalPrinters();
}

AppSettings::~AppSettings() = default;

// An entry without an id of its own, as a person may write one, or with another entry's id, gets
// a new one at once: windows and window rules are told apart by it from now on.
void AppSettings::loadAdditionalPrinters()
{
    const QVariant stored = m_store.value(additionalPrintersKey);
    QVariantList entries = entriesOf(stored);
    QStringList ids;
    // Each printer's own keys are found in a list from now on.
    bool rewrite = stored.metaType().id() != QMetaType::QVariantList;
    for (QVariant &entry : entries) {
        if (entry.metaType().id() != QMetaType::QVariantMap)
            continue;
        QVariantMap object = entry.toMap();
        QString id = codec::decodeString(object.value(PrinterEntryStore::printerIDKey), {});
        if (id.isEmpty() || ids.contains(id)) {
            id = unusedPrinterID(ids);
            object.insert(PrinterEntryStore::printerIDKey, id);
            entry = object;
            rewrite = true;
        }
        ids.append(id);
    }
    if (rewrite && !ids.isEmpty())
        m_store.setValue(additionalPrintersKey, entries);
    for (const QString &id : std::as_const(ids))
        appendPrinter(id);
}

QString AppSettings::unusedPrinterID(const QStringList &taken)
{
    QString id;
    do
        id = QUuid::createUuid().toString(QUuid::Id128).left(8);
    while (taken.contains(id));
    return id;
}

void AppSettings::appendPrinter(const QString &printerID)
{
    auto scope = std::make_unique<PrinterEntryStore>(m_store, additionalPrintersKey, printerID);
    auto *settings = new PrinterSettings(*scope, printerID, this);
    m_printers.push_back({std::move(scope), settings});
}

QList<PrinterSettings *> AppSettings::printers() const
{
    QList<PrinterSettings *> printers;
    for (const Entry &entry : m_printers)
        printers.append(entry.settings);
    return printers;
}

PrinterSettings *AppSettings::printer(const QString &printerID) const
{
    for (const Entry &entry : m_printers) {
        if (entry.settings->printerID() == printerID)
            return entry.settings;
    }
    return nullptr;
}

// A new printer starts without an address: the example one would reach into the user's network
// before they have said which printer they mean.
PrinterSettings &AppSettings::addPrinter(const QString &name)
{
    QVariantList entries = entriesOf(m_store.value(additionalPrintersKey));
    QStringList taken;
    for (const PrinterSettings *printer : printers())
        taken.append(printer->printerID());
    const QString id = unusedPrinterID(taken);
    entries.append(QVariantMap{{PrinterEntryStore::printerIDKey, id}});
    m_store.setValue(additionalPrintersKey, entries);
    appendPrinter(id);
    PrinterSettings &added = *m_printers.back().settings;
    added.setPrinterName(name);
    added.setPrinterIP({});
    added.settlePrinterIP(); // before anyone watches it: the example address is never reached
    emit printerAdded(&added);
    emit changed();
    return added;
}

void AppSettings::removePrinter(const QString &printerID)
{
    const auto entry = std::find_if(m_printers.begin() + 1, m_printers.end(), [&](const Entry &e) {
        return e.settings->printerID() == printerID;
    });
    if (entry == m_printers.end())
        return;
    emit printerRemoving(entry->settings);
    QVariantList entries = m_store.value(additionalPrintersKey).toList();
    entries.removeIf([&](const QVariant &stored) {
        return stored.metaType().id() == QMetaType::QVariantMap &&
               stored.toMap().value(PrinterEntryStore::printerIDKey) == printerID;
    });
    m_store.setValue(additionalPrintersKey, entries);
    // Whoever was told may still be on the stack with the printer in hand.
    entry->settings->deleteLater();
    QObject::connect(entry->settings, &QObject::destroyed,
                     [scope = entry->scope.release()] { delete scope; });
    m_printers.erase(entry);
    emit changed();
}

template <typename WillChange>
void AppSettings::assign(bool &field, bool value, WillChange willChange, const QString &key)
{
    emit(this->*willChange)(value);
    field = value;
    m_store.setValue(key, codec::encode(field));
    emit changed();
}

void AppSettings::setAlwaysOnTop(bool value)
{
    assign(m_alwaysOnTop, value, &AppSettings::alwaysOnTopWillChange, keys::alwaysOnTop);
}

void AppSettings::setShowPictureRate(bool value)
{
    assign(m_showPictureRate, value, &AppSettings::showPictureRateWillChange,
           keys::showPictureRate);
}

void AppSettings::setNotifyPrintEvents(bool value)
{
    assign(m_notifyPrintEvents, value, &AppSettings::notifyPrintEventsWillChange,
           keys::notifyPrintEvents);
}

} // namespace kestrel
