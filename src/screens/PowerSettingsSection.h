// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QGroupBox>

class QLabel;
class QLineEdit;
class QPushButton;

namespace kestrel {

class Printer;
class PrinterList;

// One printer's power switch: the names of its accessory, scenes and status shortcut, a warning
// where another printer names the same scene, its power state with the last action's outcome,
// and buttons that ask for the state and switch it.
class PowerSettingsSection : public QGroupBox
{
    Q_OBJECT

public:
    PowerSettingsSection(Printer &printer, const PrinterList &printers, QWidget *parent = nullptr);

    void refresh();

private:
    void addButtons();
    void refreshPowerState();
    QString switchedName() const;

    Printer &m_printer;
    const PrinterList &m_printers;
    QLineEdit *m_accessoryName;
    QLineEdit *m_powerOnScene;
    QLineEdit *m_statusShortcut;
    QLineEdit *m_powerOffScene;
    QLabel *m_sharedScenes;
    QLabel *m_powerState;
    QLabel *m_actionMessage;
    QPushButton *m_powerOn = nullptr;
    QPushButton *m_powerOff = nullptr;
};

} // namespace kestrel
