// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <vector>

namespace kestrel {

// Measures how late the event loop runs a 1 ms timer and logs the worst delay and the 99th
// percentile once a second under "kestrel.eventloop". The application makes one only when that
// category is enabled, so normally it costs nothing.
class EventLoopProbe : public QObject
{
    Q_OBJECT

public:
    explicit EventLoopProbe(QObject *parent = nullptr);

    static bool wanted();

private:
    QTimer m_tick;
    QTimer m_report;
    QElapsedTimer m_sinceTick;
    std::vector<qint64> m_delaysNs; // of this second's ticks
};

} // namespace kestrel
