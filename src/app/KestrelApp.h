// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/ExternalTools.h"
#include "widgets/GlyphRoom.h"

#include <QMainWindow>
#include <QObject>
#include <QPointer>
#include <QTranslator>

namespace kestrel {

class AppSettings;
class ContentView;
class HomeKitManager;
class KeyValueStore;
class PiStatusMonitor;
class SettingsView;
class WindowCoordinator;

// The application: creates the long-lived objects in their fixed order (settings first, since
// everything reads them; the power manager before the host monitor; the coordinator, which opens
// camera windows, once the main window exists), keeps them as its children for the life of the
// process, and offers the two menu commands.
class KestrelApp : public QObject
{
    Q_OBJECT

public:
    explicit KestrelApp(KeyValueStore &store, const ExternalTools &tools = {});
    ~KestrelApp() override;

    // The single settings window: made on first use, brought to the front after that.
    void openSettings();
    // Shows the main window in front, as when Kestrel is launched while it already runs.
    void bringToFront();

    AppSettings &settings() const { return *m_settings; }
    HomeKitManager &homeKitManager() const { return *m_homeKitManager; }
    PiStatusMonitor &piStatusMonitor() const { return *m_piStatusMonitor; }
    WindowCoordinator &windowCoordinator() const { return *m_windowCoordinator; }
    QMainWindow &mainWindow() { return m_mainWindow; }
    ContentView &contentView() const { return *m_contentView; }
    SettingsView *settingsWindow() const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void addMenuCommands();
    void closeCameraWindowsForQuit();

    struct QtGermanTexts : QTranslator
    {
        QtGermanTexts();
    };

    GlyphRoom m_glyphRoom;   // before any label exists
    QtGermanTexts m_qtTexts; // before any widget exists
    AppSettings *m_settings;
    HomeKitManager *m_homeKitManager;
    PiStatusMonitor *m_piStatusMonitor;
    QMainWindow m_mainWindow;
    WindowCoordinator *m_windowCoordinator;
    ContentView *m_contentView;
    QPointer<SettingsView> m_settingsWindow;
};

} // namespace kestrel
