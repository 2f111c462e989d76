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
    bool isOwnStop = false; // the user's own emergency stop from Kestrel, told as such

    friend bool operator==(const PrintEvent &, const PrintEvent &) = default;
};

// Turns the stream of print states into events: a print that ends (complete, failed, cancelled,
// or stopped by Klipper shutting down) after printing or pausing, or that pauses while printing.
// One change of state is one event, however often the host repeats the state. What Kestrel
// finds first is only where it starts counting: a print that finished yesterday is no news. A
// lost connection is no new start, though: the same print found ended once it is back is told.
class PrintEvents
{
public:
    // `stoppedHere`: Kestrel sent the emergency stop a moment ago, so a shutdown is the user's
    // own doing, not a failure.
    std::optional<PrintEvent> next(const PrintStatus &status, bool stoppedHere = false);

private:
    struct Seen
    {
        PrintStatus::State state;
        QString filename;
    };
    std::optional<Seen> m_last;
};

} // namespace kestrel
