// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/PrintStatusClient.h"

#include "monitor/PiStatusMonitor.h"
#include "monitor/PrintControlCall.h"
#include "settings/PrinterApi.h"
#include "settings/PrinterSettings.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QRegularExpression>
#include <QWebSocket>

namespace kestrel {

namespace {

// Qt reports a handshake that got no "101 Switching Protocols" only in words, naming the status.
std::optional<int> handshakeStatus(const QString &error)
{
    static const QRegularExpression code(QStringLiteral("status code: (\\d{3})"));
    const QRegularExpressionMatch match = code.match(error);
    return match.hasMatch() ? std::optional(match.captured(1).toInt()) : std::nullopt;
}

// Why a handshake failed, where the user should know: the web server answers for an API that
// does not (it restarts, or hangs). A host without the API at all (404, or no upgrade) says
// nothing, as ever.
QString handshakeFailure(std::optional<int> status)
{
    const auto tr = [](const char *text) {
        return QCoreApplication::translate("PrintStatusClient", text);
    };
    if (!status)
        return tr("Drucker-API antwortet nicht");
    if (*status >= 500)
        return tr("Drucker-API antwortet nicht (HTTP %1)").arg(*status);
    return {};
}

qint64 steadyNowMs()
{
    return QDeadlineTimer::current().deadline();
}

} // namespace

PrintStatusClient::PrintStatusClient(const PrinterSettings &settings,
                                     const PiStatusMonitor &monitor, QObject *parent,
                                     PrintStatusTimings timings)
    : QObject(parent), m_settings(settings), m_timings(timings),
      m_protocol(QStringLiteral(KESTREL_VERSION), QStringLiteral(KESTREL_HOMEPAGE)),
      m_http(settings), m_reconnectDelay(timings.reconnectFirst)
{
    m_askAgain.setSingleShot(true);
    m_askAgain.setInterval(m_timings.askAgain);
    connect(&m_askAgain, &QTimer::timeout, this, [this] {
        if (isConnected())
            m_socket->sendTextMessage(QString::fromUtf8(m_protocol.askIfReady()));
    });
    m_reconnect.setSingleShot(true);
    connect(&m_reconnect, &QTimer::timeout, this, [this] {
        m_refused = false;
        if (m_hostAnswers)
            connectToHost();
    });
    m_gather.setSingleShot(true);
    m_gather.setInterval(m_timings.gather);
    connect(&m_gather, &QTimer::timeout, this, [this] {
        askForEstimate();
        emit statusChanged(status());
    });
    m_handshake.setSingleShot(true);
    m_handshake.setInterval(m_timings.handshake);
    connect(&m_handshake, &QTimer::timeout, this, &PrintStatusClient::handshakeFailed);
    m_ping.setInterval(m_timings.ping);
    connect(&m_ping, &QTimer::timeout, this, [this] { m_socket->ping(); });
    m_silence.setSingleShot(true);
    m_silence.setInterval(m_timings.silence);
    connect(&m_silence, &QTimer::timeout, this, &PrintStatusClient::connectionLost);

    // Another host, or another key: what was refused may now be welcome, and the old connection
    // is to the wrong host or with the wrong key. Both change with every keystroke, so the
    // connection follows once typing rests. Where the host monitor follows the same address, it
    // has just begun to ask again, and says when the new host answers.
    connect(&settings, &PrinterSettings::printerIPSettled, this, [this] {
        m_refused = false;
        disconnectFromHost();
        m_reconnectDelay = m_timings.reconnectFirst;
        if (m_hostAnswers)
            connectToHost();
    });
    connect(&settings, &PrinterSettings::printerApiKeyWillChange, this, [this] {
        m_refused = false;
        disconnectFromHost();
        m_reconnectDelay = m_timings.reconnectFirst;
        m_reconnect.start(m_timings.reconnectFirst);
    });
    connect(&monitor, &PiStatusMonitor::reachabilityChanged, this, &PrintStatusClient::followHost);
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

std::optional<PrintIdentity> PrintStatusClient::printUnderWay() const
{
    const PrintStatus current = status();
    if (!current.isUnderWay())
        return std::nullopt;
    PrintIdentity print{.filename = current.filename};
    if (current.totalDuration)
        print.startedMs = m_statusAtMs - qint64(*current.totalDuration * 1000);
    return print;
}

bool PrintStatusClient::isHeardLately() const
{
    return isConnected() && m_heard.isValid() &&
           m_heard.elapsed() < (m_timings.ping * 3 / 2).count();
}

PrintControlCall *PrintStatusClient::send(PrintControl control)
{
    auto *call =
        new PrintControlCall(control, m_timings.controlSlow, m_timings.controlGiveUp, this);
    if (control == PrintControl::emergencyStop) {
        m_stopped.start();
        if (!isHeardLately()) {
            m_http.emergencyStop(call);
            return call;
        }
    }
    if (!isConnected()) {
        // Failed once the caller has had the chance to listen.
        QTimer::singleShot(0, call, [call] { call->fail(tr("Keine Verbindung zum Drucker")); });
        return call;
    }
    const auto [id, frame] = m_protocol.control(control);
    m_controls.insert(id, call);
    connect(call, &QObject::destroyed, this, [this, number = id] { m_controls.remove(number); });
    m_socket->sendTextMessage(QString::fromUtf8(frame));
    return call;
}

void PrintStatusClient::answerControl(const PrintStatusProtocol::ControlAnswer &answer)
{
    PrintControlCall *call = m_controls.take(answer.id);
    if (!call)
        return; // it gave up waiting
    if (answer.error)
        call->fail(*answer.error);
    else
        call->succeed();
}

// The host monitor opens the way to a new connection; an open one it leaves alone.
void PrintStatusClient::followHost(const PiReachability &reachability)
{
    const bool answers = reachability.kind() == PiReachability::Kind::reachable;
    if (answers == m_hostAnswers)
        return;
    m_hostAnswers = answers;
    if (!answers || m_socket || m_refused)
        return;
    m_reconnect.stop();
    m_reconnectDelay = m_timings.reconnectFirst;
    connectToHost();
}

// What the last attempt showed (a refusal, a failure) stays until this one has news.
void PrintStatusClient::connectToHost()
{
    closeSocket();
    QNetworkRequest request = m_http.request(QStringLiteral("/websocket"));
    QUrl url = request.url();
    if (url.isEmpty())
        return;
    url.setScheme(QStringLiteral("ws"));
    request.setUrl(url);
    m_socket = new QWebSocket(QString(), QWebSocketProtocol::VersionLatest, this);
    m_socket->setMaxAllowedIncomingFrameSize(largestFrame);
    m_socket->setMaxAllowedIncomingMessageSize(largestFrame);
    connect(m_socket, &QWebSocket::connected, this, [this] {
        m_handshake.stop();
        m_reconnectDelay = m_timings.reconnectFirst;
        m_ping.start();
        m_silence.start();
        const bool shown = status().state != PrintStatus::State::none;
        const QByteArray key = printerApi::keyHeaderValue(m_settings.printerApiKey());
        for (const QByteArray &frame : m_protocol.opening(key))
            m_socket->sendTextMessage(QString::fromUtf8(frame));
        if (shown)
            m_gather.start();
    });
    connect(m_socket, &QWebSocket::textMessageReceived, this, &PrintStatusClient::received);
    connect(m_socket, &QWebSocket::pong, this, &PrintStatusClient::heard);
    connect(m_socket, &QWebSocket::disconnected, this, &PrintStatusClient::connectionLost);
    // A refused or broken handshake only reports an error and leaves the socket connecting.
    connect(m_socket, qOverload<QAbstractSocket::SocketError>(&QWebSocket::error), this, [this] {
        if (!isConnected())
            handshakeFailed();
    });
    m_handshake.start();
    m_socket->open(request);
}

void PrintStatusClient::closeSocket()
{
    m_reconnect.stop();
    m_askAgain.stop();
    m_handshake.stop();
    m_ping.stop();
    m_silence.stop();
    if (QWebSocket *socket = std::exchange(m_socket, nullptr)) {
        socket->disconnect(this);
        socket->abort();
        socket->deleteLater();
    }
    m_http.forget();
    m_estimatedFile.clear();
    m_slicerEstimate.reset();
    // Their answers would come on this connection, or not at all.
    for (PrintControlCall *call : std::exchange(m_controls, {}))
        call->fail(tr("Verbindung zum Drucker unterbrochen"));
}

void PrintStatusClient::disconnectFromHost()
{
    closeSocket();
    take(m_protocol.failed({}));
}

// Lost while the host still answers: try again, less often each time. Lost while it does not:
// the host monitor says when it is back.
void PrintStatusClient::connectionLost()
{
    disconnectFromHost();
    retryLater();
}

void PrintStatusClient::retryLater()
{
    if (!m_hostAnswers)
        return;
    m_reconnect.start(m_reconnectDelay);
    m_reconnectDelay = std::min(m_reconnectDelay * 2, m_timings.reconnectLongest);
}

// A handshake that timed out has no status; Qt's error names the one that came instead of 101.
void PrintStatusClient::handshakeFailed()
{
    const std::optional<int> status = m_handshake.isActive() && m_socket
                                          ? handshakeStatus(m_socket->errorString())
                                          : std::nullopt;
    if (status == 401 || status == 403) {
        refused();
        return;
    }
    closeSocket();
    take(m_protocol.failed(handshakeFailure(status)));
    retryLater();
}

// Asking again with the same key is no use; the user is told, and the host asked again only
// once a minute, or as soon as the key or the address changes.
void PrintStatusClient::refused()
{
    closeSocket();
    m_refused = true;
    take(m_protocol.refuse());
    m_reconnect.start(m_timings.refusedAgain);
}

void PrintStatusClient::take(const PrintStatusProtocol::Step &step)
{
    for (const QByteArray &message : step.send)
        m_socket->sendTextMessage(QString::fromUtf8(message));
    if (step.askAgainLater)
        m_askAgain.start();
    if (step.statusChanged && !m_gather.isActive())
        m_gather.start();
    if (step.controlAnswer)
        answerControl(*step.controlAnswer);
}

void PrintStatusClient::heard()
{
    m_heard.start();
    m_silence.start();
}

void PrintStatusClient::received(const QString &frame)
{
    heard();
    const PrintStatusProtocol::Step step = m_protocol.handle(frame.toUtf8());
    if (step.statusChanged) {
        m_statusAtMs = steadyNowMs();
        forgetOwnStopOnceUp();
    }
    take(step);
    if (step.refused)
        refused();
}

// Frames already on their way when the stop was sent may still tell of the print; only a Klipper
// seen up a while after it ends the stop's account.
void PrintStatusClient::forgetOwnStopOnceUp()
{
    using State = PrintStatus::State;
    const State state = status().state;
    const bool up = state != State::shutdown && state != State::none &&
                    state != State::unauthorized && state != State::apiUnavailable;
    if (up && m_stopped.isValid() && m_stopped.elapsed() > 5000)
        m_stopped.invalidate();
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
    m_http.askForEstimate(current.filename, [this](double estimate) {
        m_slicerEstimate = estimate;
        emit statusChanged(status());
    });
}

} // namespace kestrel
