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

} // namespace

DemoKlipper::DemoKlipper(LoopbackHttpServer &printer, std::chrono::seconds printLength,
                         KlipperFault fault, QByteArray apiKey, QObject *parent)
    : QObject(parent),
      m_server(QStringLiteral("kestrel-demo-printer"), QWebSocketServer::NonSecureMode),
      m_print(double(printLength.count()), fault), m_answersControls(fault != KlipperFault::deaf),
      m_apiKey(std::move(apiKey))
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
    m_tick.setInterval(250);
    connect(&m_tick, &QTimer::timeout, this,
            [this] { tell(m_print.advance(m_sinceTick.restart() / 1000.0)); });
    m_tick.start();
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

// What the print brought about, as the host tells it: Klipper's going and coming, and the new
// status to whoever subscribed.
void DemoKlipper::tell(const DemoPrint::News &news)
{
    const QJsonArray update{m_print.objects(), m_clock.elapsed() / 1000.0};
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
