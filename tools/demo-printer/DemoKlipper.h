// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

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

// What the simulated print runs into, to show Kestrel's status line and notifications.
enum class KlipperFault
{
    none,
    restart,    // Klipper goes away for 5 s a third of the way in, and comes back
    printError, // the print fails half way
    idle,       // no print at all: Klipper stands by
    shutdown,   // Klipper shuts down a third of the way in, and restarts its firmware 10 s later
    deaf,       // the controls are taken and never answered
};

// A printer host's status API on the demo printer's own address: JSON-RPC over the websocket at
// /websocket (identify, server.info, printer.objects.subscribe and its status updates, four a
// second while printing or while the heaters change) and the file metadata at
// /server/files/metadata. It prints one file over and over: a print of the given length with
// layers, then a while in standby. It takes the controls as Klipper does: a pause holds the
// print with the heaters on, a cancel ends it, and the emergency stop shuts Klipper down until
// its firmware is restarted.
//
// With an API key it trusts no one, as a host does for clients outside its trusted networks:
// every call answers "Unauthorized" unless the handshake or the introduction brought the key,
// and every HTTP call of the API answers 401 without it.
class DemoKlipper : public QObject
{
    Q_OBJECT

public:
    DemoKlipper(LoopbackHttpServer &printer, std::chrono::seconds printLength, KlipperFault fault,
                QByteArray apiKey, QObject *parent = nullptr);

    // GET /server/files/metadata?filename=…
    HttpReply metadata(const HttpRequest &request) const;
    // The API's HTTP calls: none when the request brought the key, else the host's 401.
    std::optional<HttpReply> refusal(const HttpRequest &request) const;

private:
    struct Client
    {
        QWebSocket *socket;
        bool subscribed = false;
        bool authorized = false;
    };

    void accept();
    void answer(Client &client, const QString &frame);
    QJsonObject answerAuthorized(Client &client, const QString &method);
    QJsonObject control(const QString &method);
    void shutDown(const QString &message, bool restartsItself);
    void restartFirmware();
    void enter(const QString &state);
    void tick();
    bool heatersSettled() const;
    QJsonObject objects() const;
    void notifyAll(const QString &method, const QJsonArray &params, bool subscribedOnly);
    bool klippyReady() const;
    bool heating() const;

    QWebSocketServer m_server;
    QList<Client> m_clients;
    const double m_printLength;
    const KlipperFault m_fault;
    const QByteArray m_apiKey;
    QElapsedTimer m_clock;   // since the demo began
    QElapsedTimer m_inState; // since the print's state last changed
    QElapsedTimer m_sinceTick;
    QString m_state = QStringLiteral("printing");
    double m_printed = 0; // seconds, pauses left out
    bool m_restarted = false;
    double m_nozzle;
    double m_bed;
    QElapsedTimer m_down;     // while Klipper is away
    QElapsedTimer m_shutdown; // while Klipper stands shut down
    QString m_shutdownMessage;
    bool m_restartsItself = false;
    QTimer m_tick;
};

} // namespace kestrel::demo
