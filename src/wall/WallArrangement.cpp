// SPDX-License-Identifier: GPL-3.0-or-later
#include "wall/WallArrangement.h"

#include <algorithm>
#include <limits>

namespace kestrel {

int urgency(const TileFacts &facts)
{
    using State = PrintStatus::State;
    if (facts.offline)
        return 5;
    switch (facts.state) {
    case State::error:
    case State::shutdown:
    case State::klippyNotReady:
        return 0;
    case State::paused:
        return 1;
    case State::printing:
        return 2;
    case State::complete:
    case State::cancelled:
        return 3;
    case State::none:
    case State::unauthorized:
    case State::apiUnavailable:
    case State::standby:
        break;
    }
    return 4;
}

QList<qsizetype> arrangeTiles(const QList<TileFacts> &facts, WallOrder order, bool hideOffline)
{
    QList<qsizetype> places;
    for (qsizetype i = 0; i < facts.size(); ++i) {
        if (!(hideOffline && facts[i].offline))
            places.append(i);
    }
    const auto timeLeft = [&](qsizetype i) {
        const TileFacts &tile = facts[i];
        const bool underWay = !tile.offline && (tile.state == PrintStatus::State::printing ||
                                                tile.state == PrintStatus::State::paused);
        return underWay ? tile.secondsLeft.value_or(std::numeric_limits<double>::max() / 2)
                        : std::numeric_limits<double>::max();
    };
    switch (order) {
    case WallOrder::printers:
        break;
    case WallOrder::timeLeft:
        std::stable_sort(places.begin(), places.end(),
                         [&](qsizetype a, qsizetype b) { return timeLeft(a) < timeLeft(b); });
        break;
    case WallOrder::state:
        std::stable_sort(places.begin(), places.end(), [&](qsizetype a, qsizetype b) {
            return urgency(facts[a]) < urgency(facts[b]);
        });
        break;
    }
    return places;
}

} // namespace kestrel
