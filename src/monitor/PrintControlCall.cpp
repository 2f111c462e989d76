// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/PrintControlCall.h"

namespace kestrel {

PrintControlCall::PrintControlCall(PrintControl control, std::chrono::milliseconds patience,
                                   QObject *parent)
    : QObject(parent), m_control(control)
{
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, this,
            [this] { fail(tr("Der Drucker antwortet nicht")); });
    m_patience.start(patience);
}

void PrintControlCall::succeed()
{
    if (std::exchange(m_done, true))
        return;
    m_patience.stop();
    emit succeeded();
    deleteLater();
}

void PrintControlCall::fail(const QString &why)
{
    if (std::exchange(m_done, true))
        return;
    m_patience.stop();
    emit failed(controlFailure(m_control, why));
    deleteLater();
}

} // namespace kestrel
