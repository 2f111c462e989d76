// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QProcess>
#include <QStringList>

namespace kestrel::test {

// The demo printer as a process of the test's own, on free ports of 127.0.0.1, with its plug.
class DemoPrinter
{
public:
    // Starts it with these arguments besides the port, and waits for its addresses; both stay
    // empty when it did not come up.
    DemoPrinter(const QString &binary, const QStringList &arguments);
    ~DemoPrinter();

    QString address() const { return m_address; }
    // Switches the plug as a scene does; false when the plug did not answer.
    bool switchPower(bool on) const;

private:
    QProcess m_process;
    QString m_address;
    QString m_plug;
};

} // namespace kestrel::test
