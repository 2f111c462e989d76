// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

#include <functional>

class QScrollArea;
class QVBoxLayout;

namespace kestrel {

class Printer;
class PrinterList;
class PrinterPanel;
class PrintControls;
class WindowCoordinator;

// The main window's content: what each printer is doing (see PrinterPanel), and the commands
// that open the camera windows, open the settings, close all camera windows and quit. One
// printer fills the window as it always has; several get a card each, in their order, in a list
// that scrolls, and the window opens tall enough for three of them where the screen allows. A
// printer that comes or goes adds or takes its own card; the others stay as they are, and each
// printer's controls, with their open questions, stay through every change.
class ContentView : public QWidget
{
    Q_OBJECT

public:
    ContentView(PrinterList &printers, WindowCoordinator &coordinator,
                std::function<void()> openSettings, QWidget *parent = nullptr);

    // Whether the start-up prompt of a printer (the first one's id is empty) is shown.
    bool showsStartupInfo(const QString &printerID = {}) const;
    PrinterPanel *panel(const QString &printerID = {}) const;

    // At least 640 x 360, and as tall as the wrapped texts need at the width it has: status
    // lines come and go, and the window grows with them instead of squeezing the rows.
    QSize minimumSizeHint() const override;
    QSize sizeHint() const override;

protected:
    void showEvent(QShowEvent *event) override;

private:
    void rebuildPanels();
    void addCard(Printer *printer);
    void removeCard(Printer *printer);
    QWidget *card(Printer &printer);

    PrinterList &m_printers;
    WindowCoordinator &m_coordinator;
    QVBoxLayout *m_panels;
    QWidget *m_shownPanels = nullptr;
    QVBoxLayout *m_cards = nullptr; // with several printers
    QList<PrinterPanel *> m_panelList;
    QHash<const Printer *, PrintControls *> m_controls;
};

} // namespace kestrel
