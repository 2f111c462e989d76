// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/KestrelApp.h"

#include "app/CameraViews.h"
#include "app/EventLoopProbe.h"
#include "app/TrayIcon.h"
#include "monitor/PrintNotifier.h"
#include "printers/PrinterList.h"
#include "screens/ContentView.h"
#include "screens/SettingsView.h"
#include "settings/AppSettings.h"
#include "wall/WallWindow.h"
#include "widgets/GlyphRoom.h"
#include "windows/DesktopWindow.h"
#include "windows/WindowCoordinator.h"

#include <QAction>
#include <QApplication>
#include <QDeadlineTimer>
#include <QLibraryInfo>
#include <QMenuBar>
#include <QTimer>

namespace kestrel {

// Kestrel speaks German whatever the system's language, and so do Qt's own texts (a text field's
// menu, standard buttons).
KestrelApp::QtGermanTexts::QtGermanTexts()
{
    if (load(QStringLiteral("qtbase_de"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(this);
}

KestrelApp::KestrelApp(KeyValueStore &store, const ExternalTools &tools, StartMode mode,
                       std::chrono::milliseconds trayWait)
    : m_settings(new AppSettings(store, this)),
      m_printers(new PrinterList(*m_settings, tools, this)),
      m_printNotifier(new PrintNotifier(*m_settings, this)),
      m_windowCoordinator(
          new WindowCoordinator(*m_printers, cameraWindowViews(*m_settings, tools.curl), this)),
      m_contentView(new ContentView(*m_printers, *m_windowCoordinator, [this] { openSettings(); }))
{
    for (const Printer *printer : m_printers->printers())
        notifyAbout(printer);
    m_printNotifier->setPictureSupply(
        [this](const PrinterSettings &settings, std::function<void(const QImage &)> done) {
            Printer *printer = m_printers->printer(settings.printerID());
            printer ? printer->recentPicture().fetch(std::move(done)) : done({});
        });
    connect(&m_printNotifier->notifications(), &DesktopNotifications::showRequested, this,
            [this](const QString &printerID) {
                if (Printer *printer = m_printers->printer(printerID))
                    m_windowCoordinator->bringUp(*printer, printer->settings().wallCamera());
            });
    connect(m_printers, &PrinterList::printerAdded, this, &KestrelApp::notifyAbout);
    m_mainWindow.setWindowTitle(QStringLiteral("Kestrel"));
    m_mainWindow.setCentralWidget(m_contentView);
    addMenuCommands();
    // However Kestrel ends ("Beenden", Ctrl+Q, the main window's close, a signal, the end of
    // the desktop session), Qt first closes every window. A camera window's close would then
    // read as the user's and deselect its camera, so the windows are closed as the program's
    // own closes first, and the next start opens them all again.
    qApp->installEventFilter(this);
    connect(qApp, &QGuiApplication::commitDataRequest, this,
            &KestrelApp::closeCameraWindowsForQuit);
    if (EventLoopProbe::wanted())
        new EventLoopProbe(this);
    if (QSystemTrayIcon::isSystemTrayAvailable())
        addTrayIcon();
    else
        waitForTray(mode, trayWait);
    if (mode == StartMode::shown)
        m_mainWindow.show();
    if (m_settings->wall().isOpen())
        openWall();
}

void KestrelApp::notifyAbout(const Printer *printer)
{
    connect(&printer->printStatus(), &PrintStatusClient::statusChanged, m_printNotifier,
            [this, printer](const PrintStatus &status) {
                m_printNotifier->follow(printer->settings(), status,
                                        printer->printStatus().stoppedHere());
            });
}

// The icon goes into the tray as soon as there is one. Started into the tray, Kestrel shows its
// main window only once none has come in time: without one, nothing would lead back to Kestrel.
void KestrelApp::waitForTray(StartMode mode, std::chrono::milliseconds wait)
{
    auto *poll = new QTimer(this);
    poll->setInterval(250);
    connect(poll, &QTimer::timeout, this, [this, poll, mode, deadline = QDeadlineTimer(wait)] {
        if (QSystemTrayIcon::isSystemTrayAvailable()) {
            poll->stop();
            poll->deleteLater();
            addTrayIcon();
        } else if (deadline.hasExpired()) {
            poll->stop();
            poll->deleteLater();
            if (mode == StartMode::toTray)
                m_mainWindow.show();
        }
    });
    poll->start();
}

// Children go in the order they came, settings first; the windows, which work with all the
// others, must go before any of them.
KestrelApp::~KestrelApp()
{
    delete m_wall;
    delete m_settingsWindow;
    delete m_windowCoordinator;
}

void KestrelApp::addMenuCommands()
{
    QMenu *menu = m_mainWindow.menuBar()->addMenu(QStringLiteral("Kestrel"));
    QAction *preferences = menu->addAction(tr("Einstellungen…"), this, &KestrelApp::openSettings);
    preferences->setMenuRole(QAction::PreferencesRole);
    // Where the platform names no shortcut for preferences, the one Mac users know.
    const QKeySequence platform(QKeySequence::Preferences);
    preferences->setShortcut(platform.isEmpty() ? QKeySequence(Qt::CTRL | Qt::Key_Comma)
                                                : platform);
    preferences->setShortcutContext(Qt::ApplicationShortcut);
    menu->addAction(tr("Druckerwand"), this, &KestrelApp::openWall)->setMenuRole(QAction::NoRole);
    QAction *sync = menu->addAction(tr("Kamerafenster synchronisieren"), m_windowCoordinator,
                                    &WindowCoordinator::syncWindows);
    sync->setMenuRole(QAction::NoRole);
    QAction *quit = menu->addAction(tr("Beenden"), qApp, &QCoreApplication::quit);
    quit->setMenuRole(QAction::QuitRole);
    quit->setShortcut(QKeySequence::Quit);
    quit->setShortcutContext(Qt::ApplicationShortcut);
}

void KestrelApp::addTrayIcon()
{
    m_tray = new TrayIcon(*m_printers, this);
    connect(m_tray, &TrayIcon::showMainWindowRequested, this, &KestrelApp::bringToFront);
    connect(m_tray, &TrayIcon::openWallRequested, this, &KestrelApp::openWall);
    connect(m_tray, &TrayIcon::syncWindowsRequested, m_windowCoordinator,
            &WindowCoordinator::syncWindows);
    connect(m_tray, &TrayIcon::openSettingsRequested, this, &KestrelApp::openSettings);
    connect(m_tray, &TrayIcon::quitRequested, qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    // Where the desktop shows no notifications of its own, the tray says it.
    connect(
        &m_printNotifier->notifications(), &DesktopNotifications::undelivered, m_tray,
        [this](const QString &title, const QString &body, DesktopNotifications::Urgency urgency) {
            m_tray->showMessage(title, body,
                                urgency == DesktopNotifications::Urgency::critical
                                    ? QSystemTrayIcon::Critical
                                    : QSystemTrayIcon::Information);
        });
    // Only "Beenden" ends Kestrel now, whichever windows are open or closed.
    QApplication::setQuitOnLastWindowClosed(false);
    m_tray->show();
}

bool KestrelApp::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == qApp && event->type() == QEvent::Quit)
        closeCameraWindowsForQuit();
    // With a tray, closing the main window puts Kestrel there; quitting closes it for real.
    if (watched == &m_mainWindow && event->type() == QEvent::Close && m_tray && !m_quitting) {
        event->ignore();
        m_mainWindow.hide();
        m_tray->tellStillRunning();
        return true;
    }
    return false;
}

void KestrelApp::closeCameraWindowsForQuit()
{
    m_quitting = true;
    m_windowCoordinator->closeAllWindows();
    if (m_wall)
        m_wall->closeForQuit();
}

// Whatever it was before it went (maximised, full screen), but no longer minimised.
void KestrelApp::bringToFront()
{
    m_mainWindow.setWindowState(m_mainWindow.windowState() & ~Qt::WindowMinimized);
    m_mainWindow.show();
    m_mainWindow.raise();
    m_mainWindow.activateWindow();
}

WallWindow *KestrelApp::wallWindow() const
{
    return m_wall;
}

void KestrelApp::openWall()
{
    if (!m_wall)
        m_wall = new WallWindow(*m_printers, *m_windowCoordinator);
    m_wall->setWindowState(m_wall->windowState() & ~Qt::WindowMinimized);
    m_wall->show();
    m_wall->raise();
    m_wall->activateWindow();
}

SettingsView *KestrelApp::settingsWindow() const
{
    return m_settingsWindow;
}

// The settings are set up while the camera windows float: as high as they float, so that their
// list and fields are never covered, also when "Fenster immer oben halten" is switched on in them
// and the camera windows come to the front.
void KestrelApp::openSettings()
{
    if (!m_settingsWindow) {
        m_settingsWindow = new SettingsView(*m_printers);
        m_settingsWindow->setAttribute(Qt::WA_QuitOnClose, false);
        connect(m_settingsWindow, &SettingsView::camerasTakenOver, m_windowCoordinator,
                [this](const Printer *printer) { m_windowCoordinator->refreshCameras(*printer); });
        connect(m_settings, &AppSettings::alwaysOnTopWillChange, m_settingsWindow, [this](bool on) {
            desktopWindow::setStaysOnTop(m_settingsWindow, on);
            if (m_settingsWindow->isVisible())
                m_settingsWindow->raise();
        });
        m_settingsWindow->setWindowFlag(Qt::WindowStaysOnTopHint, m_settings->alwaysOnTop());
    }
    m_settingsWindow->show();
    m_settingsWindow->raise();
    m_settingsWindow->activateWindow();
}

} // namespace kestrel
