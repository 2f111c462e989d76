// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/PowerSettingsSection.h"

#include "power/PowerWords.h"
#include "power/SceneFolder.h"
#include "power/StatusInterpretation.h"
#include "printers/Printer.h"
#include "screens/FormFields.h"
#include "screens/SceneFolderRow.h"
#include "widgets/ButtonStyles.h"
#include "widgets/ConfirmationAlert.h"
#include "widgets/SecondaryText.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace kestrel {

PowerSettingsSection::PowerSettingsSection(Printer &printer, QWidget *parent)
    : QGroupBox(printer.power().words().section, parent), m_printer(printer)
{
    const PowerWords &words = printer.power().words();
    PrinterSettings &settings = printer.settings();
    auto *form = new QFormLayout(this);
    m_accessoryName =
        boundField(this, words.accessoryField, form,
                   [&settings](const QString &text) { settings.setHomeKitAccessoryName(text); });
    m_powerOnScene =
        boundField(this, tr("Szene fuer Einschalten"), form,
                   [&settings](const QString &text) { settings.setHomeKitPowerOnSceneName(text); });
    m_statusShortcut = boundField(this, words.statusField, form, [&settings](const QString &text) {
        settings.setHomeKitStatusShortcutName(text);
    });
    m_powerOffScene =
        boundField(this, tr("Szene fuer Ausschalten"), form, [&settings](const QString &text) {
            settings.setHomeKitPowerOffSceneName(text);
        });
    form->addRow(secondaryText(words.statusHint, this));
    m_powerState = secondaryText(QString(), this);
    m_actionMessage = secondaryText(QString(), this);
    form->addRow(m_powerState);
    form->addRow(m_actionMessage);
    addButtons();
#if defined(Q_OS_LINUX)
    form->addRow(new SceneFolderRow(scenes::folder(), this));
#endif

    const HomeKitManager &power = printer.power();
    connect(&power, &HomeKitManager::accessoryStateChanged, this,
            &PowerSettingsSection::refreshPowerState);
    connect(&power, &HomeKitManager::actionMessageChanged, this,
            &PowerSettingsSection::refreshPowerState);
    refresh();
    refreshPowerState();
}

void PowerSettingsSection::addButtons()
{
    HomeKitManager &power = m_printer.power();
    const PrinterSettings &settings = m_printer.settings();
    auto *buttons = new QHBoxLayout;
    auto *refreshButton = new QPushButton(power.words().refresh, this);
    auto *powerOn = new QPushButton(tr("Klipper einschalten"), this);
    buttonStyles::makeProminent(powerOn);
    auto *powerOff = new QPushButton(tr("Klipper ausschalten"), this);
    buttonStyles::makeDestructive(powerOff);
    connect(refreshButton, &QPushButton::clicked, &power, &HomeKitManager::refreshStatus);
    connect(powerOn, &QPushButton::clicked, this,
            [&power, &settings] { power.runShortcut(settings.homeKitPowerOnSceneName()); });
    connect(powerOff, &QPushButton::clicked, this, [this, &power, &settings] {
        confirmDestructive(
            this, tr("Klipper ausschalten?"), power.words().offQuestion, tr("Ausschalten"),
            [&power, &settings] { power.runShortcut(settings.homeKitPowerOffSceneName()); });
    });
    buttons->addWidget(refreshButton);
    buttons->addWidget(powerOn);
    buttons->addWidget(powerOff);
    buttons->addStretch();
    static_cast<QFormLayout *>(layout())->addRow(buttons);
}

void PowerSettingsSection::refresh()
{
    const PrinterSettings &settings = m_printer.settings();
    showValue(m_accessoryName, settings.homeKitAccessoryName());
    showValue(m_powerOnScene, settings.homeKitPowerOnSceneName());
    showValue(m_statusShortcut, settings.homeKitStatusShortcutName());
    showValue(m_powerOffScene, settings.homeKitPowerOffSceneName());
}

void PowerSettingsSection::refreshPowerState()
{
    const HomeKitManager &power = m_printer.power();
    m_powerState->setText(statusText(power.accessoryState()));
    const auto message = power.actionMessage();
    m_actionMessage->setVisible(message.has_value());
    m_actionMessage->setText(message.value_or(QString()));
}

} // namespace kestrel
