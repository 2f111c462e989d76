// SPDX-License-Identifier: GPL-3.0-or-later
#include "DemoPlug.h"

#include <QUrlQuery>

namespace kestrel::demo {

DemoPlug::DemoPlug(LoopbackHttpServer &printer, std::chrono::milliseconds bootTime, QObject *parent)
    : QObject(parent), m_printer(printer)
{
    m_boot.setSingleShot(true);
    m_boot.setInterval(bootTime);
    connect(&m_boot, &QTimer::timeout, this, [this] { m_printer.setListening(true); });
    m_server.setHandler([this](const HttpRequest &request) { return answer(request); });
}

HttpReply DemoPlug::answer(const HttpRequest &request)
{
    const QString target = QString::fromUtf8(request.path);
    if (!target.startsWith(u"/cm?"))
        return HttpReply::status("HTTP/1.1 404 Not Found");
    // A form-encoded query may write the blank in "Power On" as a plus.
    const QString command = QUrlQuery(target.mid(4).replace(u'+', QStringLiteral("%20")))
                                .queryItemValue(QStringLiteral("cmnd"), QUrl::FullyDecoded);
    // Tasmota takes on, 1 and true alike, and any case.
    const QString value = command.section(u' ', 1).toLower();
    if (command.section(u' ', 0, 0).compare(u"Power", Qt::CaseInsensitive) != 0)
        return HttpReply::content("application/json", R"({"Command":"Unknown"})");
    if (value == u"on" || value == u"1" || value == u"true")
        switchTo(true);
    else if (value == u"off" || value == u"0" || value == u"false")
        switchTo(false);
    return HttpReply::content("application/json",
                              m_on ? R"({"POWER":"ON"})" : R"({"POWER":"OFF"})");
}

void DemoPlug::switchTo(bool on)
{
    if (on == m_on)
        return;
    m_on = on;
    if (on) {
        m_boot.start();
    } else {
        m_boot.stop();
        m_printer.setListening(false);
    }
}

} // namespace kestrel::demo
