// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QMap>
#include <QObject>

#include <chrono>
#include <functional>

class QTcpServer;
class QTcpSocket;

namespace kestrel {

struct HttpRequest
{
    QByteArray method;
    QByteArray path;
    QMap<QByteArray, QByteArray> headers; // names in lower case
    QByteArray body;
    qint64 arrivedMs = 0; // since the server started

    bool fromCurl() const { return headers.value("user-agent").startsWith("curl/"); }
};

// What the server does with one request.
struct HttpReply
{
    enum class Action
    {
        answer, // status line, headers and (except for HEAD) the body
        silent, // accept and never say anything
        close,  // close the connection without a word
        hold,   // wait until the test calls releaseHeld()
    };
    Action action = Action::answer;
    QByteArray statusLine = "HTTP/1.1 200 OK";
    QByteArray contentType = "text/html";
    QByteArray headers; // more header lines, each ended by "\r\n" (Location, …)
    QByteArray body;
    qsizetype declaredLength = -1;      // Content-Length to announce; -1 for the body's size
    bool stallAfterBody = false;        // keep the connection open instead of closing it
    std::chrono::milliseconds delay{0}; // before answering
    // A body of unknown length, written piece by piece instead of `body`: each call gives the
    // next piece, sent every `pieceInterval` (or as fast as the client reads, for 0) unless the
    // client still has much unread. An empty piece ends the body and the connection.
    std::function<QByteArray()> pieces;
    std::chrono::milliseconds pieceInterval{0};

    static HttpReply status(QByteArray line) { return {.statusLine = std::move(line)}; }
    static HttpReply with(Action action) { return {.action = action}; }
    static HttpReply content(QByteArray type, QByteArray body)
    {
        return {.contentType = std::move(type), .body = std::move(body)};
    }
};

// A tiny HTTP server on 127.0.0.1, scripted by the demo printer, the benchmarks and the tests. One
// request per connection unless it keeps connections alive; every request is recorded.
class LoopbackHttpServer : public QObject
{
    Q_OBJECT

public:
    // Port 0 picks a free one. The server cannot do without its port, so failing to get it is
    // fatal.
    explicit LoopbackHttpServer(QObject *parent = nullptr, quint16 port = 0);

    quint16 port() const;
    // "127.0.0.1:<port>", the form a printer address takes.
    QString address() const;
    // The address of a port that was just given up, so nothing listens there: a host that
    // refuses connections.
    static QString closedAddress();

    // Stops or starts taking connections on the same port: a host whose port is closed. Stopping
    // also drops every open connection.
    void setListening(bool listening);

    // Whole answers leave the connection open for the client's next request, as camera servers
    // do; a streamed or stalled body, and a client that asks to close, still end it.
    void setKeepAlive(bool keepAlive) { m_keepAlive = keepAlive; }
    // Connections accepted so far.
    int connectionCount() const { return m_connections; }

    void setReply(const HttpReply &reply);
    void setHandler(std::function<HttpReply(const HttpRequest &)> handler);
    // Takes the connections that ask to become websockets, with their handshake still unread.
    void setUpgradeHandler(std::function<void(QTcpSocket *)> handler);

    QList<HttpRequest> requests() const { return m_requests; }
    QList<HttpRequest> curlRequests() const;
    int heldCount() const { return int(m_held.size()); }
    void releaseHeld(const HttpReply &reply);

signals:
    void requestReceived(const kestrel::HttpRequest &request);
    void listeningChanged(bool listening);

private:
    void accept();
    void readRequest(QTcpSocket *socket);
    void perform(QTcpSocket *socket, const HttpRequest &request, const HttpReply &reply);
    void answer(QTcpSocket *socket, const HttpRequest &request, const HttpReply &reply);
    static void writePieces(QTcpSocket *socket, const HttpReply &reply);

    QTcpServer *m_server;
    quint16 m_port = 0;
    QElapsedTimer m_clock;
    std::function<HttpReply(const HttpRequest &)> m_handler;
    std::function<void(QTcpSocket *)> m_upgrade;
    QList<HttpRequest> m_requests;
    bool m_keepAlive = false;
    int m_connections = 0;
    QList<std::pair<QTcpSocket *, HttpRequest>> m_held;
};

} // namespace kestrel
