// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class QLineEdit;

namespace kestrel {

class CameraSettingsSection;
class PowerSettingsSection;
class Printer;
class PrinterList;

// Everything the user sets for one printer: its name, address and API key, its cameras, and its
// power switch. Each keystroke, toggle and choice is assigned and written at once.
class PrinterPage : public QWidget
{
    Q_OBJECT

public:
    PrinterPage(Printer &printer, const PrinterList &printers, QWidget *parent = nullptr);

    ~PrinterPage() override;

    Printer &printer() const { return m_printer; }

signals:
    // "Vom Drucker übernehmen" changed cameras: open windows should show them as they are now.
    void camerasTakenOver();

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    QWidget *printerSection();
    void refresh();

    Printer &m_printer;
    QLineEdit *m_name = nullptr;
    QLineEdit *m_printerIP = nullptr;
    QLineEdit *m_apiKey = nullptr;
    CameraSettingsSection *m_cameras;
    PowerSettingsSection *m_power;
};

} // namespace kestrel
