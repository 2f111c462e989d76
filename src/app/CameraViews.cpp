// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/CameraViews.h"

#include "camera/CameraWindowView.h"

namespace kestrel {

CameraViewFactory cameraWindowViews(const CameraWindowEnvironment &environment)
{
    return [environment](const Camera &camera, WindowCoordinator &coordinator) {
        auto *view = new CameraWindowView(camera, environment);
        // Queued: switching replaces this very view, which must not happen inside its menu.
        QObject::connect(view, &CameraWindowView::cameraSwitchRequested, &coordinator,
                         &WindowCoordinator::replaceCamera, Qt::QueuedConnection);
        return view;
    };
}

} // namespace kestrel
