// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AppIdentity.h"
#include "app/KestrelApp.h"
#include "platform/AutostartEntry.h"
#include "platform/CommandLine.h"
#include "platform/JsonFileKeyValueStore.h"
#include "platform/SingleInstance.h"
#include "platform/TerminationSignals.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    kestrel::CommandLine commandLine(
        QStringLiteral("kestrel"),
        QStringLiteral(
            "Zeigt die Kameras eines Klipper-3D-Druckers, die Crowsnest bereitstellt, in\n"
            "schwebenden Fenstern, meldet, ob der Drucker-Host antwortet, und schaltet\n"
            "den Drucker über Kurzbefehle ein und aus."),
        QStringLiteral("Einstellungen:\n"
                       "  Alle weiteren Einstellungen stehen in der Datei\n"
                       "  $XDG_CONFIG_HOME/Kestrel/settings.json, ohne XDG_CONFIG_HOME in\n"
                       "  ~/.config/Kestrel/settings.json. Jede Änderung im Einstellungsfenster\n"
                       "  wird dort gespeichert. Läuft Kestrel mit diesem Ordner schon, holt ein\n"
                       "  zweiter Start das laufende Hauptfenster nach vorn.\n"
                       "\n"
                       "Szenen:\n"
                       "  Ohne /usr/bin/shortcuts schaltet Kestrel den Drucker über Szenen:\n"
                       "  ausführbare Dateien in $XDG_CONFIG_HOME/Kestrel/scenes (sonst\n"
                       "  ~/.config/Kestrel/scenes), die kestrel-scene startet. Vorlagen für\n"
                       "  Tasmota, Shelly, Home Assistant und die Power-API des Drucker-Hosts\n"
                       "  liegen in /usr/share/kestrel/scenes.\n"
                       "\n"
                       "Rückgabewerte:\n"
                       "  0  Kestrel wurde beendet (auch durch SIGTERM, SIGINT oder SIGHUP), oder\n"
                       "     ein zweiter Start hat das laufende Kestrel nach vorn geholt.\n"
                       "  2  Unbekannte Option oder unerwartetes Argument."));
    const QCommandLineOption hidden(
        kestrel::autostart::hiddenOption,
        QStringLiteral("Startet nur mit dem Symbol im Infobereich, ohne Hauptfenster."));
    commandLine.addOption(hidden);
    const QCommandLineOption wall(QStringLiteral("wall"),
                                  QStringLiteral("Öffnet beim Start die Druckerwand."));
    commandLine.addOption(wall);
    if (const auto status = commandLine.parse(argc, argv))
        return *status;

#if defined(Q_OS_LINUX)
    // Wayland lets no client place its own windows, and corner placement is the point of
    // camera windows: unless the user chose a platform, prefer X11 (XWayland on a Wayland
    // desktop) and fall back to Wayland only where there is no X server.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "xcb;wayland");
#endif
    QApplication app(argc, argv);
    kestrel::appIdentity::apply();

    kestrel::SingleInstance instance;
    if (!instance.isFirst())
        return 0;
    kestrel::quitOnTerminationSignals();
    kestrel::JsonFileKeyValueStore store(kestrel::JsonFileKeyValueStore::defaultFilePath());
    kestrel::KestrelApp kestrel(store, {},
                                commandLine.isSet(hidden) ? kestrel::KestrelApp::StartMode::toTray
                                                          : kestrel::KestrelApp::StartMode::shown);
    if (commandLine.isSet(wall))
        kestrel.openWall();
    QObject::connect(&instance, &kestrel::SingleInstance::anotherLaunch, &kestrel,
                     &kestrel::KestrelApp::bringToFront);
    return QApplication::exec();
}
