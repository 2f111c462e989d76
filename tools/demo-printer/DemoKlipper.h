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

class QWebSocket;

namespace kestrel::demo {

// What the simulated print runs into, to show Kestrel's status line and notifications.
enum class KlipperFault
{
    none,
    restart,    // Klipper goes away for 5 s a third of the way in, and comes back
    printError, // the print fails half way
    idle,       // no print at all: Klipper stands by
};

// A printer host's status API on the demo printer's own address: JSON-RPC over the websocket at
// /websocket (identify, server.info, printer.objects.subscribe and its status updates, four a
// second while printing) and the file metadata at /server/files/metadata. It prints one file
// over and over: a print of the given length with layers, then a pause in standby.
class DemoKlipper : public QObject
{
    Q_OBJECT

public:
    DemoKlipper(LoopbackHttpServer &printer, std::chrono::seconds printLength, KlipperFault fault,
                QObject *parent = nullptr);

    // GET /server/files/metadata?filename=…
    HttpReply metadata(const HttpRequest &request) const;

private:
    struct Client
    {
        QWebSocket *socket;
        bool subscribed = false;
    };

    void accept();
    void answer(QWebSocket *socket, const QString &frame);
    void tick();
    QJsonObject objects() const;
    void notifyAll(const QString &method, const QJsonArray &params, bool subscribedOnly);
    bool klippyReady() const;

    QWebSocketServer m_server;
    QList<Client> m_clients;
    const double m_printLength;
    const KlipperFault m_fault;
    QElapsedTimer m_clock; // since the current print, or the pause after it, began
    QString m_state = QStringLiteral("printing");
    double m_progress = 0;
    bool m_restarted = false;
    QElapsedTimer m_down; // while Klipper is away
    QTimer m_tick;
};

} // namespace kestrel::demo
