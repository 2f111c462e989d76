// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "power/HomeKitAccessoryState.h"
#include "power/ShortcutExecutionResult.h"

#include <QFuture>
#include <QObject>

#include <optional>

namespace kestrel {

class PrinterSettings;
struct PowerWords;

// Switches the printer through named shortcuts and keeps its power state, as an optional status
// shortcut reports it. Every failure ends up as a German text in accessoryState or actionMessage.
//
// The state is refreshed only on events (construction, a change of the status shortcut or the
// accessory name, a successful power action, or an explicit refresh); it is never polled.
class HomeKitManager : public QObject
{
    Q_OBJECT

public:
    // Shortcuts run through the shortcuts tool when it is there, otherwise through the scene
    // runner (on Linux), with the same arguments.
    explicit HomeKitManager(PrinterSettings &settings, QObject *parent = nullptr,
                            QString shortcutsPath = QStringLiteral("/usr/bin/shortcuts"),
                            QString sceneRunnerPath = {});

    HomeKitAccessoryState accessoryState() const { return m_accessoryState; }
    // The outcome of the last finished power action; absent until the first one.
    std::optional<QString> actionMessage() const { return m_actionMessage; }
    bool shortcutsAvailable() const { return m_shortcutsAvailable; }
    // Whether offering to switch the printer on makes sense.
    bool canPowerOn() const;
    // The words for what runs: shortcuts, or (without the shortcuts tool) scenes.
    const PowerWords &words() const;
    // How the texts name the printer: "Ender" unless told otherwise.
    QString printerName() const { return m_printerName; }
    void setPrinterName(const QString &name);
    // The power state as the screens show it.
    QString statusText() const;

    // Checks for the tool and starts a new status query; the answer of any earlier query that
    // is still running is dropped when it arrives.
    void refreshStatus();

    // Runs the named shortcut as a power action and reports in actionMessage. The future
    // finishes once the outcome is published, whether the run succeeded or failed.
    QFuture<void> runShortcut(const QString &name);

    // One run of the tool with "run" and the name, exactly as given.
    QFuture<ShortcutExecutionResult> executeShortcut(const QString &name);

signals:
    void accessoryStateChanged(const kestrel::HomeKitAccessoryState &state);
    void actionMessageChanged(const QString &message);
    void shortcutsAvailableChanged(bool available);

private:
    QString tool() const;
    void setAccessoryState(const HomeKitAccessoryState &state);
    void setActionMessage(const QString &message);

    PrinterSettings &m_settings;
    const QString m_shortcutsPath;
    const QString m_sceneRunnerPath;
    HomeKitAccessoryState m_accessoryState;
    std::optional<QString> m_actionMessage;
    bool m_shortcutsAvailable = false;
    QString m_printerName = QStringLiteral("Ender");
    quint64 m_query = 0; // bumped by every refresh; an older query's answer is dropped
};

} // namespace kestrel
