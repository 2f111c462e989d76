// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMenu>
#include <QSystemTrayIcon>

namespace kestrel {

class PiStatusMonitor;

// Kestrel's icon in the desktop's tray, where one exists: it keeps Kestrel within reach while
// only the camera windows are open. A click brings the main window; its menu also syncs the
// camera windows, opens the settings and quits. Its tooltip is the printer host's state.
class TrayIcon : public QSystemTrayIcon
{
    Q_OBJECT

public:
    explicit TrayIcon(const PiStatusMonitor &monitor, QObject *parent = nullptr);

    // Says, once per run, that closing the main window left Kestrel running here.
    void tellStillRunning();

signals:
    void showMainWindowRequested();
    void syncWindowsRequested();
    void openSettingsRequested();
    void quitRequested();

private:
    QMenu m_menu;
    bool m_told = false;
};

} // namespace kestrel
