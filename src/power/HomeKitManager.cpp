// SPDX-License-Identifier: GPL-3.0-or-later
#include "power/HomeKitManager.h"

#include "platform/ProcessRunner.h"
#include "power/PowerWords.h"
#include "power/StatusInterpretation.h"
#include "settings/PrinterSettings.h"

#include <QFileInfo>
#include <QPointer>

namespace kestrel {

namespace {

bool isExecutableFile(const QString &path)
{
    const QFileInfo file(path);
    return file.isFile() && file.isExecutable();
}

} // namespace

HomeKitManager::HomeKitManager(PrinterSettings &settings, QObject *parent, QString shortcutsPath,
                               QString sceneRunnerPath)
    : QObject(parent), m_settings(settings), m_shortcutsPath(std::move(shortcutsPath)),
      m_sceneRunnerPath(std::move(sceneRunnerPath))
{
    // Follows the two names as announced, before they are stored: refreshStatus() reads the
    // store and so still queries with the name from before the edit; the next change or refresh
    // catches up. Kept as the manager has always behaved.
    connect(&settings, &PrinterSettings::homeKitStatusShortcutNameWillChange, this,
            &HomeKitManager::refreshStatus);
    connect(&settings, &PrinterSettings::homeKitAccessoryNameWillChange, this,
            &HomeKitManager::refreshStatus);
    // Once for the subscription's first delivery and once directly: with a status shortcut set,
    // the first query still runs, but only the second one's answer is used.
    refreshStatus();
    refreshStatus();
}

// A state that names the printer is told anew; nothing runs for it.
void HomeKitManager::setPrinterName(const QString &name)
{
    if (name == m_printerName)
        return;
    const QString before = words().noStatus.arg(m_printerName);
    m_printerName = name;
    if (m_accessoryState == HomeKitAccessoryState::unknown(before))
        setAccessoryState(HomeKitAccessoryState::unknown(words().noStatus.arg(m_printerName)));
    else
        emit accessoryStateChanged(m_accessoryState);
}

QString HomeKitManager::statusText() const
{
    return kestrel::statusText(m_accessoryState, m_printerName);
}

bool HomeKitManager::canPowerOn() const
{
    return m_shortcutsAvailable && m_accessoryState.kind() != HomeKitAccessoryState::Kind::on;
}

const PowerWords &HomeKitManager::words() const
{
    return tool() == m_shortcutsPath ? PowerWords::shortcuts() : PowerWords::scenes();
}

void HomeKitManager::refreshStatus()
{
    const quint64 query = ++m_query;

    m_shortcutsAvailable = isExecutableFile(tool());
    emit shortcutsAvailableChanged(m_shortcutsAvailable);
    if (!m_shortcutsAvailable) {
        setAccessoryState(HomeKitAccessoryState::unavailable(words().toolMissing));
        return;
    }

    const QString name = m_settings.homeKitStatusShortcutName().trimmed();
    if (name.isEmpty()) {
        setAccessoryState(HomeKitAccessoryState::unknown(words().noStatus.arg(m_printerName)));
        return;
    }

    setAccessoryState(HomeKitAccessoryState::checking());
    executeShortcut(name).then(
        [this, self = QPointer(this), query](const ShortcutExecutionResult &result) {
            if (self && query == m_query)
                setAccessoryState(interpretStatusResult(result, words()));
        });
}

QFuture<void> HomeKitManager::runShortcut(const QString &name)
{
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty()) {
        setActionMessage(words().noName);
        return QtFuture::makeReadyFuture();
    }
    return executeShortcut(trimmed).then([this, self = QPointer(this),
                                          trimmed](const ShortcutExecutionResult &result) {
        if (!self)
            return;
        if (result.success) {
            setActionMessage(words().ran.arg(trimmed));
            refreshStatus();
        } else {
            setActionMessage(result.errorMessage.value_or(QStringLiteral("Unbekannter Fehler")));
        }
    });
}

QFuture<ShortcutExecutionResult> HomeKitManager::executeShortcut(const QString &name)
{
    const ProcessCommand command{.program = tool(),
                                 .arguments = {QStringLiteral("run"), name},
                                 .captureStandardOutput = true};
    return runProcess(command, this).then([&words = words()](const ProcessResult &process) {
        return shortcutResultFromProcess(process, words);
    });
}

// Asked afresh for every run, so a tool that appears or goes while Kestrel runs is noticed. With
// neither there, it is the runner whose launch error is shown, as the one a Linux user lacks.
QString HomeKitManager::tool() const
{
    if (m_sceneRunnerPath.isEmpty() || isExecutableFile(m_shortcutsPath))
        return m_shortcutsPath;
    return m_sceneRunnerPath;
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
