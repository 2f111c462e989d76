// SPDX-License-Identifier: GPL-3.0-or-later
#include "stream/MjpegStreamReader.h"

#include "settings/SnapshotUrls.h"
#include "stream/PictureRequest.h"
#include "stream/SnapshotFetch.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

namespace kestrel {

MjpegStreamReader::MjpegStreamReader(QObject *parent, StreamTimings timings)
    : PictureSource(parent), m_timings(std::move(timings)),
      m_network(new QNetworkAccessManager(this)),
      m_decoder(new NewestFirstDecoder([this](auto image) { showDecoded(std::move(image)); }, this))
{
    m_stall.setSingleShot(true);
    m_stall.setInterval(m_timings.stall);
    connect(&m_stall, &QTimer::timeout, this, [this] {
        fail(tr("Kein Bild seit %1 Sekunden").arg(m_timings.stall.count() / 1000.0));
    });
    m_retry.setSingleShot(true);
    connect(&m_retry, &QTimer::timeout, this, &MjpegStreamReader::connectToStream);
}

void MjpegStreamReader::begin(double)
{
    if (!streamUrl().isEmpty())
        connectToStream();
}

void MjpegStreamReader::halt()
{
    m_decoder->forget();
    m_running = false;
    disconnectReply();
    m_retry.stop();
    m_failures = 0;
}

qsizetype MjpegStreamReader::heldBytes() const
{
    return (m_parts ? m_parts->held() : 0) + m_decoder->waitingBytes();
}

void MjpegStreamReader::connectToStream()
{
    m_running = true;
    // Web servers redirect streamer paths ("/webcam?action=stream" to "/webcam/?action=stream");
    // only the same host is followed, as for every other request of ours.
    m_reply =
        m_network->get(pictureRequest(streamUrl(), QNetworkRequest::SameOriginRedirectPolicy));
    connect(m_reply, &QNetworkReply::metaDataChanged, this, &MjpegStreamReader::readHeaders);
    connect(m_reply, &QNetworkReply::readyRead, this, &MjpegStreamReader::readBody);
    connect(m_reply, &QNetworkReply::finished, this, &MjpegStreamReader::connectionEnded);
    m_stall.start();
}

void MjpegStreamReader::readHeaders()
{
    if (m_parts)
        return;
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status == 0)
        return; // no answer yet
    if (status / 100 == 3)
        return; // a redirect's own headers: the stream's follow, or the end if it goes elsewhere
    if (status != 200) {
        fail(tr("HTTP-Status %1").arg(status));
        return;
    }
    const QByteArray type = m_reply->rawHeader("Content-Type");
    const auto boundary = mjpegBoundary(type);
    if (!boundary) {
        fail(tr("Kein MJPEG-Stream (%1)").arg(QString::fromLatin1(type.left(80))));
        return;
    }
    m_parts.emplace(*boundary, SnapshotFetch::largestPicture);
}

void MjpegStreamReader::readBody()
{
    readHeaders();
    if (!m_reply || !m_parts)
        return;
    auto part = m_parts->feed(m_reply->readAll());
    switch (m_parts->problem()) {
    case MjpegPartReader::Problem::partTooLarge:
        fail(tr("Bild im Stream zu groß"));
        return;
    case MjpegPartReader::Problem::headersTooLong:
        fail(tr("Kopfzeilen im Stream zu lang"));
        return;
    case MjpegPartReader::Problem::none:
        break;
    }
    if (part)
        m_decoder->decode(std::move(*part), decodeTarget());
}

void MjpegStreamReader::connectionEnded()
{
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status / 100 == 3)
        fail(tr("HTTP-Status %1").arg(status)); // a redirect to another host, or to nowhere
    else if (m_reply->error() == QNetworkReply::NoError)
        fail(tr("Stream vom Host beendet"));
    else
        fail(m_reply->errorString());
}

// Pictures decoded, not parts received, keep the stream alive: a stream the machine is too busy
// to decode is as stalled as a silent one.
void MjpegStreamReader::showDecoded(std::optional<QImage> image)
{
    m_stall.start();
    if (image) {
        m_failures = 0;
        publishPicture(std::move(*image));
    } else {
        setErrorText(QStringLiteral("JPEG ungültig: ") + absoluteString(streamUrl()));
    }
}

void MjpegStreamReader::fail(const QString &reason)
{
    // A picture still on its way from the broken connection would clear the failure at once.
    m_decoder->forget();
    setErrorText(reason + QStringLiteral(": ") + absoluteString(streamUrl()));
    disconnectReply();
    const auto &retries = m_timings.retries;
    m_retry.start(retries.value(m_failures, retries.last()));
    ++m_failures;
}

void MjpegStreamReader::disconnectReply()
{
    m_stall.stop();
    m_parts.reset();
    if (QNetworkReply *reply = std::exchange(m_reply, nullptr)) {
        reply->disconnect(this);
        reply->abort();
        reply->deleteLater();
    }
}

} // namespace kestrel
