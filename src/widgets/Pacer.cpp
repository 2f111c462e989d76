// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/Pacer.h"

#include <utility>

namespace kestrel {

Pacer::Pacer(std::chrono::milliseconds interval, std::function<void()> work)
    : m_work(std::move(work))
{
    m_rest.setSingleShot(true);
    m_rest.setInterval(interval);
    QObject::connect(&m_rest, &QTimer::timeout, &m_rest, [this] {
        if (std::exchange(m_waiting, false))
            this->work();
    });
}

void Pacer::request(bool urgent)
{
    if (m_rest.isActive() && !urgent) {
        m_waiting = true;
        return;
    }
    work();
}

void Pacer::work()
{
    m_waiting = false;
    m_rest.start();
    m_work();
}

} // namespace kestrel
