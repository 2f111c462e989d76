// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "camera/CameraWindowEnvironment.h"
#include "windows/WindowCoordinator.h"

namespace kestrel {

// The contents of camera windows: a camera window view over the shared objects, whose camera
// menu switches the window through the coordinator.
CameraViewFactory cameraWindowViews(const CameraWindowEnvironment &environment);

} // namespace kestrel
