// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/Camera.h"
#include "settings/CameraOrientation.h"
#include "settings/WindowPlacement.h"

#include <QMap>
#include <QString>

#include <set>

namespace kestrel {

// Ordered, so that the selection is written in ascending order without an extra sort.
using CameraIdSet = std::set<CameraId>;
using CameraTextMap = QMap<CameraId, QString>;
using PlacementMap = QMap<CameraId, WindowPlacement>;
// Only cameras whose picture is turned have an entry.
using OrientationMap = QMap<CameraId, CameraOrientation>;

} // namespace kestrel
