// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/PrintNotifier.h"

#include "settings/AppSettings.h"

namespace kestrel {

PrintNotifier::PrintNotifier(const AppSettings &settings, QObject *parent)
    : QObject(parent), m_settings(settings)
{}

// Events are counted also while notifications are off, so turning them on tells of nothing old.
void PrintNotifier::follow(const PrintStatus &status)
{
    const std::optional<PrintEvent> event = m_events.next(status);
    if (!event || !m_settings.notifyPrintEvents())
        return;
    m_notifications.notify(event->title, event->body,
                           event->isError ? DesktopNotifications::Urgency::critical
                                          : DesktopNotifications::Urgency::normal);
}

} // namespace kestrel
