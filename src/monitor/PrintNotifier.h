// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PrintEvents.h"
#include "platform/DesktopNotifications.h"

#include <QHash>
#include <QImage>
#include <QObject>

#include <functional>

namespace kestrel {

class AppSettings;
class PrinterSettings;

// Tells the desktop when a print ends or pauses, unless the user turned that off. With several
// printers, each body begins with the name of the printer it happened on. Where someone supplies
// pictures, each notification shows the printer's camera, and asks to show its printer with the
// printer's id.
class PrintNotifier : public QObject
{
    Q_OBJECT

public:
    explicit PrintNotifier(const AppSettings &settings, QObject *parent = nullptr);

    // `stoppedHere`: Kestrel sent the printer's emergency stop a moment ago.
    void follow(const PrinterSettings &printer, const PrintStatus &status,
                bool stoppedHere = false);
    DesktopNotifications &notifications() { return m_notifications; }

    // Hands the printer's recent picture, or a null one, to the callback, now or soon.
    using PictureSupply =
        std::function<void(const PrinterSettings &, std::function<void(const QImage &)>)>;
    void setPictureSupply(PictureSupply supply) { m_pictures = std::move(supply); }

private:
    const AppSettings &m_settings;
    QHash<QString, PrintEvents> m_events; // by printer id
    DesktopNotifications m_notifications;
    PictureSupply m_pictures;
};

} // namespace kestrel
