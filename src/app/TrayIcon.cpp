// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/TrayIcon.h"

#include "printers/PrinterList.h"

#include <QGuiApplication>

namespace kestrel {

TrayIcon::TrayIcon(const PrinterList &printers, QObject *parent)
    : QSystemTrayIcon(QGuiApplication::windowIcon(), parent), m_printers(printers)
{
    m_menu.addAction(tr("Kestrel anzeigen"), this, &TrayIcon::showMainWindowRequested);
    m_menu.addAction(tr("Druckerwand"), this, &TrayIcon::openWallRequested);
    m_menu.addAction(tr("Kamerafenster synchronisieren"), this, &TrayIcon::syncWindowsRequested);
    m_menu.addAction(tr("Einstellungen…"), this, &TrayIcon::openSettingsRequested);
    m_menu.addSeparator();
    m_menu.addAction(tr("Beenden"), this, &TrayIcon::quitRequested);
    setContextMenu(&m_menu);
    connect(this, &QSystemTrayIcon::activated, this, [this](ActivationReason reason) {
        if (reason == Trigger || reason == DoubleClick)
            emit showMainWindowRequested();
    });
    for (const Printer *printer : printers.printers())
        follow(printer);
    connect(&printers, &PrinterList::printerAdded, this, [this](const Printer *printer) {
        follow(printer);
        refreshToolTip();
    });
    // Queued: the printer that goes is still in the list while it is announced.
    connect(&printers, &PrinterList::printerRemoving, this, &TrayIcon::refreshToolTip,
            Qt::QueuedConnection);
    refreshToolTip();
}

void TrayIcon::follow(const Printer *printer)
{
    connect(&printer->monitor(), &PiStatusMonitor::reachabilityChanged, this,
            &TrayIcon::refreshToolTip);
    connect(&printer->printStatus(), &PrintStatusClient::statusChanged, this,
            &TrayIcon::refreshToolTip);
    connect(&printer->settings(), &PrinterSettings::changed, this, &TrayIcon::refreshToolTip);
}

void TrayIcon::refreshToolTip()
{
    QString text = m_printers.first().monitor().reachability().title();
    if (m_printers.isSeveral()) {
        QStringList lines;
        for (const Printer *printer : m_printers.printers()) {
            const QString print = printer->printStatus().line().text();
            lines.append(printer->settings().displayName() + QStringLiteral(": ") +
                         (print.isEmpty() ? printer->monitor().reachability().title() : print));
        }
        text = lines.join(u'\n');
    }
    // The tray is told only of a new text: a print's updates mostly change nothing shown.
    if (toolTip() != text)
        setToolTip(text);
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
