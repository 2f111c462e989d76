// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "LoopbackHttpServer.h"

#include <QObject>
#include <QTimer>

#include <chrono>

namespace kestrel::demo {

// A smart plug that speaks Tasmota's web commands (/cm?cmnd=Power On|Off, and Power alone to
// ask) on a port of its own, and powers the demo printer: switched off, the printer's port
// closes; switched on, the printer answers again once it has booted.
class DemoPlug : public QObject
{
    Q_OBJECT

public:
    DemoPlug(LoopbackHttpServer &printer, std::chrono::milliseconds bootTime,
             QObject *parent = nullptr);

    QString address() const { return m_server.address(); }

private:
    HttpReply answer(const HttpRequest &request);
    void switchTo(bool on);

    LoopbackHttpServer m_server;
    LoopbackHttpServer &m_printer;
    QTimer m_boot;
    bool m_on = true;
};

} // namespace kestrel::demo
