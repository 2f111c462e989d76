// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PrintEvents.h"
#include "platform/DesktopNotifications.h"

#include <QObject>

namespace kestrel {

class AppSettings;

// Tells the desktop when a print ends or pauses, unless the user turned that off.
class PrintNotifier : public QObject
{
    Q_OBJECT

public:
    explicit PrintNotifier(const AppSettings &settings, QObject *parent = nullptr);

    void follow(const PrintStatus &status);
    DesktopNotifications &notifications() { return m_notifications; }

private:
    const AppSettings &m_settings;
    PrintEvents m_events;
    DesktopNotifications m_notifications;
};

} // namespace kestrel
