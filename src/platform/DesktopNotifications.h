// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QString>

namespace kestrel {

// The desktop's own notifications: org.freedesktop.Notifications on the session bus, under
// Kestrel's name and icon, so they stand beside every other application's. Where no such service
// answers (no session bus, no notification daemon, macOS), nothing is shown here and
// undelivered() asks someone else to say it.
class DesktopNotifications : public QObject
{
    Q_OBJECT

public:
    enum class Urgency
    {
        normal,
        critical
    };

    using QObject::QObject;

    void notify(const QString &title, const QString &body, Urgency urgency);

signals:
    void undelivered(const QString &title, const QString &body,
                     kestrel::DesktopNotifications::Urgency urgency);
};

} // namespace kestrel
