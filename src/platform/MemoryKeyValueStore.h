// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyValueStore.h"

#include <QVariantMap>

namespace kestrel {

// Keeps everything in memory: for tests, demos and benchmarks that must not touch the user's file.
class MemoryKeyValueStore final : public KeyValueStore
{
public:
    MemoryKeyValueStore() = default;
    explicit MemoryKeyValueStore(QVariantMap values) : m_values(std::move(values)) {}

    QVariant value(const QString &key) const override { return m_values.value(key); }
    void setValue(const QString &key, const QVariant &value) override
    {
        m_values.insert(key, value);
    }

    QVariantMap values() const { return m_values; }

private:
    QVariantMap m_values;
};

} // namespace kestrel
