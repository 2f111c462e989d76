// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/EventLoopProbe.h"

#include <QLoggingCategory>

#include <algorithm>

namespace kestrel {

Q_LOGGING_CATEGORY(lcEventLoop, "kestrel.eventloop", QtWarningMsg)

EventLoopProbe::EventLoopProbe(QObject *parent) : QObject(parent)
{
    m_tick.setTimerType(Qt::PreciseTimer);
    m_tick.setInterval(1);
    m_delaysNs.reserve(1000);
    connect(&m_tick, &QTimer::timeout, this, [this] {
        m_delaysNs.push_back(std::max<qint64>(m_sinceTick.nsecsElapsed() - 1'000'000, 0));
        m_sinceTick.restart();
    });
    m_report.setInterval(1000);
    connect(&m_report, &QTimer::timeout, this, [this] {
        if (m_delaysNs.empty())
            return;
        std::sort(m_delaysNs.begin(), m_delaysNs.end());
        const qint64 p99 = m_delaysNs[m_delaysNs.size() * 99 / 100];
        qCDebug(lcEventLoop, "worst stall %.2f ms, p99 %.2f ms", m_delaysNs.back() / 1e6,
                p99 / 1e6);
        m_delaysNs.clear();
    });
    m_sinceTick.start();
    m_tick.start();
    m_report.start();
}

bool EventLoopProbe::wanted()
{
    return lcEventLoop().isDebugEnabled();
}

} // namespace kestrel
