// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace kestrel {

class AppSettings;
class HomeKitManager;
class PiStatusMonitor;
class PrintStatusClient;

// The shared objects every camera window's content works with.
struct CameraWindowEnvironment
{
    AppSettings &settings;
    const PiStatusMonitor &monitor;
    HomeKitManager &homeKitManager;
    QString curlPath = QStringLiteral("/usr/bin/curl");
    const PrintStatusClient *printStatus = nullptr; // where the printer host's API is followed
};

} // namespace kestrel
