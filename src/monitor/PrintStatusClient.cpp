// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/PrintStatusClient.h"

#include "monitor/PiStatusMonitor.h"
#include "settings/AppSettings.h"
#include "settings/SnapshotUrls.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QUrlQuery>
#include <QWebSocket>

namespace kestrel {

PrintStatusClient::PrintStatusClient(const AppSettings &settings, const PiStatusMonitor &monitor,
                                     QObject *parent, PrintStatusTimings timings)
    : QObject(parent), m_settings(settings), m_timings(timings),
      m_protocol(QStringLiteral(KESTREL_VERSION), QStringLiteral(KESTREL_HOMEPAGE)),
      m_network(new QNetworkAccessManager(this)), m_reconnectDelay(timings.reconnectFirst)
{
    m_askAgain.setSingleShot(true);
    m_askAgain.setInterval(m_timings.askAgain);
    connect(&m_askAgain, &QTimer::timeout, this, [this] {
        if (isConnected())
            m_socket->sendTextMessage(QString::fromUtf8(m_protocol.askIfReady()));
    });
    m_reconnect.setSingleShot(true);
    connect(&m_reconnect, &QTimer::timeout, this, &PrintStatusClient::connectToHost);
    m_gather.setSingleShot(true);
    m_gather.setInterval(m_timings.gather);
    connect(&m_gather, &QTimer::timeout, this, [this] {
        askForEstimate();
        emit statusChanged(status());
    });
    connect(&monitor, &PiStatusMonitor::reachabilityChanged, this,
            &PrintStatusClient::followHost);
    followHost(monitor.reachability());
}

PrintStatusClient::~PrintStatusClient()
{
    if (m_socket)
        m_socket->disconnect(this);
}

bool PrintStatusClient::isConnected() const
{
    return m_socket && m_socket->state() == QAbstractSocket::ConnectedState;
}

// Only a host that answers is asked; a new address comes through "checking", which closes the
// connection to the old one.
void PrintStatusClient::followHost(const PiReachability &reachability)
{
    const bool answers = reachability.kind() == PiReachability::Kind::reachable;
    if (answers == m_hostAnswers)
        return;
    m_hostAnswers = answers;
    if (answers) {
        m_reconnectDelay = m_timings.reconnectFirst;
        connectToHost();
    } else {
        disconnectFromHost();
    }
}

QUrl PrintStatusClient::hostUrl(const QString &path) const
{
    return strictHttpUrl(QStringLiteral("http://") + m_settings.printerIP().trimmed() + path)
        .value_or(QUrl());
}

void PrintStatusClient::connectToHost()
{
    disconnectFromHost();
    QUrl url = hostUrl(QStringLiteral("/websocket"));
    if (url.isEmpty())
        return;
    url.setScheme(QStringLiteral("ws"));
    m_socket = new QWebSocket(QString(), QWebSocketProtocol::VersionLatest, this);
    m_socket->setMaxAllowedIncomingFrameSize(largestFrame);
    m_socket->setMaxAllowedIncomingMessageSize(largestFrame);
    connect(m_socket, &QWebSocket::connected, this, [this] {
        m_reconnectDelay = m_timings.reconnectFirst;
        for (const QByteArray &frame : m_protocol.opening())
            m_socket->sendTextMessage(QString::fromUtf8(frame));
    });
    connect(m_socket, &QWebSocket::textMessageReceived, this, &PrintStatusClient::received);
    connect(m_socket, &QWebSocket::disconnected, this, &PrintStatusClient::connectionLost);
    m_socket->open(url);
}

void PrintStatusClient::disconnectFromHost()
{
    m_reconnect.stop();
    m_askAgain.stop();
    if (QWebSocket *socket = std::exchange(m_socket, nullptr)) {
        socket->disconnect(this);
        socket->abort();
        socket->deleteLater();
    }
    if (QNetworkReply *reply = std::exchange(m_estimateReply, nullptr)) {
        reply->disconnect(this);
        reply->abort();
        reply->deleteLater();
    }
    m_estimatedFile.clear();
    m_slicerEstimate.reset();
    if (status().state != PrintStatus::State::none) {
        m_protocol.forget();
        m_gather.start();
    }
}

// Lost while the host still answers: try again, less often each time.
void PrintStatusClient::connectionLost()
{
    disconnectFromHost();
    m_reconnect.start(m_reconnectDelay);
    m_reconnectDelay = std::min(m_reconnectDelay * 2, m_timings.reconnectLongest);
}

void PrintStatusClient::received(const QString &frame)
{
    const PrintStatusProtocol::Step step = m_protocol.handle(frame.toUtf8());
    for (const QByteArray &message : step.send)
        m_socket->sendTextMessage(QString::fromUtf8(message));
    if (step.askAgainLater)
        m_askAgain.start();
    if (step.statusChanged && !m_gather.isActive())
        m_gather.start();
}

// Once per print: the slicer's estimate of the whole print time, if the file has one.
void PrintStatusClient::askForEstimate()
{
    const PrintStatus current = status();
    if (!current.isUnderWay()) {
        if (current.state == PrintStatus::State::standby)
            m_estimatedFile.clear();
        return;
    }
    if (current.filename == m_estimatedFile || current.filename.isEmpty())
        return;
    m_estimatedFile = current.filename;
    m_slicerEstimate.reset();
    QUrl url = hostUrl(QStringLiteral("/server/files/metadata"));
    if (url.isEmpty())
        return;
    url.setQuery(QUrlQuery{{QStringLiteral("filename"), current.filename}});
    QNetworkRequest request(url);
    request.setTransferTimeout(5000);
    m_estimateReply = m_network->get(request);
    connect(m_estimateReply, &QNetworkReply::downloadProgress, this, [this](qint64 received) {
        if (received > largestFrame)
            m_estimateReply->abort();
    });
    connect(m_estimateReply, &QNetworkReply::finished, this, [this] {
        QNetworkReply *reply = std::exchange(m_estimateReply, nullptr);
        reply->deleteLater();
        const double estimate = QJsonDocument::fromJson(reply->readAll())
                                    .object()
                                    .value(u"result")
                                    .toObject()
                                    .value(u"estimated_time")
                                    .toDouble();
        if (reply->error() == QNetworkReply::NoError && estimate > 0 && std::isfinite(estimate)) {
            m_slicerEstimate = estimate;
            emit statusChanged(status());
        }
    });
}

} // namespace kestrel
