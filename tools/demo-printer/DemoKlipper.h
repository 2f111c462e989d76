// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "DemoPrint.h"
#include "LoopbackHttpServer.h"

#include <QElapsedTimer>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QTimer>
#include <QWebSocketServer>

#include <chrono>
#include <optional>

class QWebSocket;

namespace kestrel::demo {

// How the host around the print behaves, beyond the print itself.
struct DemoHost
{
    QByteArray apiKey; // what the API wants of a client outside its trusted networks; empty: none
    // Before a control is carried out and answered, as while Klipper waits for a heater; the
    // emergency stop is carried out at once.
    std::chrono::milliseconds controlDelay{0};
    // Every minute the API drops its connections and refuses new ones for 20 s, while the web
    // server goes on answering.
    bool dropsApi = false;
};

// A printer host's status API on the demo printer's own address, over the simulated print:
// JSON-RPC over the websocket at /websocket (identify, server.info, printer.objects.subscribe and
// its status updates, four a second while printing or while the heaters change, each with only
// what changed since the one before, and the print's controls), the file metadata at
// /server/files/metadata, and the emergency stop at POST /printer/emergency_stop.
//
// With an API key it trusts no one, as a host does for clients outside its trusted networks:
// every call answers "Unauthorized" unless the handshake or the introduction brought the key,
// and every HTTP call of the API answers 401 without it.
class DemoKlipper : public QObject
{
    Q_OBJECT

public:
    DemoKlipper(LoopbackHttpServer &printer, std::chrono::seconds printLength,
                std::chrono::milliseconds rest, KlipperFault fault, DemoHost host,
                QObject *parent = nullptr);

    // The first print began this long before the demo printer started, so that printers started
    // together do not all end together.
    void startAhead(std::chrono::seconds headStart);

    // GET /server/files/metadata?filename=…
    HttpReply metadata(const HttpRequest &request) const;
    // POST /printer/emergency_stop
    HttpReply emergencyStop();
    // The API's HTTP calls: none when the request brought the key, else the host's 401.
    std::optional<HttpReply> refusal(const HttpRequest &request) const;

private:
    struct Client
    {
        QWebSocket *socket;
        bool subscribed = false;
        bool authorized = false;
    };

    void accept(QTcpSocket *connection);
    void acceptPending();
    void dropApi();
    void receive(QWebSocket *socket, const QString &frame);
    void answer(Client &client, const QString &frame);
    QJsonObject answerAuthorized(Client &client, const QString &method);
    void tell(const DemoPrint::News &news);
    QJsonObject changes();
    void notifyAll(const QString &method, const QJsonArray &params, bool subscribedOnly);

    QWebSocketServer m_server;
    QList<Client> m_clients;
    DemoPrint m_print;
    const bool m_answersControls;
    const DemoHost m_host;
    QJsonObject m_told; // the objects as the last update left them
    QElapsedTimer m_apiDown;
    QTimer m_apiDrops;
    QElapsedTimer m_clock; // since the demo began, for the host's event times
    QElapsedTimer m_sinceTick;
    QTimer m_tick;
};

} // namespace kestrel::demo
