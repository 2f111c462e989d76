#pragma once

#include "platform/KeyValueStore.h"

#include <QVariantMap>

namespace kestrel {

// Keeps the store as one JSON object in a file and rewrites the whole file atomically on every
// change, so a crash or power cut leaves either the old or the new file, never half of one.
//
// A file that cannot be read or parsed never stops the start: the store begins empty, and the
// broken file is moved to "<file>.corrupt" before the first write would replace it, so whatever
// the user had can still be recovered by hand.
class JsonFileKeyValueStore final : public KeyValueStore
{
public:
    explicit JsonFileKeyValueStore(QString filePath);

    // <per-user config folder>/settings.json, e.g. ~/.config/Kestrel/settings.json on Linux.
    // Needs the application name set first.
    static QString defaultFilePath();

    QVariant value(const QString &key) const override;
    void setValue(const QString &key, const QVariant &value) override;

    QString filePath() const { return m_filePath; }

private:
    void load();
    bool moveUnusableFileAside();
    void write();

    QString m_filePath;
    QVariantMap m_values;
    bool m_fileUnusable = false;
};

} // namespace kestrel
