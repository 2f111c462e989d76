// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PiReachability.h"
#include "monitor/PrintStatus.h"
#include "screens/StartupInfoView.h"
#include "widgets/Pacer.h"

#include <QPointer>
#include <QWidget>

class QLabel;
class QPushButton;

namespace kestrel {

class Printer;
class PrinterList;
class PrintControls;
class PrintLineLabel;
class SymbolLabel;

// One printer in the main window: its address, whether its host answers, the print's line with
// the temperatures and the print's controls, the power state with the last power action's outcome,
// and its cameras. While the host does not answer it offers to switch the printer on, and it
// decides when the printer's start-up prompt shows. Alone, the printer gets the full view with a
// row per camera; among several, a compact card under the printer's name, with its cameras on one
// line and a power button of its own.
class PrinterPanel : public QWidget
{
    Q_OBJECT

public:
    enum class Style
    {
        full,
        card
    };

    // The print's controls belong to the window, which keeps them while panels come and go.
    PrinterPanel(Printer &printer, const PrinterList &printers, Style style,
                 PrintControls &controls, QWidget *parent = nullptr);

    Printer &printer() const { return m_printer; }

    // The start-up prompt, standing over the main window while true.
    bool showsStartupInfo() const { return m_startupInfo != nullptr; }
    void setShowStartupInfo(bool show);
    // The main window came up: the power state is asked anew and a host that is down is told.
    void appear();

private:
    void addCameraRows();
    QWidget *makePowerOnRow();
    void refresh();
    void refreshCameras();
    void refreshPrintStatus();
    void reachabilityChanged(const PiReachability &reachability);
    void askToStartIfDown();
    void decline();
    void powerOn();

    Printer &m_printer;
    const PrinterList &m_printers;
    const Style m_style;

    QLabel *m_name = nullptr;
    SymbolLabel *m_address;
    SymbolLabel *m_hostState;
    QLabel *m_hostDetail;
    PrintLineLabel *m_printLine;
    QString m_printText;
    QLabel *m_temperatures;
    Pacer m_printPace;
    QWidget *m_powerOnRow = nullptr;
    QPushButton *m_powerOn = nullptr;
    QLabel *m_powerState;
    QPushButton *m_powerOff = nullptr;
    QLabel *m_actionMessage;
    QList<std::pair<SymbolLabel *, QLabel *>> m_cameraRows;
    QLabel *m_cameraLine = nullptr;
    QPointer<StartupInfoView> m_startupInfo;
    PiReachability m_lastReachability;
    bool m_declined = false; // "Abbrechen" since the host last answered
};

} // namespace kestrel
