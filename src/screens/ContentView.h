// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PiReachability.h"

#include <QPointer>
#include <QWidget>

#include <functional>

class QLabel;
class QPushButton;
class QVBoxLayout;

namespace kestrel {

class AppSettings;
class HomeKitManager;
class PiStatusMonitor;
class PrintLineLabel;
class PrintStatusClient;
class StartupInfoView;
class SymbolLabel;
class WindowCoordinator;

// The main window's content: the printer address, whether the host answers, the power state,
// the last power action's outcome, the selected cameras, and the commands that open the camera
// windows, open the settings, close all camera windows and quit. While the host does not answer
// it offers to switch the printer on, and it decides when the start-up prompt shows.
class ContentView : public QWidget
{
    Q_OBJECT

public:
    ContentView(AppSettings &settings, HomeKitManager &homeKitManager,
                const PiStatusMonitor &monitor, WindowCoordinator &coordinator,
                std::function<void()> openSettings, const PrintStatusClient *printStatus = nullptr,
                QWidget *parent = nullptr);

    // The start-up prompt, shown as a sheet on this window while true.
    bool showsStartupInfo() const;
    void setShowStartupInfo(bool show);

    // At least 640 x 360, and as tall as the wrapped texts need at the width it has: status
    // lines come and go, and the window grows with them instead of squeezing the rows.
    QSize minimumSizeHint() const override;

protected:
    void showEvent(QShowEvent *event) override;

private:
    void refresh();
    void reachabilityChanged(const PiReachability &reachability);
    void powerOn();
    void refreshPrintStatus();

    AppSettings &m_settings;
    HomeKitManager &m_homeKitManager;
    const PiStatusMonitor &m_monitor;
    WindowCoordinator &m_coordinator;
    const PrintStatusClient *m_printStatus;

    SymbolLabel *m_address;
    SymbolLabel *m_hostState;
    QLabel *m_hostDetail;
    PrintLineLabel *m_printLine;
    QWidget *m_powerOnRow;
    QLabel *m_powerState;
    QLabel *m_actionMessage;
    QList<std::pair<SymbolLabel *, QLabel *>> m_cameraRows;
    QPointer<StartupInfoView> m_startupInfo;
    PiReachability m_lastReachability;
};

} // namespace kestrel
