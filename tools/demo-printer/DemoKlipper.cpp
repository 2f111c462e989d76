// SPDX-License-Identifier: GPL-3.0-or-later
#include "DemoKlipper.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTcpSocket>
#include <QUrlQuery>
#include <QWebSocket>

#include <variant>

namespace kestrel::demo {

namespace {

QString frame(const QJsonObject &message)
{
    return QString::fromUtf8(QJsonDocument(message).toJson(QJsonDocument::Compact));
}

QJsonObject rpcError(int code, const QString &message)
{
    return {{QStringLiteral("code"), code}, {QStringLiteral("message"), message}};
}

constexpr std::chrono::seconds apiDropEvery{60};
constexpr qint64 apiDownMs = 20000;

} // namespace

DemoKlipper::DemoKlipper(LoopbackHttpServer &printer, std::chrono::seconds printLength,
                         std::chrono::milliseconds rest, KlipperFault fault, DemoHost host,
                         QObject *parent)
    : QObject(parent),
      m_server(QStringLiteral("kestrel-demo-printer"), QWebSocketServer::NonSecureMode),
      m_print(double(printLength.count()), fault, rest),
      m_answersControls(fault != KlipperFault::deaf), m_host(std::move(host))
{
    printer.setUpgradeHandler([this](QTcpSocket *connection) { accept(connection); });
    connect(&m_server, &QWebSocketServer::newConnection, this, &DemoKlipper::acceptPending);
    if (m_host.dropsApi) {
        connect(&m_apiDrops, &QTimer::timeout, this, &DemoKlipper::dropApi);
        m_apiDrops.start(apiDropEvery);
    }
    // Switched off, the host takes its connections with it.
    connect(&printer, &LoopbackHttpServer::listeningChanged, this, [this](bool on) {
        if (on)
            return;
        for (const Client &client : std::as_const(m_clients))
            client.socket->abort();
    });
    m_clock.start();
    m_sinceTick.start();
    m_tick.setInterval(250);
    connect(&m_tick, &QTimer::timeout, this,
            [this] { tell(m_print.advance(m_sinceTick.restart() / 1000.0)); });
    m_tick.start();
}

void DemoKlipper::startAhead(std::chrono::seconds headStart)
{
    m_print.advance(double(headStart.count()));
}

// While the API is down, the web server in front of it answers for it, as nginx does.
void DemoKlipper::accept(QTcpSocket *connection)
{
    if (m_apiDown.isValid() && m_apiDown.elapsed() < apiDownMs) {
        connection->write("HTTP/1.1 502 Bad Gateway\r\nContent-Length: 0\r\n\r\n");
        connection->disconnectFromHost();
        return;
    }
    m_server.handleConnection(connection);
}

void DemoKlipper::dropApi()
{
    m_apiDown.start();
    for (const Client &client : std::as_const(m_clients))
        client.socket->abort();
}

void DemoKlipper::acceptPending()
{
    while (QWebSocket *socket = m_server.nextPendingConnection()) {
        socket->setParent(this);
        m_clients.append(
            {socket, false,
             m_host.apiKey.isEmpty() || socket->request().rawHeader("X-Api-Key") == m_host.apiKey});
        connect(socket, &QWebSocket::textMessageReceived, this,
                [this, socket](const QString &text) { receive(socket, text); });
        connect(socket, &QWebSocket::disconnected, this, [this, socket] {
            m_clients.removeIf([socket](const Client &client) { return client.socket == socket; });
            socket->deleteLater();
        });
    }
}

// A control waits as long as the host is told to keep it, but for the emergency stop, which
// Klipper carries out at once; the connection may be gone by then.
void DemoKlipper::receive(QWebSocket *socket, const QString &text)
{
    const QString method =
        QJsonDocument::fromJson(text.toUtf8()).object().value(u"method").toString();
    if (DemoPrint::isControl(method) && method != u"printer.emergency_stop" &&
        m_host.controlDelay.count() > 0) {
        QTimer::singleShot(m_host.controlDelay, socket, [this, socket, text] {
            for (Client &client : m_clients) {
                if (client.socket == socket)
                    answer(client, text);
            }
        });
        return;
    }
    for (Client &client : m_clients) {
        if (client.socket == socket)
            answer(client, text);
    }
}

void DemoKlipper::answer(Client &client, const QString &text)
{
    const QJsonObject request = QJsonDocument::fromJson(text.toUtf8()).object();
    const QString method = request.value(u"method").toString();
    QJsonObject reply{{QStringLiteral("jsonrpc"), QStringLiteral("2.0")},
                      {QStringLiteral("id"), request.value(u"id")}};
    const QJsonValue key = request.value(u"params").toObject().value(u"api_key");
    if (!client.authorized && method == u"server.connection.identify" && key.isString()) {
        client.authorized = key.toString().toUtf8() == m_host.apiKey;
        if (!client.authorized) {
            reply.insert(QStringLiteral("error"),
                         rpcError(-32602, QStringLiteral("Invalid API Key")));
            client.socket->sendTextMessage(frame(reply));
            return;
        }
    }
    if (!m_answersControls && DemoPrint::isControl(method))
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
        return {{QStringLiteral("result"),
                 QJsonObject{{QStringLiteral("klippy_connected"), m_print.klippyReady()},
                             {QStringLiteral("klippy_state"), m_print.klippyState()}}}};
    }
    if (method == u"printer.objects.subscribe" && m_print.klippyReady()) {
        client.subscribed = true;
        return {{QStringLiteral("result"),
                 QJsonObject{{QStringLiteral("eventtime"), m_clock.elapsed() / 1000.0},
                             {QStringLiteral("status"), m_print.objects()}}}};
    }
    if (DemoPrint::isControl(method)) {
        const auto outcome = m_print.control(method);
        if (const auto *refusal = std::get_if<DemoPrint::Refusal>(&outcome))
            return {{QStringLiteral("error"), rpcError(refusal->code, refusal->message)}};
        tell(std::get<DemoPrint::News>(outcome));
        return {{QStringLiteral("result"), QStringLiteral("ok")}};
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

// Only the fields that changed since the update before, as a host's subscription sends them.
QJsonObject DemoKlipper::changes()
{
    const QJsonObject now = m_print.objects();
    QJsonObject changed;
    for (auto object = now.begin(); object != now.end(); ++object) {
        const QJsonObject before = m_told.value(object.key()).toObject();
        const QJsonObject fields = object.value().toObject();
        QJsonObject news;
        for (auto field = fields.begin(); field != fields.end(); ++field) {
            if (before.value(field.key()) != field.value())
                news.insert(field.key(), field.value());
        }
        if (!news.isEmpty())
            changed.insert(object.key(), news);
    }
    m_told = now;
    return changed;
}

// What the print brought about, as the host tells it: Klipper's going and coming, and the new
// status to whoever subscribed.
void DemoKlipper::tell(const DemoPrint::News &news)
{
    const QJsonArray update{changes(), m_clock.elapsed() / 1000.0};
    if (news.klippyGone) {
        for (Client &client : m_clients)
            client.subscribed = false; // the host forgets every subscription
        notifyAll(QStringLiteral("notify_klippy_disconnected"), {}, false);
    }
    if (news.shutDown) {
        notifyAll(QStringLiteral("notify_status_update"), update, true);
        notifyAll(QStringLiteral("notify_klippy_shutdown"), {}, false);
        return;
    }
    if (news.klippyBack)
        notifyAll(QStringLiteral("notify_klippy_ready"), {}, false);
    if (news.statusChanged)
        notifyAll(QStringLiteral("notify_status_update"), update, true);
}

HttpReply DemoKlipper::emergencyStop()
{
    if (!m_answersControls)
        return HttpReply::with(HttpReply::Action::silent);
    const auto outcome = m_print.control(QStringLiteral("printer.emergency_stop"));
    HttpReply reply = HttpReply::content("application/json", R"({"result": "ok"})");
    if (const auto *refusal = std::get_if<DemoPrint::Refusal>(&outcome)) {
        reply.statusLine = "HTTP/1.1 " + QByteArray::number(refusal->code) + " Error";
        reply.body = QJsonDocument(QJsonObject{{QStringLiteral("error"),
                                                rpcError(refusal->code, refusal->message)}})
                         .toJson(QJsonDocument::Compact);
    } else {
        tell(std::get<DemoPrint::News>(outcome));
    }
    return reply;
}

std::optional<HttpReply> DemoKlipper::refusal(const HttpRequest &request) const
{
    if (m_host.apiKey.isEmpty() || request.headers.value("x-api-key") == m_host.apiKey)
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
    const QString &file = DemoPrint::file();
    if (fields.queryItemValue(QStringLiteral("filename"), QUrl::FullyDecoded) != file)
        return HttpReply::status("HTTP/1.1 404 Not Found");
    const QJsonObject result{{QStringLiteral("filename"), file},
                             {QStringLiteral("estimated_time"), m_print.printLength() * 1.1},
                             {QStringLiteral("layer_count"), DemoPrint::layers}};
    return HttpReply::content("application/json",
                              QJsonDocument(QJsonObject{{QStringLiteral("result"), result}})
                                  .toJson(QJsonDocument::Compact));
}

} // namespace kestrel::demo
