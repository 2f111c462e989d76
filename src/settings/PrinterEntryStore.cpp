// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/PrinterEntryStore.h"

#include <QVariantList>
#include <QVariantMap>

namespace kestrel {

const QString PrinterEntryStore::printerIDKey = QStringLiteral("printerID");

namespace {

qsizetype indexOf(const QVariantList &entries, const QString &printerID)
{
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const QVariant &entry = entries.at(i);
        if (entry.metaType().id() == QMetaType::QVariantMap &&
            entry.toMap().value(PrinterEntryStore::printerIDKey) == printerID)
            return i;
    }
    return -1;
}

} // namespace

PrinterEntryStore::PrinterEntryStore(KeyValueStore &store, QString arrayKey, QString printerID)
    : m_store(store), m_arrayKey(std::move(arrayKey)), m_printerID(std::move(printerID))
{}

QVariant PrinterEntryStore::value(const QString &key) const
{
    const QVariantList entries = m_store.value(m_arrayKey).toList();
    const qsizetype index = indexOf(entries, m_printerID);
    return index < 0 ? QVariant() : entries.at(index).toMap().value(key);
}

void PrinterEntryStore::setValue(const QString &key, const QVariant &value)
{
    QVariantList entries = m_store.value(m_arrayKey).toList();
    const qsizetype index = indexOf(entries, m_printerID);
    if (index < 0)
        return;
    QVariantMap entry = entries.at(index).toMap();
    entry.insert(key, value);
    entries[index] = entry;
    m_store.setValue(m_arrayKey, entries);
}

} // namespace kestrel
