// SPDX-License-Identifier: GPL-3.0-or-later
#include "ChildProcesses.h"

#include <QDir>
#include <QFile>

#include <unistd.h>

namespace kestrel::test {

QStringList childProcessNames()
{
    QStringList names;
    const QByteArray self = QByteArray::number(::getpid());
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString &entry : entries) {
        QFile stat(QStringLiteral("/proc/") + entry + QStringLiteral("/stat"));
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        // "pid (comm) state ppid ...": comm may hold blanks and parentheses.
        const QByteArray line = stat.readAll();
        const qsizetype open = line.indexOf('(');
        const qsizetype close = line.lastIndexOf(')');
        if (open < 0 || close < open)
            continue;
        const QList<QByteArray> rest = line.mid(close + 2).split(' ');
        if (rest.value(1) == self)
            names << QString::fromUtf8(line.mid(open + 1, close - open - 1));
    }
    return names;
}

} // namespace kestrel::test
