// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/PrinterPanel.h"

#include "camera/PowerOffQuestion.h"
#include "camera/PrintLineLabel.h"
#include "power/PowerWords.h"
#include "printers/PrinterList.h"
#include "screens/CameraCaption.h"
#include "screens/PrintControlRow.h"
#include "screens/StartupInfoView.h"
#include "widgets/ButtonStyles.h"
#include "widgets/SecondaryText.h"
#include "widgets/SymbolLabel.h"
#include "widgets/SystemColors.h"
#include "widgets/TextStyles.h"

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

PrinterPanel::PrinterPanel(Printer &printer, const PrinterList &printers, Style style,
                           PrintControls &controls, QWidget *parent)
    : QWidget(parent), m_printer(printer), m_printers(printers), m_style(style),
      m_address(new SymbolLabel(this)), m_hostState(new SymbolLabel(this)),
      m_hostDetail(secondaryText(QString(), this)), m_printLine(new PrintLineLabel(this)),
      m_temperatures(secondaryText(QString(), this)),
      m_printPace(std::chrono::seconds(1), [this] { refreshPrintStatus(); }),
      m_powerState(secondaryText(QString(), this)), m_actionMessage(secondaryText(QString(), this)),
      m_lastReachability(printer.monitor().reachability())
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(style == Style::full ? 10 : 6);
    if (style == Style::card) {
        m_name = new QLabel(this);
        m_name->setFont(textStyles::fixed(15, QFont::Bold));
        layout->addWidget(m_name);
    }
    layout->addWidget(m_address);
    layout->addWidget(m_hostState);
    layout->addWidget(m_hostDetail);
    m_printLine->setFont(textStyles::caption());
    m_printLine->setForegroundRole(QPalette::PlaceholderText);
    layout->addWidget(m_printLine);
    m_temperatures->setVisible(false);
    layout->addWidget(m_temperatures);
    layout->addWidget(new PrintControlRow(controls, this));
    layout->addWidget(makePowerOnRow());
    if (style == Style::full) {
        layout->addWidget(m_powerState);
    } else {
        auto *power = new QHBoxLayout;
        m_powerOff = smallButton(QString(), this);
        connect(m_powerOff, &QPushButton::clicked, this,
                [this] { askToPowerOff(window(), m_printer); });
        power->addWidget(m_powerState, 1);
        power->addWidget(m_powerOff);
        layout->addLayout(power);
    }
    layout->addWidget(m_actionMessage);
    addCameraRows();

    connect(&printer.settings(), &PrinterSettings::changed, this, &PrinterPanel::refresh);
    connect(&printer, &Printer::namingChanged, this, &PrinterPanel::refresh);
    // A page of the settings that closes may have kept a prompt waiting.
    connect(&printer, &Printer::settingsShownChanged, this, &PrinterPanel::askToStartIfDown);
    const HomeKitManager &power = printer.power();
    connect(&power, &HomeKitManager::accessoryStateChanged, this, &PrinterPanel::refresh);
    connect(&power, &HomeKitManager::actionMessageChanged, this, &PrinterPanel::refresh);
    connect(&power, &HomeKitManager::shortcutsAvailableChanged, this, &PrinterPanel::refresh);
    connect(&printer.monitor(), &PiStatusMonitor::reachabilityChanged, this,
            &PrinterPanel::reachabilityChanged);
    // A new state shows at once, new figures once a second: each shown change lays the window out
    // again, and twenty printers change their temperatures and times eighty times a second.
    connect(&printer.printStatus(), &PrintStatusClient::statusChanged, this, [this] {
        m_printPace.request(!m_printer.printStatus().line().sameStage(m_printLine->line()));
    });
    refresh();
    refreshPrintStatus();
}

QWidget *PrinterPanel::makePowerOnRow()
{
    m_powerOnRow = new QWidget(this);
    auto *row = new QHBoxLayout(m_powerOnRow);
    row->setContentsMargins(0, 0, 0, 0);
    m_powerOn = smallButton(QString(), m_powerOnRow);
    buttonStyles::makeProminent(m_powerOn);
    QPushButton *later = smallButton(tr("Später starten"), m_powerOnRow);
    row->addWidget(m_powerOn);
    row->addWidget(later);
    row->addStretch();
    connect(m_powerOn, &QPushButton::clicked, this, &PrinterPanel::powerOn);
    connect(later, &QPushButton::clicked, this, [this] { setShowStartupInfo(true); });
    return m_powerOnRow;
}

// Alone, one row per camera with its caption; on a card, the chosen cameras on one line, so that
// twenty cards still fit a screen or two.
void PrinterPanel::addCameraRows()
{
    if (m_style == Style::card) {
        m_cameraLine = secondaryText(QString(), this);
        layout()->addWidget(m_cameraLine);
        return;
    }
    for (qsizetype i = 0; i < cameraCatalogue().size(); ++i) {
        auto *selection = new SymbolLabel(this);
        auto *detail = secondaryText(QString(), this);
        selection->addLineUnderText(detail);
        layout()->addWidget(selection);
        m_cameraRows.append({selection, detail});
    }
}

