// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/ContentView.h"

#include "camera/PrintLineLabel.h"
#include "monitor/PiStatusMonitor.h"
#include "monitor/PrintStatusClient.h"
#include "power/HomeKitManager.h"
#include "power/PowerWords.h"
#include "power/StatusInterpretation.h"
#include "screens/CameraCaption.h"
#include "screens/StartupInfoView.h"
#include "settings/AppSettings.h"
#include "widgets/ButtonStyles.h"
#include "widgets/SecondaryText.h"
#include "widgets/SymbolLabel.h"
#include "widgets/SystemColors.h"
#include "widgets/TextStyles.h"
#include "windows/WindowCoordinator.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace kestrel {

namespace {

QPushButton *smallButton(const QString &text, QWidget *parent)
{
    auto *button = new QPushButton(text, parent);
    button->setFont(textStyles::caption());
    return button;
}

} // namespace

ContentView::ContentView(AppSettings &settings, HomeKitManager &homeKitManager,
                         const PiStatusMonitor &monitor, WindowCoordinator &coordinator,
                         std::function<void()> openSettings,
                         const PrintStatusClient *printStatus, QWidget *parent)
    : QWidget(parent), m_settings(settings), m_homeKitManager(homeKitManager), m_monitor(monitor),
      m_coordinator(coordinator), m_printStatus(printStatus), m_address(new SymbolLabel(this)),
      m_hostState(new SymbolLabel(this)), m_hostDetail(secondaryText(QString(), this)),
      m_printLine(new PrintLineLabel(this)),
      m_powerOnRow(new QWidget(this)), m_powerState(secondaryText(QString(), this)),
      m_actionMessage(secondaryText(QString(), this)), m_lastReachability(monitor.reachability())
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

    auto *status = new QVBoxLayout;
    status->setSpacing(10);
    status->addWidget(m_address);
    status->addWidget(m_hostState);
    status->addWidget(m_hostDetail);
    m_printLine->setFont(textStyles::caption());
    m_printLine->setForegroundRole(QPalette::PlaceholderText);
    status->addWidget(m_printLine);

    auto *powerOnLayout = new QHBoxLayout(m_powerOnRow);
    powerOnLayout->setContentsMargins(0, 0, 0, 0);
    QPushButton *powerOn = smallButton(tr("Ender einschalten"), m_powerOnRow);
    buttonStyles::makeProminent(powerOn);
    QPushButton *later = smallButton(tr("Später starten"), m_powerOnRow);
    powerOnLayout->addWidget(powerOn);
    powerOnLayout->addWidget(later);
    powerOnLayout->addStretch();
    connect(powerOn, &QPushButton::clicked, this, &ContentView::powerOn);
    connect(later, &QPushButton::clicked, this, [this] { setShowStartupInfo(true); });
    status->addWidget(m_powerOnRow);
    status->addWidget(m_powerState);
    status->addWidget(m_actionMessage);

    for (qsizetype i = 0; i < cameraCatalogue().size(); ++i) {
        auto *selection = new SymbolLabel(this);
        auto *detail = secondaryText(QString(), this);
        selection->addLineUnderText(detail);
        status->addWidget(selection);
        m_cameraRows.append({selection, detail});
    }
    layout->addLayout(status);

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
        m_settings.setSelectedCameraIDs({});
        m_coordinator.closeAllWindows();
    });
    connect(quit, &QPushButton::clicked, qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    layout->addLayout(commands);
    layout->addStretch();

    connect(&settings, &AppSettings::changed, this, &ContentView::refresh);
    connect(&homeKitManager, &HomeKitManager::accessoryStateChanged, this, &ContentView::refresh);
    connect(&homeKitManager, &HomeKitManager::actionMessageChanged, this, &ContentView::refresh);
    connect(&homeKitManager, &HomeKitManager::shortcutsAvailableChanged, this,
            &ContentView::refresh);
    connect(&monitor, &PiStatusMonitor::reachabilityChanged, this,
            &ContentView::reachabilityChanged);
    if (printStatus) {
        connect(printStatus, &PrintStatusClient::statusChanged, this,
                &ContentView::refreshPrintStatus);
    }
    refresh();
}

void ContentView::refreshPrintStatus()
{
    m_printLine->setLine(m_printStatus->line());
    updateGeometry();
}

