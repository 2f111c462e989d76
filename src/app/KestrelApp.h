// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/ExternalTools.h"
#include "widgets/GlyphRoom.h"

#include <QMainWindow>
#include <QObject>
#include <QPointer>
#include <QTranslator>

#include <chrono>

namespace kestrel {

class AppSettings;
class ContentView;
class KeyValueStore;
class Printer;
class PrinterList;
class PrintNotifier;
class SettingsView;
class TrayIcon;
class WallWindow;
class WindowCoordinator;

// The application: creates the long-lived objects in their fixed order (settings first, since
// everything reads them; then the printers; the coordinator, which opens camera windows, once the
// main window exists), keeps them as its children for the life of the
// process, and offers the menu commands. Where the desktop has a tray, Kestrel's icon stands there
// and closing the main window only hides it: the camera windows float on until "Beenden".
class KestrelApp : public QObject
{
    Q_OBJECT

public:
    // Where a tray exists, Kestrel may start with only its icon there; elsewhere the main
    // window always shows.
    enum class StartMode
    {
        shown,
        toTray
    };

    // At login the panel with its tray often comes up after the programs it starts: for this
    // long Kestrel waits for a tray before it shows the main window after all.
    static constexpr std::chrono::milliseconds defaultTrayWait{30'000};

    explicit KestrelApp(KeyValueStore &store, const ExternalTools &tools = {},
                        StartMode mode = StartMode::shown,
                        std::chrono::milliseconds trayWait = defaultTrayWait);
    ~KestrelApp() override;

    // The single settings window: made on first use, brought to the front after that.
    void openSettings();
    // The printer wall: made on first use, brought to the front after that.
    void openWall();
    WallWindow *wallWindow() const;
    // Shows the main window in front, as when Kestrel is launched while it already runs.
    void bringToFront();

    AppSettings &settings() const { return *m_settings; }
    PrinterList &printers() const { return *m_printers; }
    PrintNotifier &printNotifier() const { return *m_printNotifier; }
    WindowCoordinator &windowCoordinator() const { return *m_windowCoordinator; }
    QMainWindow &mainWindow() { return m_mainWindow; }
    ContentView &contentView() const { return *m_contentView; }
    SettingsView *settingsWindow() const;
    // The tray icon, where the desktop has a tray.
    TrayIcon *trayIcon() const { return m_tray; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void addMenuCommands();
    void addTrayIcon();
    void waitForTray(StartMode mode, std::chrono::milliseconds wait);
    void closeCameraWindowsForQuit();
    void notifyAbout(const Printer *printer);

    struct QtGermanTexts : QTranslator
    {
        QtGermanTexts();
    };

    GlyphRoom m_glyphRoom;   // before any label exists
    QtGermanTexts m_qtTexts; // before any widget exists
    AppSettings *m_settings;
    PrinterList *m_printers;
    PrintNotifier *m_printNotifier;
    QMainWindow m_mainWindow;
    WindowCoordinator *m_windowCoordinator;
    ContentView *m_contentView;
    QPointer<SettingsView> m_settingsWindow;
    QPointer<WallWindow> m_wall;
    TrayIcon *m_tray = nullptr;
    bool m_quitting = false;
};

} // namespace kestrel
