#pragma once

#include "monitor/PiStatusMonitor.h"
#include "power/HomeKitManager.h"
#include "settings/AppSettings.h"
#include "windows/WindowCoordinator.h"

#include <QWidget>

namespace kestrel {

class KeyValueStore;

// The application: creates the long-lived objects in their fixed order (settings first, since
// everything reads them; the power manager before the host monitor; the coordinator, which opens
// camera windows, last) and keeps them for the life of the process.
class KestrelApp
{
public:
    explicit KestrelApp(KeyValueStore &store);

private:
    AppSettings m_settings;
    HomeKitManager m_homeKitManager;
    PiStatusMonitor m_piStatusMonitor;
    QWidget m_mainWindow;
    WindowCoordinator m_windowCoordinator;
};

} // namespace kestrel
