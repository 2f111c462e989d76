// SPDX-License-Identifier: GPL-3.0-or-later
#include "stream/PictureRate.h"

#include <QLocale>

#include <algorithm>

namespace kestrel {

void PictureRate::record(qint64 nowMs)
{
    if (!m_first)
        m_first = nowMs;
    m_times.push_back(nowMs);
    while (m_times.front() <= nowMs - windowMs)
        m_times.pop_front();
}

std::optional<double> PictureRate::perSecond(qint64 nowMs) const
{
    if (!m_first || nowMs - *m_first < 1000)
        return std::nullopt;
    const auto counted = std::count_if(m_times.cbegin(), m_times.cend(),
                                       [&](qint64 time) { return time > nowMs - windowMs; });
    // Shortly after the start the window is not full yet; it is as long as the time since then.
    return double(counted) * 1000 / double(std::min(windowMs, nowMs - *m_first));
}

QString pictureRateText(double perSecond)
{
    return QLocale(QLocale::German).toString(perSecond, 'f', 1) + QStringLiteral(" B/s");
}

} // namespace kestrel
