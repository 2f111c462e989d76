// SPDX-License-Identifier: GPL-3.0-or-later
#include "DemoPrinter.h"

#include <QRegularExpression>

namespace kestrel::test {

DemoPrinter::DemoPrinter(const QString &binary, const QStringList &arguments)
{
    m_process.start(binary, QStringList{QStringLiteral("--port"), QStringLiteral("0")} + arguments);
    // The plug's line comes last, so once it is there both addresses are.
    const QRegularExpression line(QStringLiteral("(Demo-Drucker|Steckdose).*http://(127[^/]+)/"));
    while (m_plug.isEmpty() && m_process.waitForReadyRead(20000)) {
        for (const QString &text : QString::fromUtf8(m_process.readAll()).split(u'\n')) {
            if (const auto match = line.match(text); match.hasMatch())
                (match.captured(1) == u"Steckdose" ? m_plug : m_address) = match.captured(2);
        }
    }
}

DemoPrinter::~DemoPrinter()
{
    m_process.kill();
    m_process.waitForFinished();
}

bool DemoPrinter::switchPower(bool on) const
{
    const QString command = on ? QStringLiteral("On") : QStringLiteral("Off");
    return QProcess::execute(QStringLiteral("/usr/bin/curl"),
                             {QStringLiteral("-sS"), QStringLiteral("-o"), QStringLiteral("/dev/null"),
                              QStringLiteral("http://%1/cm?cmnd=Power%20%2").arg(m_plug, command)}) ==
           0;
}

} // namespace kestrel::test
