// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/SettingsView.h"
#include "screens/CameraCaption.h"
#include "screens/OrientationRow.h"
#include "screens/StreamRow.h"
#include "screens/WebcamImportRow.h"

#include "platform/AutostartEntry.h"
#include "power/HomeKitManager.h"
#include "power/PowerWords.h"
#include "power/SceneFolder.h"
#include "power/StatusInterpretation.h"
#include "screens/SceneFolderRow.h"
#include "settings/AppSettings.h"
#include "widgets/ButtonStyles.h"
#include "widgets/ConfirmationAlert.h"
#include "widgets/SecondaryText.h"
#include "widgets/TextStyles.h"
#include "windows/DesktopWindow.h"
#include "windows/ScreenFrames.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QFrame>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QStyle>
#include <QVBoxLayout>

namespace kestrel {

namespace {

// Joins every character to the next (U+2060 WORD JOINER, invisible), so a caption wraps between
// words only and never inside an address.
QString keptTogether(const QString &text)
{
    QString joined;
    for (const QChar character : text) {
        if (!joined.isEmpty())
            joined += QChar(0x2060);
        joined += character;
    }
    return joined;
}

// Sets a field without disturbing the user's typing when it already shows the value.
void showValue(QLineEdit *field, const QString &value)
{
    if (field->text() != value)
        field->setText(value);
}

} // namespace

SettingsView::SettingsView(AppSettings &settings, HomeKitManager &homeKitManager, QWidget *parent)
    : QWidget(parent), m_settings(settings), m_homeKitManager(homeKitManager)
{
    setWindowTitle(tr("Einstellungen"));
    auto *form = new QWidget;
    auto *sections = new QVBoxLayout(form);
    sections->setContentsMargins(20, 20, 20, 20);
    sections->setSpacing(16);
    sections->addWidget(printerSection());
    sections->addWidget(camerasSection());
    sections->addWidget(homeKitSection());
    sections->addStretch();

    // The form is as tall as its content; on a small screen it scrolls instead of running off.
    auto *scroll = new QScrollArea(this);
    scroll->setWidget(form);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(scroll);
    alignFieldColumns();
    form->setFixedWidth(560);
    setFixedWidth(560 + scroll->verticalScrollBar()->sizeHint().width());
    fitHeightToScreen();

    // Closes like any settings window: Escape, or the platform's close shortcut (Ctrl+W).
    for (const QKeySequence &keys :
         {QKeySequence(Qt::Key_Escape), QKeySequence(QKeySequence::Close)})
        connect(new QShortcut(keys, this), &QShortcut::activated, this, &QWidget::close);

    connect(&settings, &AppSettings::changed, this, &SettingsView::refresh);
    connect(&homeKitManager, &HomeKitManager::accessoryStateChanged, this,
            &SettingsView::refreshPowerState);
    connect(&homeKitManager, &HomeKitManager::actionMessageChanged, this,
            &SettingsView::refreshPowerState);
    refresh();
    refreshPowerState();
}

// The fields of all sections start at one column, the one the longest label needs.
void SettingsView::alignFieldColumns()
{
    QList<QWidget *> labels;
    int widest = 0;
    for (const QFormLayout *form : findChildren<QFormLayout *>()) {
        for (int row = 0; row < form->rowCount(); ++row) {
            const QLayoutItem *item = form->itemAt(row, QFormLayout::LabelRole);
            if (QWidget *label = item ? item->widget() : nullptr) {
                labels.append(label);
                widest = std::max(widest, label->sizeHint().width());
            }
        }
    }
    for (QWidget *label : std::as_const(labels))
        label->setMinimumWidth(widest);
}

// As tall as the form, unless the screen is smaller: then the form scrolls. The whole frame,
// title bar and borders included, stays inside the screen's free area; the frame is known only
// once the window manager has drawn it, and until then the style's title bar is a guess.
void SettingsView::fitHeightToScreen()
{
    const QWidget *form = findChild<QScrollArea *>()->widget();
    const QScreen *shown = screen();
    if (!shown) {
        resize(width(), form->sizeHint().height());
        return;
    }
    const QMargins margins = screenFrames::frameMargins(this);
    const int decoration = margins.isNull() ? style()->pixelMetric(QStyle::PM_TitleBarHeight)
                                            : margins.top() + margins.bottom();
    const QRect available = shown->availableGeometry();
    resize(width(), std::min(form->sizeHint().height(), available.height() - decoration));
    const QRect frame = frameGeometry();
    if (!margins.isNull() && !available.contains(frame)) {
        move(std::clamp(frame.x(), available.left(), available.right() + 1 - frame.width()),
             std::clamp(frame.y(), available.top(), available.bottom() + 1 - frame.height()));
    }
}

// The entry is the setting: the desktop's own autostart manager may have changed it meanwhile.
void SettingsView::showAutostart()
{
    if (!m_autostart)
        return;
    const QSignalBlocker blocker(m_autostart);
    m_autostart->setChecked(autostart::isEnabled());
}

void SettingsView::showEvent(QShowEvent *)
{
    showAutostart();
    if (!std::exchange(m_watchingFrame, true))
        desktopWindow::watchFrame(this, [this] { fitHeightToScreen(); });
}

QLineEdit *SettingsView::boundField(const QString &label, QFormLayout *into,
                                    std::function<void(const QString &)> assign)
{
    auto *field = new QLineEdit;
    field->setClearButtonEnabled(false);
    // Every keystroke is an assignment, taken as typed: nothing is trimmed or checked here.
    connect(field, &QLineEdit::textEdited, this, std::move(assign));
    into->addRow(label, field);
    return field;
}

QWidget *SettingsView::printerSection()
{
    auto *box = new QGroupBox(tr("Drucker"));
    auto *form = new QFormLayout(box);
    m_printerIP = boundField(tr("IP-Adresse"), form,
                             [this](const QString &text) { m_settings.setPrinterIP(text); });
    form->addRow(QString(), secondaryText(tr("Beispiel: ") + AppSettings::defaultPrinterIP(), box));
    m_apiKey = boundField(tr("API-Schlüssel"), form,
                          [this](const QString &text) { m_settings.setPrinterApiKey(text); });
    m_apiKey->setEchoMode(QLineEdit::Password);
    m_apiKey->setAccessibleName(tr("API-Schlüssel"));
    form->addRow(QString(), secondaryText(tr("Nur für Drucker-Hosts, die Kestrel sonst nicht "
                                             "vertrauen"),
                                          box));
    m_alwaysOnTop = new QCheckBox(tr("Fenster immer oben halten"), box);
    connect(m_alwaysOnTop, &QCheckBox::toggled, this,
            [this](bool on) { m_settings.setAlwaysOnTop(on); });
    form->addRow(m_alwaysOnTop);
    m_notifyPrintEvents = new QCheckBox(tr("Druckereignisse melden"), box);
    connect(m_notifyPrintEvents, &QCheckBox::toggled, this,
            [this](bool on) { m_settings.setNotifyPrintEvents(on); });
    form->addRow(m_notifyPrintEvents);
#if defined(Q_OS_LINUX)
    m_autostart = new QCheckBox(tr("Beim Anmelden starten"), box);
    connect(m_autostart, &QCheckBox::toggled, this, [this](bool on) {
        autostart::setEnabled(on);
        showAutostart(); // what the autostart folder now holds, also when writing failed
    });
    form->addRow(m_autostart);
#endif
    return box;
}

QWidget *SettingsView::camerasSection()
{
    auto *box = new QGroupBox(tr("Kameras anzeigen"));
    auto *blocks = new QVBoxLayout(box);
    for (const Camera &camera : cameraCatalogue()) {
        const CameraId id = camera.id;
        auto *line = new QHBoxLayout;
        // The name is the check box's own text, so clicking it toggles; the caption stands under
        // the name and does not break inside the path.
        auto *shown = new QCheckBox(camera.name, box);
        connect(shown, &QCheckBox::toggled, this,
                [this, id](bool on) { m_settings.setCameraSelected(id, on); });
        auto *labels = new QVBoxLayout;
        labels->setSpacing(2);
        labels->addWidget(shown);
        QLabel *details = secondaryText(QString(), box);
        details->setIndent(style()->pixelMetric(QStyle::PM_IndicatorWidth) +
                           style()->pixelMetric(QStyle::PM_CheckBoxLabelSpacing));
        labels->addWidget(details);
        line->addLayout(labels, 1);
        QLabel *placementCaption = secondaryText(tr("Startposition"), box);
        placementCaption->setWordWrap(false);
        line->addWidget(placementCaption);
        auto *placement = new QComboBox(box);
        placement->setFixedWidth(160);
        placement->setAccessibleName(tr("Startposition"));
        for (const WindowPlacement option : allWindowPlacements)
            placement->addItem(displayName(option), rawValue(option));
        connect(placement, &QComboBox::activated, this, [this, id, placement](int index) {
            if (const auto chosen =
                    windowPlacementFromRawValue(placement->itemData(index).toString()))
                m_settings.setPlacement(*chosen, id);
        });
        line->addWidget(placement);

        auto *divider = new QFrame(box);
        divider->setFrameShape(QFrame::HLine);
        divider->setFrameShadow(QFrame::Sunken);

        auto *custom = new QFormLayout;
        custom->setContentsMargins(0, 4, 0, 4);
        custom->addRow(secondaryText(tr("Individuelle Einstellungen"), box));
        // Emptying a field removes the override, and the catalogue value shows again.
        QLineEdit *customName =
            boundField(tr("Kameraname"), custom, [this, id](const QString &text) {
                m_settings.setCustomName(text.isEmpty() ? std::nullopt : std::optional(text), id);
            });
        QLineEdit *customPath =
            boundField(tr("Snapshot-Pfad"), custom, [this, id](const QString &text) {
                m_settings.setCustomSnapshotPath(
                    text.isEmpty() ? std::nullopt : std::optional(text), id);
            });

        auto *stream = new StreamRow(m_settings, camera, box);
        custom->addRow(tr("Stream-Pfad"), stream);
        auto *orientation = new OrientationRow(m_settings, camera, box);
        custom->addRow(tr("Drehung"), orientation);
        customName->setAccessibleName(tr("Kameraname") + u' ' + camera.name);
        customPath->setAccessibleName(tr("Snapshot-Pfad") + u' ' + camera.name);
        auto *block = new QVBoxLayout;
        block->setContentsMargins(0, 4, 0, 4);
        block->addLayout(line);
        block->addWidget(divider);
        block->addLayout(custom);
        blocks->addLayout(block);
        m_cameras.append(
            {id, shown, details, placement, customName, customPath, stream, orientation});
    }
    auto *import = new WebcamImportRow(m_settings, box);
    connect(import, &WebcamImportRow::camerasTakenOver, this, &SettingsView::camerasTakenOver);
    blocks->addWidget(import);
    return box;
}

QWidget *SettingsView::homeKitSection()
{
    const PowerWords &words = m_homeKitManager.words();
    auto *box = new QGroupBox(words.section);
    auto *form = new QFormLayout(box);
    m_accessoryName = boundField(words.accessoryField, form, [this](const QString &text) {
        m_settings.setHomeKitAccessoryName(text);
    });
    m_powerOnScene = boundField(tr("Szene fuer Einschalten"), form, [this](const QString &text) {
        m_settings.setHomeKitPowerOnSceneName(text);
    });
    m_statusShortcut = boundField(words.statusField, form, [this](const QString &text) {
        m_settings.setHomeKitStatusShortcutName(text);
    });
    m_powerOffScene = boundField(tr("Szene fuer Ausschalten"), form, [this](const QString &text) {
        m_settings.setHomeKitPowerOffSceneName(text);
    });
    form->addRow(secondaryText(words.statusHint, box));
    m_powerState = secondaryText(QString(), box);
    m_actionMessage = secondaryText(QString(), box);
    form->addRow(m_powerState);
    form->addRow(m_actionMessage);

    auto *buttons = new QHBoxLayout;
    auto *refreshButton = new QPushButton(words.refresh, box);
    auto *powerOn = new QPushButton(tr("Klipper einschalten"), box);
    buttonStyles::makeProminent(powerOn);
    auto *powerOff = new QPushButton(tr("Klipper ausschalten"), box);
    buttonStyles::makeDestructive(powerOff);
    connect(refreshButton, &QPushButton::clicked, &m_homeKitManager,
            &HomeKitManager::refreshStatus);
    connect(powerOn, &QPushButton::clicked, this,
            [this] { m_homeKitManager.runShortcut(m_settings.homeKitPowerOnSceneName()); });
    connect(powerOff, &QPushButton::clicked, this, [this, &words] {
        confirmDestructive(
            this, tr("Klipper ausschalten?"), words.offQuestion, tr("Ausschalten"),
            [this] { m_homeKitManager.runShortcut(m_settings.homeKitPowerOffSceneName()); });
    });
    buttons->addWidget(refreshButton);
    buttons->addWidget(powerOn);
    buttons->addWidget(powerOff);
    buttons->addStretch();
    form->addRow(buttons);
#if defined(Q_OS_LINUX)
    form->addRow(new SceneFolderRow(scenes::folder(), box));
#endif
    return box;
}

void SettingsView::refresh()
{
    showValue(m_printerIP, m_settings.printerIP());
    showValue(m_apiKey, m_settings.printerApiKey());
    for (const auto &[box, on] : {std::pair{m_alwaysOnTop, m_settings.alwaysOnTop()},
                                  {m_notifyPrintEvents, m_settings.notifyPrintEvents()}}) {
        const QSignalBlocker blocker(box); // showing a value is no assignment
        box->setChecked(on);
    }
    const CameraIdSet selected = m_settings.selectedCameraIDs();
    const PlacementMap placements = m_settings.cameraPlacements();
    const CameraTextMap names = m_settings.customCameraNames();
    const CameraTextMap paths = m_settings.customSnapshotPaths();
    const CameraTextMap streams = m_settings.cameraStreamPaths();
    for (const CameraControls &controls : std::as_const(m_cameras)) {
        const Camera &camera =
            *std::find_if(cameraCatalogue().cbegin(), cameraCatalogue().cend(),
                          [&](const Camera &entry) { return entry.id == controls.id; });
        const QSignalBlocker blocker(controls.shown);
        controls.shown->setChecked(selected.contains(controls.id));
        // A camera without an entry starts free.
        controls.placement->setCurrentIndex(controls.placement->findData(
            rawValue(placements.value(controls.id, WindowPlacement::free))));
        showValue(controls.name, names.value(controls.id, camera.name));
        showValue(controls.snapshotPath, paths.value(controls.id, camera.snapshotPath));
        controls.caption->setText(cameraCaption(m_settings.resolvedCamera(camera),
                                                streams.value(controls.id), keptTogether));
        controls.stream->showStreamPath(streams.value(controls.id));
        controls.orientation->showOrientation(m_settings.orientation(controls.id));
    }
    showValue(m_accessoryName, m_settings.homeKitAccessoryName());
    showValue(m_powerOnScene, m_settings.homeKitPowerOnSceneName());
    showValue(m_statusShortcut, m_settings.homeKitStatusShortcutName());
    showValue(m_powerOffScene, m_settings.homeKitPowerOffSceneName());
}

void SettingsView::refreshPowerState()
{
    m_powerState->setText(statusText(m_homeKitManager.accessoryState()));
    const auto message = m_homeKitManager.actionMessage();
    m_actionMessage->setVisible(message.has_value());
    m_actionMessage->setText(message.value_or(QString()));
}

} // namespace kestrel
