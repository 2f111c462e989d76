#include "app/EventLoopProbe.h"

#include <QLoggingCategory>

namespace kestrel {

Q_LOGGING_CATEGORY(lcEventLoop, "kestrel.eventloop", QtWarningMsg)

EventLoopProbe::EventLoopProbe(QObject *parent) : QObject(parent)
{
    m_tick.setTimerType(Qt::PreciseTimer);
    m_tick.setInterval(1);
    connect(&m_tick, &QTimer::timeout, this, [this] {
        m_worstNs = std::max(m_worstNs, m_sinceTick.nsecsElapsed() - 1'000'000);
        m_sinceTick.restart();
    });
    m_report.setInterval(1000);
    connect(&m_report, &QTimer::timeout, this, [this] {
        qCDebug(lcEventLoop, "worst stall %.2f ms", m_worstNs / 1e6);
        m_worstNs = 0;
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
