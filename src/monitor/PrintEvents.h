// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PrintStatus.h"

#include <optional>

namespace kestrel {

// A print ending or stopping, worth telling the user about.
struct PrintEvent
{
    QString title;
    QString body;
    bool isError = false;

    friend bool operator==(const PrintEvent &, const PrintEvent &) = default;
};

// Turns the stream of print states into events: a print that ends (complete, failed, cancelled)
// after printing or pausing, or that pauses while printing. One change of state is one event,
// however often the host repeats the state. What a connection finds first is only where it
// starts counting: a print that finished yesterday is no news.
class PrintEvents
{
public:
    std::optional<PrintEvent> next(const PrintStatus &status);

private:
    std::optional<PrintStatus::State> m_last;
};

} // namespace kestrel
