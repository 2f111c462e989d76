// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PrintStatus.h"
#include "settings/WallSettings.h"

#include <QList>

#include <optional>

namespace kestrel {

// What the wall's order goes by, for one printer.
struct TileFacts
{
    PrintStatus::State state = PrintStatus::State::none;
    bool offline = false;
    std::optional<double> secondsLeft; // while a print runs or waits
};

// How much a printer needs the user: errors and a stopped Klipper first, then paused, printing,
// finished, idle and, last, offline.
int urgency(const TileFacts &facts);

// The places of the tiles, as indices into `facts` (which is in the printers' order): sorted as
// `order` says, ties kept in the printers' order, offline printers left out where hidden.
QList<qsizetype> arrangeTiles(const QList<TileFacts> &facts, WallOrder order, bool hideOffline);

} // namespace kestrel
