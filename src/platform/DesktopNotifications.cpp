// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DesktopNotifications.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>

namespace kestrel {

void DesktopNotifications::notify(const QString &title, const QString &body, Urgency urgency)
{
#if defined(Q_OS_APPLE)
    emit undelivered(title, body, urgency);
#else
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        emit undelivered(title, body, urgency);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"),
        QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
    // The desktop entry lets the desktop group the notifications under Kestrel and take its
    // icon and name from there; the urgency is a byte, 2 for critical.
    const QVariantMap hints{
        {QStringLiteral("desktop-entry"), QStringLiteral(KESTREL_APP_ID)},
        {QStringLiteral("urgency"), QVariant::fromValue(uchar(urgency == Urgency::critical ? 2 : 1))}};
    call << QStringLiteral("Kestrel") << uint(0) << QStringLiteral(KESTREL_APP_ID) << title << body
         << QStringList() << hints << int(-1);
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, 5000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, title, body, urgency] {
                watcher->deleteLater();
                if (watcher->isError())
                    emit undelivered(title, body, urgency);
            });
#endif
}

} // namespace kestrel
