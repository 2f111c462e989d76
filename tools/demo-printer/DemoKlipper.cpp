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
constexpr qint64 endedMs = 10000;   // a print's end shows this long before standby
constexpr qint64 standbyMs = 10000; // and standby before the next print
constexpr qint64 klippyDownMs = 5000;
constexpr qint64 shutdownMs = 10000;
const QString restartAdvice =
    QStringLiteral("Once the underlying issue is corrected, use the\n"
                   "\"FIRMWARE_RESTART\" command to reset the firmware, reload the\n"
                   "config, and restart the host software.\n"
                   "Printer is shutdown\n");
const QString mcuShutdown =
    QStringLiteral("MCU 'mcu' shutdown: Timer too close\n"
                   "This often indicates a host computer overload. Check\n"
                   "for other processes consuming excessive CPU time, high swap\n"
                   "usage, disk errors, overheating, unstable voltage, or\n"
                   "similar system problems on the host computer.\n") +
    restartAdvice;
const QString emergencyStop = QStringLiteral("Shutdown due to M112 command\n") + restartAdvice;

const QStringList &controlMethods()
{
    static const QStringList methods{
        QStringLiteral("printer.print.pause"), QStringLiteral("printer.print.resume"),
        QStringLiteral("printer.print.cancel"), QStringLiteral("printer.emergency_stop"),
        QStringLiteral("printer.firmware_restart")};
    return methods;
}

QString frame(const QJsonObject &message)
{
    return QString::fromUtf8(QJsonDocument(message).toJson(QJsonDocument::Compact));
}

constexpr double room = 22;
constexpr double nozzleTarget = 215;
constexpr double bedTarget = 60;

// A heater's first-order approach to `goal`, its target or the room, with the time constant
// `seconds`.
double approach(double temperature, double goal, double elapsed, double seconds)
{
    return goal + (temperature - goal) * std::exp(-elapsed / seconds);
}

QJsonObject heater(double temperature, double target)
{
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
      m_printLength(double(printLength.count())), m_fault(fault), m_apiKey(std::move(apiKey)),
      m_nozzle(room), m_bed(room)
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
    m_sinceTick.start();
    enter(fault == KlipperFault::idle ? QStringLiteral("standby") : QStringLiteral("printing"));
    m_tick.setInterval(250);
    connect(&m_tick, &QTimer::timeout, this, &DemoKlipper::tick);
    m_tick.start();
}

bool DemoKlipper::klippyReady() const
{
    return !m_down.isValid() || m_down.elapsed() >= klippyDownMs;
}

bool DemoKlipper::heating() const
{
    return (m_state == u"printing" || m_state == u"paused") && !m_shutdown.isValid();
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
    const double progress = std::min(1.0, m_printed / m_printLength);
    const bool standby = m_state == u"standby";
    const bool heat = heating();
    return {{QStringLiteral("print_stats"),
             QJsonObject{{QStringLiteral("state"), m_state},
                         {QStringLiteral("filename"), standby ? QString() : file},
                         {QStringLiteral("print_duration"), standby ? 0 : m_printed},
                         {QStringLiteral("total_duration"), standby ? 0 : m_printed},
                         {QStringLiteral("message"),
                          m_state == u"error" ? QStringLiteral("Heater extruder not "
                                                               "heating at expected rate")
                                              : QString()},
                         {QStringLiteral("info"),
                          QJsonObject{{QStringLiteral("total_layer"), layers},
                                      {QStringLiteral("current_layer"),
                                       std::min(layers, int(progress * layers) + 1)}}}}},
            {QStringLiteral("display_status"), QJsonObject{{QStringLiteral("progress"), progress}}},
            {QStringLiteral("extruder"), heater(m_nozzle, heat ? nozzleTarget : 0)},
            {QStringLiteral("heater_bed"), heater(m_bed, heat ? bedTarget : 0)},
            {QStringLiteral("webhooks"),
             QJsonObject{
                 {QStringLiteral("state"),
                  m_shutdown.isValid() ? QStringLiteral("shutdown") : QStringLiteral("ready")},
                 {QStringLiteral("state_message"),
                  m_shutdown.isValid() ? m_shutdownMessage : QStringLiteral("Printer is ready")}}},
            {QStringLiteral("virtual_sdcard"),
             QJsonObject{{QStringLiteral("progress"), progress},
                         {QStringLiteral("is_active"), m_state == u"printing"},
                         {QStringLiteral("file_position"), int(progress * 4'000'000)}}}};
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
    if (m_fault == KlipperFault::deaf && controlMethods().contains(method))
        return;
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
    if (controlMethods().contains(method))
        return control(method);
    return {{QStringLiteral("error"), rpcError(-32601, QStringLiteral("Method not found"))}};
}

