// SPDX-License-Identifier: GPL-3.0-or-later
#include "stream/KeepAliveSnapshotSource.h"

#include "settings/SnapshotUrls.h"
#include "stream/NewestFirstDecoder.h"
#include "stream/PictureRequest.h"
#include "stream/SnapshotFetch.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <cmath>

namespace kestrel {

namespace {

QNetworkAccessManager &sharedNetwork()
{
    static auto *network = new QNetworkAccessManager(qApp);
    return *network;
}

// Worded as curl words them, so a tile and a camera window say the same about one camera.
QString failureText(const QNetworkReply &reply, qint64 elapsed, qint64 received)
{
    const QUrl url = reply.url();
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QVariant length = reply.header(QNetworkRequest::ContentLengthHeader);
    if (status >= 400)
        return QStringLiteral("curl: (22) The requested URL returned error: %1").arg(status);
    switch (reply.error()) {
    case QNetworkReply::ConnectionRefusedError:
        return QStringLiteral("curl: (7) Failed to connect to %1 port %2 after %3 ms: Couldn't "
                              "connect to server")
            .arg(url.host())
            .arg(url.port(80))
            .arg(elapsed);
    case QNetworkReply::HostNotFoundError:
        return QStringLiteral("curl: (6) Could not resolve host: %1").arg(url.host());
    case QNetworkReply::OperationCanceledError: // the transfer timeout
        return QStringLiteral("curl: (28) Operation timed out after %1 milliseconds with %2 bytes "
                              "received")
            .arg(std::max(elapsed, qint64(KeepAliveSnapshotSource::timeout.count())))
            .arg(length.isValid()
                     ? QStringLiteral("%1 out of %2").arg(received).arg(length.toLongLong())
                     : QString::number(received));
    case QNetworkReply::RemoteHostClosedError:
        if (length.isValid() && received < length.toLongLong())
            return QStringLiteral("curl: (18) transfer closed with %1 bytes remaining to read")
                .arg(length.toLongLong() - received);
        return QStringLiteral("curl: (52) Empty reply from server");
    default:
        return reply.errorString();
    }
}

} // namespace

KeepAliveSnapshotSource::KeepAliveSnapshotSource(QObject *parent, QNetworkAccessManager *network)
    : PictureSource(parent), m_network(network ? *network : sharedNetwork()),
      m_decoder(new NewestFirstDecoder(
          [this](std::optional<QImage> image) {
              if (image)
                  publishPicture(std::move(*image));
              else
                  setErrorText(QStringLiteral("JPEG ungültig: ") + absoluteString(urls().value(0)));
          },
          this))
{
    m_pace.setTimerType(Qt::PreciseTimer);
    connect(&m_pace, &QTimer::timeout, this, [this] {
        if (!m_reply) // a host slower than the rate gets fewer requests, not a queue of them
            fetch(0);
    });
}

void KeepAliveSnapshotSource::begin(double fps)
{
    if (urls().isEmpty())
        return;
    m_pace.start(std::chrono::milliseconds(std::lround(1000 / std::max(fps, 0.1))));
    fetch(0);
}

void KeepAliveSnapshotSource::halt()
{
    m_pace.stop();
    abortFetch();
    m_decoder->forget();
}

void KeepAliveSnapshotSource::fetch(qsizetype index)
{
    // As curl without -L: a redirect's own body is what came, and it is no picture.
    QNetworkRequest request = pictureRequest(urls()[index], QNetworkRequest::ManualRedirectPolicy);
    request.setTransferTimeout(int(timeout.count()));
    m_reply = m_network.get(request);
    m_received = 0;
    connect(m_reply, &QNetworkReply::downloadProgress, this, [this](qint64 received) {
        m_received = received;
        if (received > SnapshotFetch::largestPicture) {
            abortFetch(); // no camera picture is that large; the next round asks again
            setErrorText(QStringLiteral("JPEG ungültig: ") + absoluteString(urls().value(0)));
        }
    });
    connect(m_reply, &QNetworkReply::finished, this, [this, index] { received(index); });
    m_sent.start();
}

void KeepAliveSnapshotSource::received(qsizetype index)
{
    QNetworkReply *reply = std::exchange(m_reply, nullptr);
    reply->deleteLater();
    if (reply->error() == QNetworkReply::NoError) {
        m_decoder->decode(reply->readAll(), decodeTarget());
        return;
    }
    setErrorText(failureText(*reply, m_sent.elapsed(), m_received) + QStringLiteral(": ") +
                 absoluteString(urls()[index]));
    if (index + 1 < urls().size())
        fetch(index + 1);
}

void KeepAliveSnapshotSource::abortFetch()
{
    if (QNetworkReply *reply = std::exchange(m_reply, nullptr)) {
        reply->disconnect(this);
        reply->abort();
        reply->deleteLater();
    }
}

} // namespace kestrel
