// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QGroupBox>

class QLabel;
class QLineEdit;

namespace kestrel {

class Printer;

// One printer's power switch: the names of its accessory, scenes and status shortcut, its power
// state with the last action's outcome, and buttons that ask for the state and switch it.
class PowerSettingsSection : public QGroupBox
{
    Q_OBJECT

public:
    explicit PowerSettingsSection(Printer &printer, QWidget *parent = nullptr);

    void refresh();

private:
    void addButtons();
    void refreshPowerState();

    Printer &m_printer;
    QLineEdit *m_accessoryName;
    QLineEdit *m_powerOnScene;
    QLineEdit *m_statusShortcut;
    QLineEdit *m_powerOffScene;
    QLabel *m_powerState;
    QLabel *m_actionMessage;
};

} // namespace kestrel
