// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QVariant>

namespace kestrel {

// The per-user store that settings persist into, one value per key.
//
// Values are typed as QString, bool, qint64, QVariantList or QVariantMap (string keys). A backend
// that reads a file may also hand back what a person typed into it (a fraction, a null); readers
// check the kind they expect and treat anything else as unusable, so bad data never gets further.
class KeyValueStore
{
public:
    virtual ~KeyValueStore() = default;

    // An invalid QVariant when the key is missing.
    virtual QVariant value(const QString &key) const = 0;
    virtual void setValue(const QString &key, const QVariant &value) = 0;
};

} // namespace kestrel
