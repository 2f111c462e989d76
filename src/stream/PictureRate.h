// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QtGlobal>

#include <deque>
#include <optional>

namespace kestrel {

// How many pictures a camera shows per second, over the last three seconds. Times are
// milliseconds on any clock that only goes forward.
class PictureRate
{
public:
    static constexpr qint64 windowMs = 3000;

    void record(qint64 nowMs);
    // Forgets every picture: a pause is no time without pictures, so counting starts afresh.
    void restart() { *this = {}; }
    // None until a second has passed since the first picture: a single picture is no rate.
    std::optional<double> perSecond(qint64 nowMs) const;

private:
    std::deque<qint64> m_times;
    std::optional<qint64> m_first;
};

// "5,8 B/s": pictures per second with a German decimal comma.
QString pictureRateText(double perSecond);

} // namespace kestrel
