// SPDX-License-Identifier: GPL-3.0-or-later
#include "Helpers.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QImage>
#include <QLinearGradient>
#include <QNetworkProxy>
#include <QPainter>

#include <unistd.h>

namespace kestrel::test {

namespace {

// Whatever address a test gets wrong, Qt's own requests never leave the machine: like curl's,
// through http_proxy, they go to a loopback port where nothing listens. Kestrel's only one is
// the host's fire-and-forget wake-up, which no test waits for.
void keepRequestsHome()
{
    QNetworkProxy::setApplicationProxy(
        QNetworkProxy(QNetworkProxy::HttpProxy, QStringLiteral("127.0.0.1"), 9));
}
Q_COREAPP_STARTUP_FUNCTION(keepRequestsHome)

} // namespace

QStringList childProcessNames()
{
    QStringList names;
    const QByteArray self = QByteArray::number(::getpid());
    for (const QString &entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        QFile stat(QStringLiteral("/proc/%1/stat").arg(entry));
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        // "pid (comm) state ppid ...": comm may hold blanks and parentheses.
        const QByteArray line = stat.readAll();
        const qsizetype open = line.indexOf('(');
        const qsizetype close = line.lastIndexOf(')');
        if (open >= 0 && close > open && line.mid(close + 2).split(' ').value(1) == self)
            names << QString::fromUtf8(line.mid(open + 1, close - open - 1));
    }
    return names;
}

QByteArray testJpeg(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient gradient(0, 0, size.width(), 0);
    gradient.setColorAt(0, QColor(200, 30, 30));
    gradient.setColorAt(1, QColor(30, 30, 200));
    painter.fillRect(image.rect(), gradient);
    painter.fillRect(QRect(0, size.height() / 2 - 10, size.width(), 20), Qt::white);
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "JPEG", 85);
    return bytes;
}

QList<QStringList> tableRows(QStringView table)
{
    QList<QStringList> rows;
    for (const QStringView line : table.split(u'\n')) {
        if (line.trimmed().isEmpty())
            continue;
        QStringList fields;
        for (const QStringView field : line.split(QStringLiteral(" | ")))
            fields << (field.trimmed() == u"-" ? QString() : field.trimmed().toString());
        rows << fields;
    }
    return rows;
}

} // namespace kestrel::test
