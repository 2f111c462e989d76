// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QImage>
#include <QObject>

#include <chrono>
#include <functional>

namespace kestrel {

class PrinterSettings;

// The newest picture of the camera a printer shows on the wall, for a notification to carry:
// the one the wall showed last while it is fresh, else one snapshot fetched for the purpose,
// waited for a short while only, so that a dead camera never holds a notification back.
class RecentPicture : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds freshFor{5000};
    static constexpr std::chrono::milliseconds waitAtMost{2000};

    explicit RecentPicture(const PrinterSettings &settings, QObject *parent = nullptr);

    // The wall showed this picture of the camera just now.
    void remember(const QImage &picture);
    // Calls `done` with the picture, or with a null one when none came in time.
    void fetch(std::function<void(const QImage &)> done);

private:
    const PrinterSettings &m_settings;
    QImage m_picture;
    QElapsedTimer m_taken;
};

} // namespace kestrel
