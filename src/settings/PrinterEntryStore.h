// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyValueStore.h"

namespace kestrel {

// One further printer's keys, kept as one object of the array under `arrayKey` in the store and
// found there by its "printerID", so that it stays the same printer whatever the array's order.
// Every write replaces the whole array in the store, which keeps the file's one-write-per-change
// rhythm; the other entries, readable or not, and this entry's unknown keys go back as they were.
// Once the entry is gone from the array, reads find nothing and writes are dropped.
class PrinterEntryStore final : public KeyValueStore
{
public:
    static const QString printerIDKey;

    PrinterEntryStore(KeyValueStore &store, QString arrayKey, QString printerID);

    QVariant value(const QString &key) const override;
    void setValue(const QString &key, const QVariant &value) override;

private:
    KeyValueStore &m_store;
    const QString m_arrayKey;
    const QString m_printerID;
};

} // namespace kestrel
