// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SingleInstance.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QThread>

#include <unistd.h>

namespace kestrel {

namespace {

// Per user and per settings folder, so a throw-away settings folder (demos, tests) is a Kestrel
// of its own. The socket lies where the session keeps such things, never in TMPDIR: a login's
// autostart and a terminal may each have their own, and would then both run.
QString serverName()
{
    const QString config = QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
    const QByteArray folder =
        QCryptographicHash::hash(config.toUtf8(), QCryptographicHash::Sha256).toHex().left(16);
    const QString name = QStringLiteral("kestrel-%1-%2").arg(::getuid()).arg(QString::fromLatin1(folder));
#if defined(Q_OS_LINUX)
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return QDir(QFileInfo(runtime).isDir() ? runtime : QStringLiteral("/tmp")).filePath(name);
#else
    return name; // macOS keeps one temporary folder per user
#endif
}

// Beside the socket, or in the temporary folder where the socket's name is no path.
QString lockPath()
{
    const QString name = serverName();
    return (QDir::isAbsolutePath(name) ? name : QDir::temp().filePath(name)) +
           QStringLiteral(".lock");
}

} // namespace

SingleInstance::SingleInstance(QObject *parent) : QObject(parent), m_lock(lockPath())
{
    // Two launches at once (a restored session and the autostart) would both find no socket and
    // both listen. The lock decides which one is first; a Kestrel that crashed leaves a lock
    // whose process is gone, which the next one takes over.
    m_lock.setStaleLockTime(0);
    if (!m_lock.tryLock(0)) {
        // The first one may not listen yet: it is asked for a few seconds.
        QLocalSocket other;
        for (int attempt = 0; attempt < 20; ++attempt) {
            other.connectToServer(serverName());
            if (other.waitForConnected(250)) {
                other.write("show\n");
                other.waitForBytesWritten(1000);
                return;
            }
            QThread::msleep(100);
        }
        if (!m_lock.tryLock(0))
            return;
    }
    // First: any socket file left by a Kestrel that crashed is stale.
    QLocalServer::removeServer(serverName());
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(serverName()))
        return; // Without the socket Kestrel still works; it only cannot be found.
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *socket = m_server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            emit anotherLaunch();
        }
    });
}

} // namespace kestrel
