// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/ContentView.h"

#include "camera/PrintControls.h"
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
#include <QScreen>
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

    for (Printer *printer : printers.printers())
        m_controls.insert(printer, new PrintControls(*printer, this));
    connect(&printers, &PrinterList::printerAdded, this, &ContentView::addCard);
    connect(&printers, &PrinterList::printerRemoving, this, &ContentView::removeCard);
    rebuildPanels();
}

// One printer and several look different: going from one to the other makes every panel anew.
// A start-up prompt that was open closes with its panel; the controls' questions stay.
void ContentView::rebuildPanels()
{
    while (QLayoutItem *item = m_panels->takeAt(0))
        delete item;
    delete m_shownPanels;
    m_panelList.clear();
    m_cards = nullptr;
    if (!m_printers.isSeveral()) {
        Printer &printer = m_printers.first();
        auto *panel = new PrinterPanel(printer, m_printers, PrinterPanel::Style::full,
                                       *m_controls.value(&printer));
        m_panelList.append(panel);
        m_shownPanels = panel;
    } else {
        auto *cards = new QWidget;
        m_cards = new QVBoxLayout(cards);
        m_cards->setSpacing(12);
        for (Printer *printer : m_printers.printers())
            m_cards->addWidget(card(*printer));
        m_cards->addStretch();
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

QWidget *ContentView::card(Printer &printer)
{
    auto *frame = new QFrame;
    frame->setFrameShape(QFrame::StyledPanel);
    auto *inside = new QVBoxLayout(frame);
    auto *panel = new PrinterPanel(printer, m_printers, PrinterPanel::Style::card,
                                   *m_controls.value(&printer), frame);
    inside->addWidget(panel);
    m_panelList.append(panel);
    return frame;
}

void ContentView::addCard(Printer *printer)
{
    m_controls.insert(printer, new PrintControls(*printer, this));
    if (!m_cards) {
        rebuildPanels();
        return;
    }
    m_cards->insertWidget(m_cards->count() - 1, card(*printer)); // before the stretch
    updateGeometry();
}

// The printer is still in the list while it is announced.
void ContentView::removeCard(Printer *printer)
{
    if (PrinterPanel *gone = panel(printer->id())) {
        m_panelList.removeOne(gone);
        delete gone->parentWidget(); // its card
    }
    delete m_controls.take(printer);
    if (m_printers.printers().size() == 2)
        QMetaObject::invokeMethod(this, &ContentView::rebuildPanels, Qt::QueuedConnection);
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

// With several printers, three cards' worth where the screen allows; the others scroll. The
// window's title bar and menu bar come on top of the content.
QSize ContentView::sizeHint() const
{
    const QSize hint = QWidget::sizeHint();
    if (!m_cards)
        return hint;
    const int shown = std::min(3, m_cards->count() - 1); // the stretch is no card
    int cards = m_cards->contentsMargins().top() + m_cards->contentsMargins().bottom() +
                m_cards->spacing() * std::max(0, shown - 1);
    for (int i = 0; i < shown; ++i)
        cards += m_cards->itemAt(i)->sizeHint().height();
    int height = hint.height() - m_shownPanels->sizeHint().height() + cards;
    if (const QScreen *shownOn = screen()) {
        constexpr int windowChrome = 80;
        height = std::min(height, shownOn->availableGeometry().height() - windowChrome);
    }
    return {hint.width(), std::max(height, minimumSizeHint().height())};
}

void ContentView::showEvent(QShowEvent *)
{
    for (PrinterPanel *panel : std::as_const(m_panelList))
        panel->appear();
    m_coordinator.syncWindows();
}

} // namespace kestrel
