// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PrintEvents.h"
#include "platform/DesktopNotifications.h"

#include <QHash>
#include <QObject>

namespace kestrel {

class AppSettings;
class PrinterSettings;

// Tells the desktop when a print ends or pauses, unless the user turned that off. With several
// printers, each body begins with the name of the printer it happened on.
class PrintNotifier : public QObject
{
    Q_OBJECT

public:
    explicit PrintNotifier(const AppSettings &settings, QObject *parent = nullptr);

    // `stoppedHere`: Kestrel sent the printer's emergency stop a moment ago.
    void follow(const PrinterSettings &printer, const PrintStatus &status,
                bool stoppedHere = false);
    DesktopNotifications &notifications() { return m_notifications; }

private:
    const AppSettings &m_settings;
    QHash<QString, PrintEvents> m_events; // by printer id
    DesktopNotifications m_notifications;
};

} // namespace kestrel
