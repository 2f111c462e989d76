// SPDX-License-Identifier: GPL-3.0-or-later
#include "power/HomeKitManager.h"

#include "platform/ProcessRunner.h"
#include "power/StatusInterpretation.h"
#include "settings/AppSettings.h"

#include <QFileInfo>
#include <QPointer>

namespace kestrel {

HomeKitManager::HomeKitManager(AppSettings &settings, QObject *parent, QString shortcutsPath)
    : QObject(parent), m_settings(settings), m_shortcutsPath(std::move(shortcutsPath))
{
    // Follows the two names as announced, before they are stored: refreshStatus() reads the
    // store and so still queries with the name from before the edit; the next change or refresh
    // catches up. Kept as the manager has always behaved.
    connect(&settings, &AppSettings::homeKitStatusShortcutNameWillChange, this,
            &HomeKitManager::refreshStatus);
    connect(&settings, &AppSettings::homeKitAccessoryNameWillChange, this,
            &HomeKitManager::refreshStatus);
    // Once for the subscription's first delivery and once directly: with a status shortcut set,
    // the first query still runs, but only the second one's answer is used.
    refreshStatus();
    refreshStatus();
}

bool HomeKitManager::canPowerOn() const
{
    return m_shortcutsAvailable && m_accessoryState.kind() != HomeKitAccessoryState::Kind::on;
}

void HomeKitManager::refreshStatus()
{
    const quint64 query = ++m_query;

    const QFileInfo tool(m_shortcutsPath);
    m_shortcutsAvailable = tool.isFile() && tool.isExecutable();
    emit shortcutsAvailableChanged(m_shortcutsAvailable);
    if (!m_shortcutsAvailable) {
        setAccessoryState(HomeKitAccessoryState::unavailable(
            QStringLiteral("Die macOS Kurzbefehle-CLI ist nicht verfuegbar")));
        return;
    }

    const QString name = m_settings.homeKitStatusShortcutName().trimmed();
    if (name.isEmpty()) {
        setAccessoryState(HomeKitAccessoryState::unknown(
            QStringLiteral("Kein Status-Kurzbefehl hinterlegt. Optional kann ein Kurzbefehl den "
                           "Zustand von Ender als ein/aus zurueckgeben.")));
        return;
    }

    setAccessoryState(HomeKitAccessoryState::checking());
    executeShortcut(name).then(
        [this, self = QPointer(this), query](const ShortcutExecutionResult &result) {
            if (self && query == m_query)
                setAccessoryState(interpretStatusResult(result));
        });
}

QFuture<void> HomeKitManager::runShortcut(const QString &name)
{
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty()) {
        setActionMessage(QStringLiteral("Kein Kurzbefehls-Name eingetragen"));
        return QtFuture::makeReadyFuture();
    }
    return executeShortcut(trimmed).then([this, self = QPointer(this),
                                          trimmed](const ShortcutExecutionResult &result) {
        if (!self)
            return;
        if (result.success) {
            setActionMessage(QStringLiteral("Kurzbefehl \"") + trimmed +
                             QStringLiteral("\" ausgefuehrt"));
            refreshStatus();
        } else {
            setActionMessage(result.errorMessage.value_or(QStringLiteral("Unbekannter Fehler")));
        }
    });
}

QFuture<ShortcutExecutionResult> HomeKitManager::executeShortcut(const QString &name)
{
    const ProcessCommand command{.program = m_shortcutsPath,
                                 .arguments = {QStringLiteral("run"), name},
                                 .captureStandardOutput = true};
    return runProcess(command, this).then(shortcutResultFromProcess);
}

void HomeKitManager::setAccessoryState(const HomeKitAccessoryState &state)
{
    m_accessoryState = state;
    emit accessoryStateChanged(m_accessoryState);
}

void HomeKitManager::setActionMessage(const QString &message)
{
    m_actionMessage = message;
    emit actionMessageChanged(message);
}

} // namespace kestrel
