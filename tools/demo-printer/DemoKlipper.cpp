// SPDX-License-Identifier: GPL-3.0-or-later
#include "DemoKlipper.h"

#include <cmath>

#include <QJsonArray>
#include <QJsonDocument>
#include <QTcpSocket>
#include <QUrlQuery>
#include <QWebSocket>

namespace kestrel::demo {

namespace {

const QString file = QStringLiteral("kestrel-benchy.gcode");
constexpr int layers = 120;
constexpr double standbyAfterPrint = 20;
constexpr qint64 klippyDownMs = 5000;
constexpr qint64 shutdownMs = 10000;
const QString shutdownMessage =
    QStringLiteral("MCU 'mcu' shutdown: Timer too close\n"
                   "This often indicates a host computer overload. Check\n"
                   "for other processes consuming excessive CPU time, high swap\n"
                   "usage, disk errors, overheating, unstable voltage, or\n"
                   "similar system problems on the host computer.\n"
                   "Once the underlying issue is corrected, use the\n"
                   "\"FIRMWARE_RESTART\" command to reset the firmware, reload the\n"
                   "config, and restart the host software.\n"
                   "Printer is shutdown\n");

QString frame(const QJsonObject &message)
{
    return QString::fromUtf8(QJsonDocument(message).toJson(QJsonDocument::Compact));
}

constexpr double room = 22;

// A heater on its way from room temperature to its target (or back, with no target), as a
// first-order approach with the time constant `seconds`, holding once it is there.
QJsonObject heater(double target, double heated, double elapsed, double seconds)
{
    const double approach = 1 - std::exp(-elapsed / seconds);
    const double temperature =
        target > 0 ? room + (target - room) * approach : heated - (heated - room) * approach;
    return {{QStringLiteral("temperature"), std::round(temperature * 100) / 100},
            {QStringLiteral("target"), target}};
}

QJsonObject rpcError(int code, const QString &message)
{
    return {{QStringLiteral("code"), code}, {QStringLiteral("message"), message}};
}

} // namespace

DemoKlipper::DemoKlipper(LoopbackHttpServer &printer, std::chrono::seconds printLength,
                         KlipperFault fault, QByteArray apiKey, QObject *parent)
    : QObject(parent),
      m_server(QStringLiteral("kestrel-demo-printer"), QWebSocketServer::NonSecureMode),
      m_printLength(double(printLength.count())), m_fault(fault), m_apiKey(std::move(apiKey))
{
    printer.setUpgradeHandler([this](QTcpSocket *socket) { m_server.handleConnection(socket); });
    connect(&m_server, &QWebSocketServer::newConnection, this, &DemoKlipper::accept);
    // Switched off, the host takes its connections with it.
    connect(&printer, &LoopbackHttpServer::listeningChanged, this, [this](bool on) {
        if (on)
            return;
        for (const Client &client : std::as_const(m_clients))
            client.socket->abort();
    });
    m_clock.start();
    if (fault == KlipperFault::idle) {
        m_state = QStringLiteral("standby");
        return;
    }
    m_tick.setInterval(250);
    connect(&m_tick, &QTimer::timeout, this, &DemoKlipper::tick);
    m_tick.start();
}

bool DemoKlipper::klippyReady() const
{
    return !m_down.isValid() || m_down.elapsed() >= klippyDownMs;
}

void DemoKlipper::accept()
{
    while (QWebSocket *socket = m_server.nextPendingConnection()) {
        socket->setParent(this);
        m_clients.append(
            {socket, false,
             m_apiKey.isEmpty() || socket->request().rawHeader("X-Api-Key") == m_apiKey});
        connect(socket, &QWebSocket::textMessageReceived, this,
                [this, socket](const QString &text) {
                    for (Client &client : m_clients) {
                        if (client.socket == socket)
                            answer(client, text);
                    }
                });
        connect(socket, &QWebSocket::disconnected, this, [this, socket] {
            m_clients.removeIf([socket](const Client &client) { return client.socket == socket; });
            socket->deleteLater();
        });
    }
}

QJsonObject DemoKlipper::objects() const
{
    const double duration = m_state == u"standby" ? 0 : m_progress * m_printLength;
    // Heating from the start of a print, cooling from its end or a shutdown.
    const bool heating = m_state == u"printing" && !m_shutdown.isValid();
    const double elapsed = m_clock.elapsed() / 1000.0;
    return {
        {QStringLiteral("print_stats"),
         QJsonObject{{QStringLiteral("state"), m_state},
                     {QStringLiteral("filename"), m_state == u"standby" ? QString() : file},
                     {QStringLiteral("print_duration"), duration},
                     {QStringLiteral("total_duration"), duration},
                     {QStringLiteral("message"), m_state == u"error"
                                                     ? QStringLiteral("Heater extruder not "
                                                                      "heating at expected rate")
                                                     : QString()},
                     {QStringLiteral("info"),
                      QJsonObject{{QStringLiteral("total_layer"), layers},
                                  {QStringLiteral("current_layer"),
                                   std::min(layers, int(m_progress * layers) + 1)}}}}},
        {QStringLiteral("display_status"), QJsonObject{{QStringLiteral("progress"), m_progress}}},
        {QStringLiteral("extruder"), heater(heating ? 215 : 0, 215, elapsed, 4)},
        {QStringLiteral("heater_bed"), heater(heating ? 60 : 0, 60, elapsed, 8)},
        {QStringLiteral("webhooks"),
         QJsonObject{{QStringLiteral("state"),
                      m_shutdown.isValid() ? QStringLiteral("shutdown") : QStringLiteral("ready")},
                     {QStringLiteral("state_message"), m_shutdown.isValid()
                                                           ? shutdownMessage
                                                           : QStringLiteral("Printer is ready")}}},
        {QStringLiteral("virtual_sdcard"),
         QJsonObject{{QStringLiteral("progress"), m_progress},
                     {QStringLiteral("is_active"), m_state == u"printing"},
                     {QStringLiteral("file_position"), int(m_progress * 4'000'000)}}}};
}

void DemoKlipper::answer(Client &client, const QString &text)
{
    const QJsonObject request = QJsonDocument::fromJson(text.toUtf8()).object();
    const QString method = request.value(u"method").toString();
    QJsonObject reply{{QStringLiteral("jsonrpc"), QStringLiteral("2.0")},
                      {QStringLiteral("id"), request.value(u"id")}};
    const QJsonValue key = request.value(u"params").toObject().value(u"api_key");
    if (!client.authorized && method == u"server.connection.identify" && key.isString()) {
        client.authorized = key.toString().toUtf8() == m_apiKey;
        if (!client.authorized) {
            reply.insert(QStringLiteral("error"),
                         rpcError(-32602, QStringLiteral("Invalid API Key")));
            client.socket->sendTextMessage(frame(reply));
            return;
        }
    }
    const QJsonObject answer =
        client.authorized ? answerAuthorized(client, method)
                          : QJsonObject{{QStringLiteral("error"),
                                         rpcError(-32602, QStringLiteral("Unauthorized"))}};
    for (auto field = answer.begin(); field != answer.end(); ++field)
        reply.insert(field.key(), field.value());
    client.socket->sendTextMessage(frame(reply));
}

QJsonObject DemoKlipper::answerAuthorized(Client &client, const QString &method)
{
    if (method == u"server.connection.identify")
        return {{QStringLiteral("result"), QJsonObject{{QStringLiteral("connection_id"), 1}}}};
    if (method == u"server.info") {
        const QString state = !klippyReady()         ? QStringLiteral("startup")
                              : m_shutdown.isValid() ? QStringLiteral("shutdown")
                                                     : QStringLiteral("ready");
        return {{QStringLiteral("result"),
                 QJsonObject{{QStringLiteral("klippy_connected"), klippyReady()},
                             {QStringLiteral("klippy_state"), state}}}};
    }
    if (method == u"printer.objects.subscribe" && klippyReady()) {
        client.subscribed = true;
        return {{QStringLiteral("result"),
                 QJsonObject{{QStringLiteral("eventtime"), m_clock.elapsed() / 1000.0},
                             {QStringLiteral("status"), objects()}}}};
    }
    return {{QStringLiteral("error"), rpcError(-32601, QStringLiteral("Method not found"))}};
}

void DemoKlipper::notifyAll(const QString &method, const QJsonArray &params, bool subscribedOnly)
{
    QJsonObject message{{QStringLiteral("jsonrpc"), QStringLiteral("2.0")},
                        {QStringLiteral("method"), method}};
    if (!params.isEmpty())
        message.insert(QStringLiteral("params"), params);
    for (Client &client : m_clients) {
        if (!subscribedOnly || client.subscribed)
            client.socket->sendTextMessage(frame(message));
    }
}

// Four times a second: the print goes on, and whoever subscribed hears of it.
void DemoKlipper::shutDown()
{
    m_shutdown.start();
    notifyAll(QStringLiteral("notify_status_update"), {objects(), m_clock.elapsed() / 1000.0},
              true);
    notifyAll(QStringLiteral("notify_klippy_shutdown"), {}, false);
}

// As FIRMWARE_RESTART does: Klipper goes away, and comes back without the print it stopped.
void DemoKlipper::restartFirmware()
{
    m_shutdown.invalidate();
    m_state = QStringLiteral("standby");
    m_down.start();
    for (Client &client : m_clients)
        client.subscribed = false; // the host forgets every subscription
    notifyAll(QStringLiteral("notify_klippy_disconnected"), {}, false);
}

void DemoKlipper::tick()
{
    if (m_shutdown.isValid()) {
        if (m_shutdown.elapsed() >= shutdownMs)
            restartFirmware();
        return;
    }
    const double seconds = m_clock.elapsed() / 1000.0;
    const QString before = m_state;
    if (m_state == u"printing") {
        m_progress = std::min(1.0, seconds / m_printLength);
        if (m_fault == KlipperFault::printError && m_progress >= 0.5)
            m_state = QStringLiteral("error");
        else if (m_progress >= 1.0)
            m_state = QStringLiteral("complete");
        if (m_fault == KlipperFault::shutdown && !m_restarted && m_progress >= 1.0 / 3) {
            m_restarted = true;
            shutDown();
            return;
        }
        if (m_fault == KlipperFault::restart && !m_restarted && m_progress >= 1.0 / 3) {
            m_restarted = true;
            m_down.start();
            for (Client &client : m_clients)
                client.subscribed = false; // the host forgets every subscription
            notifyAll(QStringLiteral("notify_klippy_disconnected"), {}, false);
            return;
        }
    } else if (seconds >= m_printLength + standbyAfterPrint) {
        m_state = QStringLiteral("printing"); // the next print of the same file
        m_progress = 0;
        m_restarted = false;
        m_clock.start();
    } else if (m_state != u"standby" && seconds >= m_printLength * m_progress + 10) {
        m_state = QStringLiteral("standby");
    }
    if (m_down.isValid() && klippyReady()) {
        m_down.invalidate();
        notifyAll(QStringLiteral("notify_klippy_ready"), {}, false);
    }
    if (!klippyReady() || (m_state == before && m_state != u"printing"))
        return;
    notifyAll(QStringLiteral("notify_status_update"), {objects(), seconds}, true);
}

std::optional<HttpReply> DemoKlipper::refusal(const HttpRequest &request) const
{
    if (m_apiKey.isEmpty() || request.headers.value("x-api-key") == m_apiKey)
        return std::nullopt;
    return HttpReply{.statusLine = "HTTP/1.1 401 Unauthorized",
                     .contentType = "application/json",
                     .body = R"({"error": {"code": 401, "message": "Unauthorized"}})"};
}

HttpReply DemoKlipper::metadata(const HttpRequest &request) const
{
    // Decoded as the host's web framework decodes a query: "+" is a blank.
    const QByteArray query =
        QUrl(QString::fromUtf8(request.path)).query(QUrl::FullyEncoded).toUtf8();
    const QUrlQuery fields(QString::fromUtf8(QByteArray(query).replace('+', ' ')));
    if (fields.queryItemValue(QStringLiteral("filename"), QUrl::FullyDecoded) != file)
        return HttpReply::status("HTTP/1.1 404 Not Found");
    const QJsonObject result{{QStringLiteral("filename"), file},
                             {QStringLiteral("estimated_time"), m_printLength * 1.1},
                             {QStringLiteral("layer_count"), layers}};
    return HttpReply::content("application/json",
                              QJsonDocument(QJsonObject{{QStringLiteral("result"), result}})
                                  .toJson(QJsonDocument::Compact));
}

} // namespace kestrel::demo
