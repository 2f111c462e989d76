// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "stream/PictureDecoder.h"

#include <QFuture>
#include <QImage>
#include <QObject>
#include <QPromise>
#include <QSize>
#include <QUrl>

#include <optional>

namespace kestrel {

// What one fetch produced: a picture, or the German text of why not.
struct FetchOutcome
{
    std::optional<QImage> image;
    QString errorText;
};

struct FetchRequest
{
    QString curlPath;
    QUrl url;
    QString temporaryFolder;
    DecodeTarget target; // applied while decoding, so the picture arrives as it is shown
};

// One snapshot: curl writes it into "kestrel-<UUID>.jpg" in the temporary folder, then a worker
// thread opens the file, removes it and decodes it. The file never outlives the fetch, whatever
// happens: a failed transfer removes it at once, and a fetch destroyed mid-transfer (its owner
// went away) kills curl before removing it.
class SnapshotFetch : public QObject
{
    Q_OBJECT

public:
    static QFuture<FetchOutcome> start(const FetchRequest &request, QObject *owner);
    ~SnapshotFetch() override;

    // The part that runs on the worker: reads, removes and decodes the file. Larger files are
    // not camera pictures and are not even read.
    static std::optional<QImage> decodeAndRemove(const QString &path, const DecodeTarget &target);
    static constexpr qint64 largestPicture = 64 * 1024 * 1024;

private:
    explicit SnapshotFetch(QString path, QObject *owner);
    void decode(const FetchRequest &request);
    void finish(FetchOutcome outcome);

    const QString m_path;
    QObject *m_transfer; // owns the curl process; deleting it kills curl
    // Finished with the outcome; cancelled, so that nobody hears of it, if the fetch goes first.
    QPromise<FetchOutcome> m_outcome;
};

} // namespace kestrel
