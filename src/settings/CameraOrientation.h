// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

namespace kestrel {

// How a camera's picture is turned upright: first a clockwise quarter-turn rotation, then a
// mirroring of what shows. Cameras are often mounted sideways or upside down. The default leaves
// the picture as the camera sends it.
struct CameraOrientation
{
    int rotation = 0; // degrees: 0, 90, 180 or 270
    bool mirrorHorizontal = false;
    bool mirrorVertical = false;

    bool isSideways() const { return rotation == 90 || rotation == 270; }
    bool isUnchanged() const { return *this == CameraOrientation{}; }
    friend bool operator==(const CameraOrientation &, const CameraOrientation &) = default;
};

// As kept in the settings: the rotation as "90", "180" or "270", the mirroring as "horizontal",
// "vertical" or "both". No text stands for the default.
QString rotationText(const CameraOrientation &orientation);
QString mirroringText(const CameraOrientation &orientation);
// Null for any other word; the empty text and "0" are no rotation, "none" no mirroring.
std::optional<int> rotationFromText(QStringView text);
std::optional<std::pair<bool, bool>> mirroringFromText(QStringView text);

} // namespace kestrel