// As Klipper takes them: what does not apply to the print's state is an error, with Klipper's
// words for it.
QJsonObject DemoKlipper::control(const QString &method)
{
    const QJsonObject done{{QStringLiteral("result"), QStringLiteral("ok")}};
    const auto refused = [](int code, const QString &why) {
        return QJsonObject{{QStringLiteral("error"), rpcError(code, why)}};
    };
    if (method == u"printer.firmware_restart") {
        restartFirmware();
        return done;
    }
    if (!klippyReady())
        return refused(503, QStringLiteral("Klippy Disconnected"));
    if (method == u"printer.emergency_stop") {
        if (!m_shutdown.isValid())
            shutDown(emergencyStop, false);
        return done;
    }
    if (m_shutdown.isValid())
        return refused(400, QStringLiteral("Printer is shutdown"));
    const bool underWay = m_state == u"printing" || m_state == u"paused";
    if (method == u"printer.print.pause" && m_state != u"printing")
        return refused(400, QStringLiteral("Print is not printing"));
    if (method == u"printer.print.resume" && m_state != u"paused")
        return refused(400, QStringLiteral("Print is not paused"));
    if (method == u"printer.print.cancel" && !underWay)
        return refused(400, QStringLiteral("No print in progress"));
    enter(method == u"printer.print.pause"    ? QStringLiteral("paused")
          : method == u"printer.print.resume" ? QStringLiteral("printing")
                                              : QStringLiteral("cancelled"));
    notifyAll(QStringLiteral("notify_status_update"), {objects(), m_clock.elapsed() / 1000.0},
              true);
    return done;
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

void DemoKlipper::enter(const QString &state)
{
    m_state = state;
    m_inState.start();
}

void DemoKlipper::shutDown(const QString &message, bool restartsItself)
{
    m_shutdown.start();
    m_shutdownMessage = message;
    m_restartsItself = restartsItself;
    notifyAll(QStringLiteral("notify_status_update"), {objects(), m_clock.elapsed() / 1000.0},
              true);
    notifyAll(QStringLiteral("notify_klippy_shutdown"), {}, false);
}

// As FIRMWARE_RESTART does: Klipper goes away, and comes back without the print it stopped.
void DemoKlipper::restartFirmware()
{
    m_shutdown.invalidate();
    enter(QStringLiteral("standby"));
    m_down.start();
    for (Client &client : m_clients)
        client.subscribed = false; // the host forgets every subscription
    notifyAll(QStringLiteral("notify_klippy_disconnected"), {}, false);
}

// Whether the heaters have reached what they are heading for, to a tenth of a degree.
bool DemoKlipper::heatersSettled() const
{
    const bool heat = heating();
    return std::abs(m_nozzle - (heat ? nozzleTarget : room)) < 0.1 &&
           std::abs(m_bed - (heat ? bedTarget : room)) < 0.1;
}

// Four times a second: the print goes on, the heaters follow, and whoever subscribed hears of
// it. A Klipper that stands shut down reads no heater and says nothing.
void DemoKlipper::tick()
{
    const double elapsed = m_sinceTick.restart() / 1000.0;
    if (m_shutdown.isValid()) {
        if (m_restartsItself && m_shutdown.elapsed() >= shutdownMs)
            restartFirmware();
        return;
    }
    const bool heat = heating();
    m_nozzle = approach(m_nozzle, heat ? nozzleTarget : room, elapsed, 4);
    m_bed = approach(m_bed, heat ? bedTarget : room, elapsed, 8);
    const QString before = m_state;
    if (m_state == u"printing") {
        m_printed = std::min(m_printLength, m_printed + elapsed);
        const double progress = m_printed / m_printLength;
        if (m_fault == KlipperFault::printError && progress >= 0.5)
            enter(QStringLiteral("error"));
        else if (progress >= 1.0)
            enter(QStringLiteral("complete"));
        if (m_fault == KlipperFault::shutdown && !m_restarted && progress >= 1.0 / 3) {
            m_restarted = true;
            shutDown(mcuShutdown, true);
            return;
        }
        if (m_fault == KlipperFault::restart && !m_restarted && progress >= 1.0 / 3) {
            m_restarted = true;
            m_down.start();
            for (Client &client : m_clients)
                client.subscribed = false; // the host forgets every subscription
            notifyAll(QStringLiteral("notify_klippy_disconnected"), {}, false);
            return;
        }
    } else if (m_state == u"standby") {
        if (m_fault != KlipperFault::idle && m_inState.elapsed() >= standbyMs) {
            m_printed = 0; // the next print of the same file
            m_restarted = false;
            enter(QStringLiteral("printing"));
        }
    } else if (m_state != u"paused" && m_inState.elapsed() >= endedMs) {
        enter(QStringLiteral("standby"));
    }
    if (m_down.isValid() && klippyReady()) {
        m_down.invalidate();
        notifyAll(QStringLiteral("notify_klippy_ready"), {}, false);
    }
    if (!klippyReady() || (m_state == before && m_state != u"printing" && heatersSettled()))
        return;
    notifyAll(QStringLiteral("notify_status_update"), {objects(), m_clock.elapsed() / 1000.0},
              true);
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
