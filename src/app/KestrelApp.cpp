#include "app/KestrelApp.h"

namespace kestrel {

KestrelApp::KestrelApp(KeyValueStore &store)
    : m_settings(store), m_homeKitManager(m_settings), m_piStatusMonitor(m_settings),
      m_windowCoordinator(m_settings, m_piStatusMonitor, m_homeKitManager)
{
    m_mainWindow.setWindowTitle(QStringLiteral("Kestrel"));
    m_mainWindow.resize(640, 360);
    m_mainWindow.show();
}

} // namespace kestrel
