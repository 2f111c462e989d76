// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/PowerSettingsSection.h"

#include "power/PowerWords.h"
#include "power/SceneFolder.h"
#include "printers/PrinterList.h"
#include "screens/FormFields.h"
#include "screens/SceneFolderRow.h"
#include "widgets/ButtonStyles.h"
#include "widgets/ConfirmationAlert.h"
#include "widgets/SecondaryText.h"
#include "widgets/SystemColors.h"
#include "widgets/TextStyles.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace kestrel {

PowerSettingsSection::PowerSettingsSection(Printer &printer, const PrinterList &printers,
                                           QWidget *parent)
    : QGroupBox(printer.power().words().section, parent), m_printer(printer), m_printers(printers)
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
    m_sharedScenes = new QLabel(this);
    m_sharedScenes->setWordWrap(true);
    m_sharedScenes->setFont(textStyles::caption());
    QPalette red = m_sharedScenes->palette();
    red.setColor(QPalette::WindowText, systemColors::red());
    m_sharedScenes->setPalette(red);
    form->addRow(m_sharedScenes);
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
    m_powerOn = new QPushButton(this);
    buttonStyles::makeProminent(m_powerOn);
    m_powerOff = new QPushButton(this);
    buttonStyles::makeDestructive(m_powerOff);
    connect(refreshButton, &QPushButton::clicked, &power, &HomeKitManager::refreshStatus);
    connect(m_powerOn, &QPushButton::clicked, this,
            [&power, &settings] { power.runShortcut(settings.homeKitPowerOnSceneName()); });
    connect(m_powerOff, &QPushButton::clicked, this, [this, &power, &settings] {
        confirmDestructive(this, tr("%1 ausschalten?").arg(switchedName()),
                           power.words().offQuestion, tr("Ausschalten"), [&power, &settings] {
                               power.runShortcut(settings.homeKitPowerOffSceneName());
                           });
    });
    buttons->addWidget(refreshButton);
    buttons->addWidget(m_powerOn);
    buttons->addWidget(m_powerOff);
    buttons->addStretch();
    static_cast<QFormLayout *>(layout())->addRow(buttons);
}

// Alone, the printer is switched as "Klipper"; among several, each by its own name.
QString PowerSettingsSection::switchedName() const
{
    return m_printer.isAmongSeveral() ? m_printer.settings().displayName()
                                      : QStringLiteral("Klipper");
}

void PowerSettingsSection::refresh()
{
    const PrinterSettings &settings = m_printer.settings();
    showValue(m_accessoryName, settings.homeKitAccessoryName());
    showValue(m_powerOnScene, settings.homeKitPowerOnSceneName());
    showValue(m_statusShortcut, settings.homeKitStatusShortcutName());
    showValue(m_powerOffScene, settings.homeKitPowerOffSceneName());
    m_powerOn->setText(tr("%1 einschalten").arg(switchedName()));
    m_powerOn->setEnabled(m_printer.offersPowerOn());
    m_powerOff->setText(tr("%1 ausschalten").arg(switchedName()));
    m_powerOff->setEnabled(m_printer.offersPowerOff());
    QStringList warnings;
    for (const auto &[other, scene] : m_printers.scenesSharedWith(m_printer))
        warnings.append(
            m_printer.power().words().sharedScene.arg(other->settings().displayName(), scene));
    m_sharedScenes->setText(warnings.join(u'\n'));
    m_sharedScenes->setVisible(!warnings.isEmpty());
}

void PowerSettingsSection::refreshPowerState()
{
    const HomeKitManager &power = m_printer.power();
    m_powerState->setText(power.statusText());
    const auto message = power.actionMessage();
    m_actionMessage->setVisible(message.has_value());
    m_actionMessage->setText(message.value_or(QString()));
}

} // namespace kestrel
