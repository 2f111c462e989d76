#pragma once

#include <QString>

namespace kestrel {

class AppSettings;
class HomeKitManager;
class PiStatusMonitor;
class WindowCoordinator;

// The shared objects every camera window's content works with.
struct CameraWindowEnvironment
{
    AppSettings &settings;
    const PiStatusMonitor &monitor;
    HomeKitManager &homeKitManager;
    WindowCoordinator &coordinator;
    QString curlPath = QStringLiteral("/usr/bin/curl");
};

} // namespace kestrel
