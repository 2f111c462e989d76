// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DesktopNotifications.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>

namespace {

// The "image-data" hint, in the order every notification service reads it: width, height, bytes
// per row, alpha, bits per sample, channels, then the pixels.
struct NotificationPicture
{
    QImage image;
};

} // namespace

Q_DECLARE_METATYPE(NotificationPicture)

namespace {

QDBusArgument &operator<<(QDBusArgument &argument, const NotificationPicture &picture)
{
    const QImage rgb = picture.image.convertToFormat(QImage::Format_RGB888);
    argument.beginStructure();
    argument << rgb.width() << rgb.height() << int(rgb.bytesPerLine()) << false << 8 << 3
             << QByteArray(reinterpret_cast<const char *>(rgb.constBits()), rgb.sizeInBytes());
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, NotificationPicture &)
{
    return argument; // only ever sent
}

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString interface = QStringLiteral("org.freedesktop.Notifications");
const QString showAction = QStringLiteral("default");

} // namespace

namespace kestrel {

DesktopNotifications::DesktopNotifications(QObject *parent) : QObject(parent)
{
#if !defined(Q_OS_APPLE)
    qDBusRegisterMetaType<NotificationPicture>();
    QDBusConnection::sessionBus().connect(QString(), path, interface,
                                          QStringLiteral("ActionInvoked"), this,
                                          SLOT(actionInvoked(uint, QString)));
#endif
}

// Whether the service offers actions is asked anew each time: a notification service that
// started after Kestrel may offer them, and one that replaced another may not.
void DesktopNotifications::notify(const QString &title, const QString &body, Urgency urgency,
                                  const QImage &picture, const std::optional<QString> &tag)
{
#if defined(Q_OS_APPLE)
    Q_UNUSED(picture);
    Q_UNUSED(tag);
    emit undelivered(title, body, urgency);
#else
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        emit undelivered(title, body, urgency);
        return;
    }
    const QDBusMessage ask =
        QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("GetCapabilities"));
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(ask, 5000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, title, body, urgency, picture, tag] {
                watcher->deleteLater();
                const QDBusPendingReply<QStringList> capabilities = *watcher;
                const bool actions = !capabilities.isError() &&
                                     capabilities.value().contains(QStringLiteral("actions"));
                send(title, body, urgency, picture, actions ? tag : std::nullopt);
            });
#endif
}

void DesktopNotifications::send(const QString &title, const QString &body, Urgency urgency,
                                const QImage &picture, const std::optional<QString> &tag)
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Notify"));
    // The desktop entry lets the desktop group the notifications under Kestrel and take its
    // icon and name from there; the urgency is a byte, 2 for critical.
    QVariantMap hints{{QStringLiteral("desktop-entry"), QStringLiteral(KESTREL_APP_ID)},
                      {QStringLiteral("urgency"),
                       QVariant::fromValue(uchar(urgency == Urgency::critical ? 2 : 1))}};
    if (!picture.isNull()) {
        const QImage shown = picture.width() > widestPicture
                                 ? picture.scaledToWidth(widestPicture, Qt::SmoothTransformation)
                                 : picture;
        hints.insert(QStringLiteral("image-data"), QVariant::fromValue(NotificationPicture{shown}));
    }
    QStringList actions;
    if (tag)
        actions << showAction << tr("Anzeigen");
    call << QStringLiteral("Kestrel") << uint(0) << QStringLiteral(KESTREL_APP_ID) << title << body
         << actions << hints << int(-1);
    auto *watcher =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call, 5000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, title, body, urgency, tag] {
                watcher->deleteLater();
                const QDBusPendingReply<uint> reply = *watcher;
                if (reply.isError())
                    emit undelivered(title, body, urgency);
                else if (tag)
                    m_tags.insert(reply.value(), *tag);
            });
}

void DesktopNotifications::actionInvoked(uint id, const QString &action)
{
    const auto tag = m_tags.constFind(id);
    if (tag == m_tags.cend() || action != showAction)
        return;
    emit showRequested(*tag);
}

} // namespace kestrel
