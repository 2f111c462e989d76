// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "screens/PrinterPage.h"

#include <QPointer>
#include <QWidget>

class QCheckBox;
class QHBoxLayout;
class QListWidget;
class QPushButton;

namespace kestrel {

class Printer;
class PrinterList;

// The settings window: the options for all printers on top, then the list of printers beside
// the page of the one chosen in it. Every edit is assigned and written at once, with no save
// step.
class SettingsView : public QWidget
{
    Q_OBJECT

public:
    explicit SettingsView(PrinterList &printers, QWidget *parent = nullptr);

signals:
    // "Vom Drucker übernehmen" changed a printer's cameras: its open windows should show them as
    // they are now.
    void camerasTakenOver(kestrel::Printer *printer);

protected:
    void showEvent(QShowEvent *event) override;

private:
    QWidget *globalSection();
    QWidget *printerListColumn();
    // Shows the page of the printer with this id; the first printer's is empty.
    void choosePrinter(const QString &printerID);
    void showPage(Printer *printer);
    void refreshList();
    void refreshGlobals();
    void askToRemove();
    void alignFieldColumns();
    void fitHeightToScreen();
    void showAutostart();

    PrinterList &m_printers;
    QCheckBox *m_alwaysOnTop = nullptr;
    QCheckBox *m_notifyPrintEvents = nullptr;
    QCheckBox *m_autostart = nullptr; // only where desktops read an autostart folder
    QListWidget *m_list = nullptr;
    QPushButton *m_remove = nullptr;
    QHBoxLayout *m_pageRow = nullptr;
    QPointer<PrinterPage> m_page;
    bool m_watchingFrame = false;
};

} // namespace kestrel
