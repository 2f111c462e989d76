// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMenu>
#include <QSystemTrayIcon>

namespace kestrel {

class Printer;
class PrinterList;

// Kestrel's icon in the desktop's tray, where one exists: it keeps Kestrel within reach while
// only the camera windows are open. A click brings the main window; its menu also opens the
// printer wall, syncs the camera windows, opens the settings and quits. Its tooltip is the printer
// host's state; with several printers, one line per printer with its name and its print, or its
// host's state.
class TrayIcon : public QSystemTrayIcon
{
    Q_OBJECT

public:
    explicit TrayIcon(const PrinterList &printers, QObject *parent = nullptr);

    // Says, once per run, that closing the main window left Kestrel running here.
    void tellStillRunning();

signals:
    void showMainWindowRequested();
    void openWallRequested();
    void syncWindowsRequested();
    void openSettingsRequested();
    void quitRequested();

private:
    void follow(const Printer *printer);
    void refreshToolTip();

    const PrinterList &m_printers;
    QMenu m_menu;
    bool m_told = false;
};

} // namespace kestrel
