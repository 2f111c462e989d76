// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/CameraViews.h"

#include "camera/CameraWindowView.h"

namespace kestrel {

CameraViewFactory cameraWindowViews(AppSettings &settings, const QString &curlPath)
{
    return [&settings, curlPath](Printer &printer, const Camera &camera, PrinterWindows &windows,
                                 PrintControls &controls) {
        auto *view = new CameraWindowView(camera, {settings, printer, curlPath}, controls);
        // Queued: switching replaces this very view, which must not happen inside its menu.
        QObject::connect(view, &CameraWindowView::cameraSwitchRequested, &windows,
                         &PrinterWindows::replaceCamera, Qt::QueuedConnection);
        return view;
    };
}

} // namespace kestrel
