// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/PrintNotifier.h"

#include "settings/AppSettings.h"

#include <QPointer>

namespace kestrel {

PrintNotifier::PrintNotifier(const AppSettings &settings, QObject *parent)
    : QObject(parent), m_settings(settings)
{
    connect(&settings, &AppSettings::printerRemoving, this,
            [this](const PrinterSettings *printer) { m_events.remove(printer->printerID()); });
}

// Events are counted also while notifications are off, so turning them on tells of nothing old.
// The user's own emergency stop always names the printer it stopped.
void PrintNotifier::follow(const PrinterSettings &printer, const PrintStatus &status,
                           bool stoppedHere)
{
    const std::optional<PrintEvent> event = m_events[printer.printerID()].next(status, stoppedHere);
    if (!event || !m_settings.notifyPrintEvents())
        return;
    const bool named = m_settings.printers().size() > 1 || event->isOwnStop;
    const QString body = !named ? event->body
                         : event->body.isEmpty()
                             ? printer.displayName()
                             : printer.displayName() + QStringLiteral(" · ") + event->body;
    const auto urgency = event->isError ? DesktopNotifications::Urgency::critical
                                        : DesktopNotifications::Urgency::normal;
    if (!m_pictures) {
        m_notifications.notify(event->title, body, urgency);
        return;
    }
    m_pictures(printer, [notifications = QPointer(&m_notifications), title = event->title, body,
                         urgency, id = printer.printerID()](const QImage &picture) {
        if (notifications)
            notifications->notify(title, body, urgency, picture, id);
    });
}

} // namespace kestrel
