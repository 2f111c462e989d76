// SPDX-License-Identifier: GPL-3.0-or-later
#include "stream/SnapshotFetch.h"

#include "platform/ProcessRunner.h"
#include "settings/SnapshotUrls.h"

#include <QDir>
#include <QFile>
#include <QFutureWatcher>
#include <QImageReader>
#include <QPointer>
#include <QTransform>
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

// Qt's JPEG reader only warns about a picture that was cut short and fills the missing part
// with grey. A whole JPEG ends in its end-of-image marker; some cameras pad after it.
bool endsWithEndOfImage(QIODevice &file)
{
    constexpr qint64 tailSize = 64;
    const qint64 start = std::max<qint64>(file.size() - tailSize, 0);
    if (!file.seek(start))
        return false;
    QByteArray tail = file.read(tailSize);
    while (!tail.isEmpty() && (tail.back() == '\0' || QChar::isSpace(uchar(tail.back()))))
        tail.chop(1);
    return file.seek(0) && tail.endsWith("\xff\xd9");
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
    watcher->setFuture(QtConcurrent::run(decodeAndRemove, m_path, request.decodeSize,
                                         request.devicePixelRatio, request.orientation));
}

void SnapshotFetch::finish(FetchOutcome outcome)
{
    m_outcome.addResult(std::move(outcome));
    m_outcome.finish();
    deleteLater();
}

std::optional<QImage> SnapshotFetch::decodeAndRemove(const QString &path, QSize decodeSize,
                                                     qreal devicePixelRatio,
                                                     CameraOrientation orientation)
{
    QFile file(path);
    const bool readable = file.size() <= largestPicture && file.open(QIODevice::ReadOnly);
    // Removed as soon as it is open: the open handle keeps the bytes readable, and nothing is
    // left behind even if decoding fails.
    QFile::remove(path);
    if (!readable)
        return std::nullopt;

    QImageReader reader(&file);
    if (reader.format() == "jpeg" && !endsWithEndOfImage(file))
        return std::nullopt;
    const QSize sourceSize = reader.size();
    if (decodeSize.isValid() && sourceSize.isValid()) {
        // The JPEG decoder scales while it decodes, which is far cheaper than decoding the full
        // picture and shrinking it; it never enlarges. A sideways camera fits its upright shape.
        const QSize upright = orientation.isSideways() ? sourceSize.transposed() : sourceSize;
        const QSize fitted = upright.scaled(decodeSize, Qt::KeepAspectRatio);
        if (fitted.width() < upright.width() && !fitted.isEmpty()) {
            reader.setScaledSize(orientation.isSideways() ? fitted.transposed() : fitted);
            // Below 50 Qt's JPEG reader takes libjpeg's fast integer transform: some 15 % less
            // decoding per picture, and no difference one can see once the picture is shrunk.
            reader.setQuality(49);
        }
    }
    QImage image = reader.read();
    if (image.isNull())
        return std::nullopt;
    // Quarter turns and mirrors only move pixels; Qt does them without any resampling.
    if (orientation.rotation != 0)
        image = image.transformed(QTransform().rotate(orientation.rotation));
    if (orientation.mirrorHorizontal || orientation.mirrorVertical)
        image.mirror(orientation.mirrorHorizontal, orientation.mirrorVertical);
    image.setDevicePixelRatio(devicePixelRatio);
    return image;
}

} // namespace kestrel
