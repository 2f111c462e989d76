// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "windows/PrinterWindows.h"

namespace kestrel {

class AppSettings;

// The contents of camera windows: a camera window view of its printer, whose camera menu
// switches the window through that printer's windows.
CameraViewFactory cameraWindowViews(AppSettings &settings,
                                    const QString &curlPath = QStringLiteral("/usr/bin/curl"));

} // namespace kestrel
