// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace kestrel {

class AppSettings;
class HomeKitManager;
class PiStatusMonitor;

// The shared objects every camera window's content works with.
struct CameraWindowEnvironment
{
    AppSettings &settings;
    const PiStatusMonitor &monitor;
    HomeKitManager &homeKitManager;
    QString curlPath = QStringLiteral("/usr/bin/curl");
};

} // namespace kestrel
