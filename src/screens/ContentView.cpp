// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/ContentView.h"

#include "printers/PrinterList.h"
#include "screens/PrinterPanel.h"
#include "widgets/SecondaryText.h"
#include "widgets/TextStyles.h"
#include "windows/WindowCoordinator.h"

#include <QCoreApplication>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

namespace kestrel {

ContentView::ContentView(PrinterList &printers, WindowCoordinator &coordinator,
                         std::function<void()> openSettings, QWidget *parent)
    : QWidget(parent), m_printers(printers), m_coordinator(coordinator), m_panels(new QVBoxLayout)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 24, 24, 24);
    layout->setSpacing(18);

    auto *title = new QLabel(QStringLiteral("Kestrel"), this);
    title->setFont(textStyles::fixed(30, QFont::Bold));
    layout->addWidget(title);
    auto *description = secondaryText(QString(), this, textStyles::body());
#if defined(Q_OS_MACOS)
    description->setText(tr("Zeigt die per Crowsnest bereitgestellten Kameras deines "
                            "Klipper-Druckers als frei verschiebbare PiP-Fenster auf dem Mac an."));
#else
    description->setText(tr("Zeigt die per Crowsnest bereitgestellten Kameras deines "
                            "Klipper-Druckers als frei verschiebbare PiP-Fenster auf dem Desktop "
                            "an."));
#endif
    layout->addWidget(description);
    m_panels->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(m_panels, 1);

    auto *commands = new QHBoxLayout;
    commands->setSpacing(12);
    auto *openWindows = new QPushButton(tr("Kamerafenster öffnen"), this);
    auto *openSettingsButton = new QPushButton(tr("Einstellungen öffnen"), this);
    auto *closeAll = new QPushButton(tr("Alle Fenster schließen"), this);
    auto *quit = new QPushButton(tr("Beenden"), this);
    for (QPushButton *button : {openWindows, openSettingsButton, closeAll, quit})
        commands->addWidget(button);
    commands->addStretch();
    connect(openWindows, &QPushButton::clicked, &coordinator, &WindowCoordinator::syncWindows);
    connect(openSettingsButton, &QPushButton::clicked, this, std::move(openSettings));
    connect(closeAll, &QPushButton::clicked, this, [this] {
        for (Printer *printer : m_printers.printers())
            printer->settings().setSelectedCameraIDs({});
        m_coordinator.closeAllWindows();
    });
    connect(quit, &QPushButton::clicked, qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    layout->addLayout(commands);

    // Queued: a printer that goes is still in the list while it is announced.
    connect(&printers, &PrinterList::printerAdded, this, &ContentView::rebuildPanels);
    connect(&printers, &PrinterList::printerRemoving, this, &ContentView::rebuildPanels,
            Qt::QueuedConnection);
    rebuildPanels();
}

// A new printer or one less: every panel is made anew, since one printer and several look
// different. Prompts that were open close with their panels.
void ContentView::rebuildPanels()
{
    while (QLayoutItem *item = m_panels->takeAt(0))
        delete item;
    delete m_shownPanels;
    m_panelList.clear();
    if (!m_printers.isSeveral()) {
        auto *panel = new PrinterPanel(m_printers.first(), m_printers, PrinterPanel::Style::full);
        m_panelList.append(panel);
        m_shownPanels = panel;
    } else {
        auto *cards = new QWidget;
        auto *list = new QVBoxLayout(cards);
        list->setSpacing(12);
        for (Printer *printer : m_printers.printers()) {
            auto *frame = new QFrame(cards);
            frame->setFrameShape(QFrame::StyledPanel);
            auto *inside = new QVBoxLayout(frame);
            auto *panel = new PrinterPanel(*printer, m_printers, PrinterPanel::Style::card, frame);
            inside->addWidget(panel);
            list->addWidget(frame);
            m_panelList.append(panel);
        }
        list->addStretch();
        auto *scroll = new QScrollArea;
        scroll->setWidget(cards);
        scroll->setWidgetResizable(true);
        scroll->setFrameShape(QFrame::NoFrame);
        m_shownPanels = scroll;
    }
    m_panels->addWidget(m_shownPanels);
    if (!m_printers.isSeveral())
        m_panels->addStretch();
    updateGeometry();
}

PrinterPanel *ContentView::panel(const QString &printerID) const
{
    for (PrinterPanel *panel : m_panelList) {
        if (panel->printer().id() == printerID)
            return panel;
    }
    return nullptr;
}

bool ContentView::showsStartupInfo(const QString &printerID) const
{
    const PrinterPanel *shown = panel(printerID);
    return shown && shown->showsStartupInfo();
}

QSize ContentView::minimumSizeHint() const
{
    constexpr QSize smallest(640, 360);
    if (m_printers.isSeveral())
        return smallest; // the cards scroll
    const int width = std::max(this->width(), smallest.width());
    return {smallest.width(), std::max(smallest.height(), layout()->totalHeightForWidth(width))};
}

void ContentView::showEvent(QShowEvent *)
{
    for (PrinterPanel *panel : std::as_const(m_panelList))
        panel->appear();
    m_coordinator.syncWindows();
}

} // namespace kestrel
