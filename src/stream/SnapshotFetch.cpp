// SPDX-License-Identifier: GPL-3.0-or-later
#include "stream/SnapshotFetch.h"

#include "platform/ProcessRunner.h"
#include "settings/SnapshotUrls.h"
#include "stream/PictureDecoder.h"

#include <QDir>
#include <QFile>
#include <QFutureWatcher>
#include <QPointer>
#include <QUuid>
#include <QtConcurrent>

namespace kestrel {

namespace {

QString temporaryFilePath(const QString &folder)
{
    return QDir(folder).filePath(QStringLiteral("kestrel-") +
                                 QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper() +
                                 QStringLiteral(".jpg"));
}

} // namespace

SnapshotFetch::SnapshotFetch(QString path, QObject *owner)
    : QObject(owner), m_path(std::move(path)), m_transfer(new QObject(this))
{}

SnapshotFetch::~SnapshotFetch()
{
    delete m_transfer; // curl must be gone before its file can be removed for good
    QFile::remove(m_path);
}

QFuture<FetchOutcome> SnapshotFetch::start(const FetchRequest &request, QObject *owner)
{
    auto *fetch = new SnapshotFetch(temporaryFilePath(request.temporaryFolder), owner);
    fetch->m_outcome.start();
    const ProcessCommand curl{
        .program = request.curlPath,
        .arguments = {QStringLiteral("-sS"), QStringLiteral("--max-time"), QStringLiteral("5"),
                      QStringLiteral("--fail"), QStringLiteral("--http1.1"), QStringLiteral("-o"),
                      fetch->m_path, absoluteString(request.url)},
    };
    // Without a context object: a run killed because its fetch is gone never calls back.
    runProcess(curl, fetch->m_transfer)
        .then([fetch = QPointer(fetch), request](const ProcessResult &result) {
            if (!fetch)
                return;
            if (result.succeeded())
                fetch->decode(request);
            else
                fetch->finish({std::nullopt, curlFailureText(result) + QStringLiteral(": ") +
                                                 absoluteString(request.url)});
        });
    return fetch->m_outcome.future();
}

// On a worker thread; the watcher brings the picture back to this thread, and goes with the
// fetch if the fetch goes first.
void SnapshotFetch::decode(const FetchRequest &request)
{
    auto *watcher = new QFutureWatcher<std::optional<QImage>>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher, url = request.url] {
        const std::optional<QImage> image = watcher->result();
        finish(image ? FetchOutcome{image, {}}
                     : FetchOutcome{std::nullopt,
                                    QStringLiteral("JPEG ungültig: ") + absoluteString(url)});
    });
    watcher->setFuture(
        QtConcurrent::run(&decodingThreads(), decodeAndRemove, m_path, request.target));
}

void SnapshotFetch::finish(FetchOutcome outcome)
{
    m_outcome.addResult(std::move(outcome));
    m_outcome.finish();
    deleteLater();
}

std::optional<QImage> SnapshotFetch::decodeAndRemove(const QString &path,
                                                     const DecodeTarget &target)
{
    QFile file(path);
    const bool readable = file.size() <= largestPicture && file.open(QIODevice::ReadOnly);
    // Removed as soon as it is open: the open handle keeps the bytes readable, and nothing is
    // left behind even if decoding fails.
    QFile::remove(path);
    if (!readable)
        return std::nullopt;
    // Mapped rather than read: the decoder reads the bytes where the kernel already has them.
    const uchar *bytes = file.size() > 0 ? file.map(0, file.size()) : nullptr;
    if (!bytes)
        return std::nullopt;
    return decodePicture(QByteArrayView(bytes, file.size()), target);
}

} // namespace kestrel
