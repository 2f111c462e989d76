// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <array>
#include <optional>

namespace kestrel {

// Where a camera window starts: in one of the four screen corners, or wherever the user left it.
// The declaration order is the order of the pickers and the order the corner layout visits.
enum class WindowPlacement
{
    topLeft,
    topRight,
    bottomLeft,
    bottomRight,
    free
};

inline constexpr std::array<WindowPlacement, 5> allWindowPlacements{
    WindowPlacement::topLeft, WindowPlacement::topRight, WindowPlacement::bottomLeft,
    WindowPlacement::bottomRight, WindowPlacement::free};

// The stored form: "topLeft", "topRight", "bottomLeft", "bottomRight", "free".
QString rawValue(WindowPlacement placement);

// Accepts exactly the five stored forms, case-sensitively.
std::optional<WindowPlacement> windowPlacementFromRawValue(QStringView text);

// The German name the settings screen shows.
QString displayName(WindowPlacement placement);

} // namespace kestrel
