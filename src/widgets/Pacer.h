// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTimer>

#include <chrono>
#include <functional>

namespace kestrel {

// Does its work at once, then at most once an interval: whatever asks meanwhile is done once, as
// the interval ends. Work that cannot wait is done at once all the same, and the interval begins
// anew. A screen that follows several updates a second of many printers stays readable, and
// laying it out and painting it costs a fraction.
class Pacer
{
public:
    Pacer(std::chrono::milliseconds interval, std::function<void()> work);

    void request(bool urgent = false);

private:
    void work();

    QTimer m_rest;
    std::function<void()> m_work;
    bool m_waiting = false;
};

} // namespace kestrel