QSize ContentView::minimumSizeHint() const
{
    constexpr QSize smallest(640, 360);
    const int width = std::max(this->width(), smallest.width());
    return {smallest.width(), std::max(smallest.height(), layout()->totalHeightForWidth(width))};
}

void ContentView::refresh()
{
    m_address->set(QStringLiteral("network"), tr("Drucker-IP: ") + m_settings.printerIP());
    const PiReachability reachability = m_monitor.reachability();
    switch (reachability.kind()) {
    case PiReachability::Kind::checking:
        m_hostState->set(QStringLiteral("arrow.triangle.2.circlepath.circle"), reachability.title(),
                         systemColors::orange());
        break;
    case PiReachability::Kind::reachable:
        m_hostState->set(QStringLiteral("checkmark.circle.fill"), reachability.title(),
                         systemColors::green());
        break;
    case PiReachability::Kind::unreachable:
        m_hostState->set(QStringLiteral("xmark.circle.fill"), reachability.title(),
                         systemColors::red());
        break;
    }
    m_hostDetail->setText(reachability.detail());
    m_powerOnRow->setVisible(reachability.isUnreachable() && m_homeKitManager.canPowerOn());
    m_powerState->setText(m_homeKitManager.words().powerLine +
                          statusText(m_homeKitManager.accessoryState()));
    const auto message = m_homeKitManager.actionMessage();
    m_actionMessage->setVisible(message.has_value());
    m_actionMessage->setText(message.value_or(QString()));

    const CameraIdSet selected = m_settings.selectedCameraIDs();
    const CameraTextMap streams = m_settings.cameraStreamPaths();
    for (qsizetype i = 0; i < m_cameraRows.size(); ++i) {
        const Camera camera = m_settings.resolvedCamera(cameraCatalogue()[i]);
        const auto &[selection, detail] = m_cameraRows[i];
        if (selected.contains(camera.id))
            selection->set(QStringLiteral("checkmark.circle.fill"), camera.name,
                           systemColors::green(), SymbolLabel::Tint::symbolOnly);
        else
            selection->set(QStringLiteral("circle"), camera.name,
                           palette().color(QPalette::PlaceholderText),
                           SymbolLabel::Tint::symbolOnly);
        detail->setText(cameraCaption(camera, streams.value(camera.id)));
    }
    updateGeometry(); // lines came or went: the window may need to grow
}

// Only a change to a different value counts: the monitor publishes every probe, and a prompt the
// user closed stays closed while the host keeps failing for the same reason.
void ContentView::reachabilityChanged(const PiReachability &reachability)
{
    refresh();
    if (reachability == m_lastReachability)
        return;
    m_lastReachability = reachability;
    if (reachability.isUnreachable())
        setShowStartupInfo(true);
}

void ContentView::showEvent(QShowEvent *)
{
    m_homeKitManager.refreshStatus();
    m_coordinator.syncWindows();
    if (m_monitor.reachability().isUnreachable())
        setShowStartupInfo(true);
}

bool ContentView::showsStartupInfo() const
{
    return m_startupInfo != nullptr;
}

void ContentView::setShowStartupInfo(bool show)
{
    if (show == showsStartupInfo())
        return;
    if (!show) {
        m_startupInfo->disconnect(this);
        m_startupInfo->close();
        m_startupInfo->deleteLater();
        m_startupInfo = nullptr;
        return;
    }
    m_startupInfo = new StartupInfoView(
        m_homeKitManager.words().startQuestion,
        [this] {
            // The sheet stays until the shortcut has finished, whether it worked or not.
            m_homeKitManager.runShortcut(m_settings.homeKitPowerOnSceneName())
                .then([self = QPointer(this)] {
                    if (self)
                        self->setShowStartupInfo(false);
                });
        },
        [this] { setShowStartupInfo(false); }, this);
    // Closed by the window system (Escape, the title bar): the same as cancelling.
    connect(m_startupInfo, &QDialog::finished, this, [this] { setShowStartupInfo(false); });
    m_startupInfo->show();
}

void ContentView::powerOn()
{
    m_homeKitManager.runShortcut(m_settings.homeKitPowerOnSceneName());
}

} // namespace kestrel
