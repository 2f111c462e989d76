// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyValueStore.h"

#include <QTimer>
#include <QVariantMap>

#include <chrono>

namespace kestrel {

// Keeps the store as one JSON object in a file and rewrites the whole file atomically, so a
// crash or power cut leaves either the old or the new file, never half of one.
//
// Values change in memory at once; the file follows within `writeDelay` of the first unwritten
// change, taking every change made meanwhile with it. Dragging a window changes its frame dozens
// of times a second, and the file is then written a few times, not on every move. Whatever is
// unwritten is written when the store goes, so a crash loses at most the last `writeDelay`.
//
// A file that cannot be read or parsed never stops the start: the store begins empty, and the
// broken file is moved to "<file>.corrupt" before the first write would replace it, so whatever
// the user had can still be recovered by hand.
class JsonFileKeyValueStore final : public KeyValueStore
{
public:
    static constexpr std::chrono::milliseconds defaultWriteDelay{250};

    explicit JsonFileKeyValueStore(QString filePath,
                                   std::chrono::milliseconds writeDelay = defaultWriteDelay);
    ~JsonFileKeyValueStore() override;

    // <per-user config folder>/settings.json, e.g. ~/.config/Kestrel/settings.json on Linux.
    // Needs the application name set first.
    static QString defaultFilePath();

    QVariant value(const QString &key) const override;
    void setValue(const QString &key, const QVariant &value) override;

    QString filePath() const { return m_filePath; }
    // Writes what is unwritten now.
    void flush();

private:
    void load();
    bool moveUnusableFileAside();
    void write();

    QString m_filePath;
    QVariantMap m_values;
    bool m_fileUnusable = false;
    QTimer m_pendingWrite;
};

} // namespace kestrel