// Most updates of a print change nothing that is shown: the line is only set, and the window
// only laid out again, when its text changes.
void PrinterPanel::refreshPrintStatus()
{
    PrintStatusLine line = m_printer.printStatus().line();
    line.temperatures.clear(); // they have a line of their own here
    const QString heaters = temperatureText(m_printer.printStatus().status());
    if (line.text() == m_printText && heaters == m_temperatures->text())
        return;
    m_printText = line.text();
    m_printLine->setLine(line);
    m_temperatures->setText(heaters);
    m_temperatures->setVisible(!heaters.isEmpty());
    updateGeometry();
}

void PrinterPanel::refresh()
{
    const PrinterSettings &settings = m_printer.settings();
    if (m_name)
        m_name->setText(settings.displayName());
    m_address->set(QStringLiteral("network"), tr("Drucker-IP: ") + settings.printerIP());
    const PiReachability reachability = m_printer.monitor().reachability();
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
    // A printer added in the settings switches nothing until its own scenes are named.
    const HomeKitManager &power = m_printer.power();
    const QString name = m_printer.nameInTexts();
    const bool offersPowerOn =
        reachability.isUnreachable() && power.canPowerOn() && m_printer.offersPowerOn();
    m_powerOnRow->setVisible(offersPowerOn);
    m_powerOn->setText(tr("%1 einschalten").arg(name));
    if (m_powerOff) {
        m_powerOff->setVisible(!offersPowerOn && power.shortcutsAvailable() &&
                               m_printer.offersPowerOff());
        m_powerOff->setText(tr("%1 ausschalten…").arg(name));
    }
    const bool switchable = m_printer.offersPowerOn() || m_printer.offersPowerOff();
    m_powerState->setText(power.words().powerLine +
                          (switchable ? power.statusText() : power.words().noScenes.arg(name)));
    const auto message = power.actionMessage();
    m_actionMessage->setVisible(message.has_value());
    m_actionMessage->setText(message.value_or(QString()));
    refreshCameras();
    updateGeometry(); // lines came or went: the window may need to grow
}

void PrinterPanel::refreshCameras()
{
    const PrinterSettings &settings = m_printer.settings();
    const CameraIdSet selected = settings.selectedCameraIDs();
    if (m_cameraLine) {
        QStringList names;
        for (const Camera &entry : cameraCatalogue()) {
            if (selected.contains(entry.id))
                names.append(settings.resolvedCamera(entry).name);
        }
        m_cameraLine->setText(names.isEmpty() ? tr("Keine Kamera gewählt")
                                              : tr("Kameras: ") + names.join(QStringLiteral(", ")));
        return;
    }
    const CameraTextMap streams = settings.cameraStreamPaths();
    for (qsizetype i = 0; i < m_cameraRows.size(); ++i) {
        const Camera camera = settings.resolvedCamera(cameraCatalogue()[i]);
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
}

// Only a change to a different value counts: the monitor publishes every probe, which mostly
// repeats what is shown, and a prompt the user closed stays closed while the host keeps failing
// for the same reason.
void PrinterPanel::reachabilityChanged(const PiReachability &reachability)
{
    if (reachability == m_lastReachability)
        return;
    m_lastReachability = reachability;
    refresh();
    if (reachability.kind() == PiReachability::Kind::reachable)
        m_declined = false;
    askToStartIfDown();
}

void PrinterPanel::appear()
{
    m_printer.power().refreshStatus();
    askToStartIfDown();
}

// Alone, a printer asks whenever its host fails anew, as it always has. Among several, one that
// is being set up is not interrupted: it asks only once its host has failed at an address that
// typing has left alone, not while its page of the settings is open, and after "Abbrechen" only
// once it has been reachable in between.
void PrinterPanel::askToStartIfDown()
{
    if (!m_printer.monitor().reachability().isUnreachable())
        return;
    if (m_printer.isAmongSeveral() && (m_declined || m_printer.settingsShown() ||
                                       m_printer.settings().watchedPrinterIP().trimmed().isEmpty()))
        return;
    setShowStartupInfo(true);
}

void PrinterPanel::setShowStartupInfo(bool show)
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
    const PowerWords &words = m_printer.power().words();
    std::function<void()> start;
    if (m_printer.offersPowerOn()) {
        start = [this] {
            // The prompt stays until the shortcut has finished, whether it worked or not.
            m_printer.power()
                .runShortcut(m_printer.settings().homeKitPowerOnSceneName())
                .then([self = QPointer(this)] {
                    if (self)
                        self->setShowStartupInfo(false);
                });
        };
    }
    m_startupInfo = new StartupInfoView(
        start ? words.startQuestion : words.cannotStart.arg(m_printer.nameInTexts()), start,
        [this] { decline(); }, this,
        m_printers.isSeveral() ? m_printer.settings().displayName() : QString());
    // Closed by the window system (Escape, the title bar): the same as cancelling.
    connect(m_startupInfo, &QDialog::finished, this, &PrinterPanel::decline);
    m_startupInfo->show();
}

void PrinterPanel::decline()
{
    m_declined = true;
    setShowStartupInfo(false);
}

void PrinterPanel::powerOn()
{
    m_printer.power().runShortcut(m_printer.settings().homeKitPowerOnSceneName());
}

} // namespace kestrel
