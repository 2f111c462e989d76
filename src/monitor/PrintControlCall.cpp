// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/PrintControlCall.h"

namespace kestrel {

PrintControlCall::PrintControlCall(PrintControl control, std::chrono::milliseconds slow,
                                   std::chrono::milliseconds giveUp, QObject *parent)
    : QObject(parent), m_control(control)
{
    m_slow.setSingleShot(true);
    connect(&m_slow, &QTimer::timeout, this, &PrintControlCall::slow);
    m_slow.start(slow);
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, this,
            [this] { fail(tr("Der Drucker antwortet nicht")); });
    m_patience.start(giveUp);
}

void PrintControlCall::succeed()
{
    if (std::exchange(m_done, true))
        return;
    m_slow.stop();
    m_patience.stop();
    emit succeeded();
    deleteLater();
}

void PrintControlCall::fail(const QString &why)
{
    if (std::exchange(m_done, true))
        return;
    m_slow.stop();
    m_patience.stop();
    emit failed(controlFailure(m_control, why));
    deleteLater();
}

} // namespace kestrel
