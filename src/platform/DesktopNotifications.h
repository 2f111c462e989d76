// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QImage>
#include <QObject>
#include <QString>

#include <optional>

namespace kestrel {

// The desktop's own notifications: org.freedesktop.Notifications on the session bus, under
// Kestrel's name and icon, so they stand beside every other application's. Where no such service
// answers (no session bus, no notification daemon, macOS), nothing is shown here and
// undelivered() asks someone else to say it.
//
// A notification may carry a picture, which the services show beside the text, and, where the
// service offers actions, "Anzeigen": choosing it, or clicking the notification where the
// service maps a click to it, comes back as showRequested() with the notification's tag.
class DesktopNotifications : public QObject
{
    Q_OBJECT

public:
    enum class Urgency
    {
        normal,
        critical
    };

    // Pictures are sent at most this wide.
    static constexpr int widestPicture = 360;

    explicit DesktopNotifications(QObject *parent = nullptr);

    void notify(const QString &title, const QString &body, Urgency urgency,
                const QImage &picture = {}, const std::optional<QString> &tag = {});

signals:
    void undelivered(const QString &title, const QString &body,
                     kestrel::DesktopNotifications::Urgency urgency);
    void showRequested(const QString &tag);

private slots:
    void actionInvoked(uint id, const QString &action);

private:
    void send(const QString &title, const QString &body, Urgency urgency, const QImage &picture,
              const std::optional<QString> &tag);

    QHash<uint, QString> m_tags; // the notifications that offer "Anzeigen", by their id
};

} // namespace kestrel
