// SPDX-License-Identifier: GPL-3.0-or-later
#include "LoopbackHttpServer.h"

#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

namespace kestrel {

LoopbackHttpServer::LoopbackHttpServer(QObject *parent, quint16 port)
    : QObject(parent), m_server(new QTcpServer(this)),
      m_handler([](const HttpRequest &) { return HttpReply{}; })
{
    m_clock.start();
    if (!m_server->listen(QHostAddress::LocalHost, port))
        qFatal("cannot listen on 127.0.0.1:%d: %s", port, qPrintable(m_server->errorString()));
    m_port = m_server->serverPort();
    connect(m_server, &QTcpServer::newConnection, this, &LoopbackHttpServer::accept);
}

quint16 LoopbackHttpServer::port() const
{
    return m_port;
}

QString LoopbackHttpServer::closedAddress()
{
    return LoopbackHttpServer().address();
}

void LoopbackHttpServer::setUpgradeHandler(std::function<void(QTcpSocket *)> handler)
{
    m_upgrade = std::move(handler);
}

void LoopbackHttpServer::setListening(bool listening)
{
    emit listeningChanged(listening);
    if (!listening) {
        // A host that goes away takes its open connections, streams among them, with it.
        m_server->close();
        m_held.clear();
        for (QTcpSocket *socket : findChildren<QTcpSocket *>())
            socket->abort();
    } else if (!m_server->isListening() && !m_server->listen(QHostAddress::LocalHost, m_port))
        qFatal("cannot listen again on 127.0.0.1:%d", m_port);
}

QString LoopbackHttpServer::address() const
{
    return QStringLiteral("127.0.0.1:%1").arg(port());
}

void LoopbackHttpServer::setReply(const HttpReply &reply)
{
    m_handler = [reply](const HttpRequest &) { return reply; };
}

void LoopbackHttpServer::setHandler(std::function<HttpReply(const HttpRequest &)> handler)
{
    m_handler = std::move(handler);
}

QList<HttpRequest> LoopbackHttpServer::curlRequests() const
{
    QList<HttpRequest> result;
    for (const HttpRequest &request : m_requests) {
        if (request.fromCurl())
            result << request;
    }
    return result;
}

void LoopbackHttpServer::releaseHeld(const HttpReply &reply)
{
    const auto held = std::exchange(m_held, {});
    for (const auto &[socket, request] : held)
        perform(socket, request, reply);
}

void LoopbackHttpServer::accept()
{
    while (QTcpSocket *socket = m_server->nextPendingConnection()) {
        socket->setParent(this);
        ++m_connections;
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { readRequest(socket); });
    }
}

void LoopbackHttpServer::readRequest(QTcpSocket *socket)
{
    if (socket->property("handled").toBool()) {
        socket->readAll();
        return;
    }
    // A websocket's handshake is left in the socket for whoever takes it.
    if (m_upgrade && !socket->property("buffer").isValid()) {
        const QByteArray head = socket->peek(socket->bytesAvailable());
        const qsizetype end = head.indexOf("\r\n\r\n");
        if (end < 0 && head.size() < 16 * 1024)
            return; // the rest of the head is on its way
        if (end >= 0 && head.left(end).toLower().contains("upgrade: websocket")) {
            socket->disconnect(this);
            socket->setProperty("handled", true);
            m_upgrade(socket);
            return;
        }
    }
    QByteArray buffer = socket->property("buffer").toByteArray() + socket->readAll();
    const qsizetype end = buffer.indexOf("\r\n\r\n");
    if (end < 0) {
        socket->setProperty("buffer", buffer);
        return;
    }
    HttpRequest request;
    request.arrivedMs = m_clock.elapsed();
    const QList<QByteArray> lines = buffer.left(end).split('\n');
    const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
    request.method = requestLine.value(0);
    request.path = requestLine.value(1);
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const qsizetype colon = lines[i].indexOf(':');
        if (colon > 0)
            request.headers.insert(lines[i].left(colon).trimmed().toLower(),
                                   lines[i].mid(colon + 1).trimmed());
    }
    const qsizetype bodySize = request.headers.value("content-length").toLongLong();
    if (buffer.size() < end + 4 + bodySize) {
        socket->setProperty("buffer", buffer);
        return;
    }
    request.body = buffer.mid(end + 4, bodySize);
    socket->setProperty("handled", true);
    m_requests << request;
    emit requestReceived(request);
    perform(socket, request, m_handler(request));
}

void LoopbackHttpServer::perform(QTcpSocket *socket, const HttpRequest &request,
                                 const HttpReply &reply)
{
    switch (reply.action) {
    case HttpReply::Action::silent:
        return;
    case HttpReply::Action::hold:
        m_held.append({socket, request});
        return;
    case HttpReply::Action::close:
        socket->disconnectFromHost();
        return;
    case HttpReply::Action::answer:
        break;
    }
    QTimer::singleShot(reply.delay, socket,
                       [this, socket, request, reply] { answer(socket, request, reply); });
}

void LoopbackHttpServer::answer(QTcpSocket *socket, const HttpRequest &request,
                                const HttpReply &reply)
{
    QByteArray head = reply.statusLine + "\r\n";
    head += "Content-Type: " + reply.contentType + "\r\n" + reply.headers;
    const qsizetype length = reply.declaredLength >= 0 ? reply.declaredLength : reply.body.size();
    if (!reply.pieces)
        head += "Content-Length: " + QByteArray::number(length) + "\r\n";
    const bool keepAlive = m_keepAlive && !reply.pieces && !reply.stallAfterBody &&
                           reply.declaredLength < 0 &&
                           request.headers.value("connection").toLower() != "close";
    head += keepAlive ? "Connection: keep-alive\r\n\r\n" : "Connection: close\r\n\r\n";
    socket->write(head);
    if (request.method != "HEAD" && reply.pieces) {
        writePieces(socket, reply);
        return;
    }
    if (request.method != "HEAD")
        socket->write(reply.body);
    if (keepAlive) {
        socket->setProperty("handled", false);
        socket->setProperty("buffer", QVariant());
        if (socket->bytesAvailable() > 0)
            readRequest(socket);
    } else if (!reply.stallAfterBody) {
        socket->disconnectFromHost();
    }
}

// A client that reads slowly gets fewer pieces, never a growing queue: what a camera's streamer
// does for a slow viewer.
void LoopbackHttpServer::writePieces(QTcpSocket *socket, const HttpReply &reply)
{
    constexpr qint64 unreadLimit = 256 * 1024;
    const auto next = [socket, pieces = reply.pieces] {
        if (socket->state() != QAbstractSocket::ConnectedState ||
            socket->bytesToWrite() > unreadLimit)
            return;
        const QByteArray piece = pieces();
        if (piece.isEmpty())
            socket->disconnectFromHost();
        else
            socket->write(piece);
    };
    if (reply.pieceInterval.count() == 0) {
        connect(socket, &QTcpSocket::bytesWritten, socket, next);
    } else {
        auto *timer = new QTimer(socket);
        timer->setTimerType(Qt::PreciseTimer);
        connect(timer, &QTimer::timeout, socket, next);
        timer->start(reply.pieceInterval);
    }
    next();
}

} // namespace kestrel
