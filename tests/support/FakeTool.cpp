// SPDX-License-Identifier: GPL-3.0-or-later
#include "FakeTool.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>

namespace kestrel::test {

FakeTool::FakeTool(const QString &directory, const QString &name, const QString &body)
    : m_path(QDir(directory).filePath(name))
{
    replace(body);
}

void FakeTool::replace(const QString &body)
{
    // Count and arguments, each ended by a NUL, so arguments with newlines survive.
    const QString script = QStringLiteral("#!/bin/sh\nprintf '%s\\0' \"$#\" \"$@\" >> '") + m_path +
                           QStringLiteral(".calls'\n") + body + u'\n';
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly))
        qFatal("cannot write fake tool %s", qPrintable(m_path));
    file.write(script.toUtf8());
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    if (!file.commit())
        qFatal("cannot write fake tool %s", qPrintable(m_path));
}

QList<QStringList> FakeTool::calls() const
{
    QFile file(m_path + QStringLiteral(".calls"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<QByteArray> fields = file.readAll().split('\0');
    fields.removeLast(); // after the final NUL
    QList<QStringList> calls;
    for (qsizetype i = 0; i < fields.size();) {
        const int count = fields[i++].toInt();
        QStringList arguments;
        for (int k = 0; k < count && i < fields.size(); ++k)
            arguments << QString::fromUtf8(fields[i++]);
        calls << arguments;
    }
    return calls;
}

} // namespace kestrel::test
