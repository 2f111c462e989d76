// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/TrayIcon.h"

#include "monitor/PiStatusMonitor.h"

#include <QGuiApplication>

namespace kestrel {

TrayIcon::TrayIcon(const PiStatusMonitor &monitor, QObject *parent)
    : QSystemTrayIcon(QGuiApplication::windowIcon(), parent)
{
    m_menu.addAction(tr("Kestrel anzeigen"), this, &TrayIcon::showMainWindowRequested);
    m_menu.addAction(tr("Kamerafenster synchronisieren"), this, &TrayIcon::syncWindowsRequested);
    m_menu.addAction(tr("Einstellungen…"), this, &TrayIcon::openSettingsRequested);
    m_menu.addSeparator();
    m_menu.addAction(tr("Beenden"), this, &TrayIcon::quitRequested);
    setContextMenu(&m_menu);
    connect(this, &QSystemTrayIcon::activated, this, [this](ActivationReason reason) {
        if (reason == Trigger || reason == DoubleClick)
            emit showMainWindowRequested();
    });
    const auto showState = [this](const PiReachability &state) { setToolTip(state.title()); };
    connect(&monitor, &PiStatusMonitor::reachabilityChanged, this, showState);
    showState(monitor.reachability());
}

void TrayIcon::tellStillRunning()
{
    if (std::exchange(m_told, true))
        return;
    showMessage(tr("Kestrel läuft weiter"),
                tr("Die Kamerafenster bleiben offen. Über dieses Symbol holst du das Hauptfenster "
                   "zurück oder beendest Kestrel."),
                QGuiApplication::windowIcon(), 8000);
}

} // namespace kestrel
