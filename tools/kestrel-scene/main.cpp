// SPDX-License-Identifier: GPL-3.0-or-later
// kestrel-scene: runs one scene, an executable file in the scenes folder, the way the shortcuts
// tool runs a shortcut: `kestrel-scene run NAME`. Kestrel calls it where no shortcuts tool
// exists, with the very same arguments, so everything it shows afterwards stays the same.
#include "platform/CommandLine.h"
#include "power/SceneFolder.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLocale>
#include <QProcess>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

using kestrel::scenes::printable;
using kestrel::scenes::shownPath;

// Exit statuses as a shell gives them, so a scene's own statuses stay readable beside them.
enum Status
{
    badName = 2,
    timedOut = 124,
    notExecutable = 126,
    missing = 127,
    signalled = 128
};

constexpr int defaultTimeLimitMs = 30'000;

int fail(const QString &text, int status)
{
    std::fputs((text + u'\n').toLocal8Bit().constData(), stderr);
    return status;
}

// Only the tests shorten the limit, so that a hanging scene costs them a moment, not half a
// minute.
int timeLimitMs()
{
    bool ok = false;
    const int limit = qEnvironmentVariableIntValue("KESTREL_SCENE_TIME_LIMIT_MS", &ok);
    return ok && limit > 0 ? limit : defaultTimeLimitMs;
}

int runScene(const QString &name)
{
    if (const auto problem = kestrel::scenes::nameProblem(name))
        return fail(*problem, badName);
    const QString quoted = QStringLiteral("„%1“").arg(printable(name));
    const QString folder = kestrel::scenes::folder();
    const QFileInfo scene(folder + u'/' + name);
    if (!scene.isFile())
        return fail(QStringLiteral("Szene %1 fehlt: %2 ist keine ausführbare Datei")
                        .arg(quoted, shownPath(scene.filePath())),
                    missing);
    if (!scene.isExecutable())
        return fail(QStringLiteral("Szene %1 ist nicht ausführbar: %2 fehlt das Recht zum "
                                   "Ausführen (chmod +x)")
                        .arg(quoted, shownPath(scene.filePath())),
                    notExecutable);

    QProcess process;
    process.setProgram(scene.filePath());
    process.setWorkingDirectory(folder);
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.setStandardInputFile(QProcess::nullDevice());
    // A group of its own, so that a scene which runs too long goes with everything it started
    // (a script's curl, say), and nothing is left holding Kestrel's pipes open.
    process.setChildProcessModifier([] { ::setpgid(0, 0); });
    process.start();
    if (!process.waitForStarted(-1))
        return fail(QStringLiteral("Szene %1 konnte nicht gestartet werden: %2")
                        .arg(quoted, process.errorString()),
                    notExecutable);
    const int limit = timeLimitMs();
    if (!process.waitForFinished(limit)) {
        ::kill(-pid_t(process.processId()), SIGKILL);
        process.waitForFinished(-1);
        return fail(QStringLiteral("Szene %1 lief länger als %2 Sekunden und wurde abgebrochen")
                        .arg(quoted, QLocale(QLocale::German).toString(limit / 1000.0)),
                    timedOut);
    }
    if (process.exitStatus() == QProcess::CrashExit)
        return fail(QStringLiteral("Szene %1 wurde durch Signal %2 beendet")
                        .arg(quoted)
                        .arg(process.exitCode()),
                    signalled + process.exitCode());
    return process.exitCode();
}

} // namespace

int main(int argc, char *argv[])
{
    // "run NAME" is taken by position, before any option parsing, so that a name such as
    // "--help" is judged as a name and never read as an option.
    if (argc == 3 && std::strcmp(argv[1], "run") == 0) {
        QCoreApplication app(argc, argv);
        return runScene(QString::fromLocal8Bit(argv[2]));
    }
    kestrel::CommandLine commandLine(
        QStringLiteral("kestrel-scene"),
        QStringLiteral("Führt eine Szene aus, die den Drucker schaltet: kestrel-scene run NAME\n"
                       "startet die ausführbare Datei NAME im Szenenordner, ohne Shell und ohne\n"
                       "Argumente. Kestrel ruft es auf, wo es kein Kurzbefehle-Programm gibt."),
        QStringLiteral("Szenenordner:\n"
                       "  $XDG_CONFIG_HOME/Kestrel/scenes, ohne XDG_CONFIG_HOME\n"
                       "  ~/.config/Kestrel/scenes. Vorlagen liegen in /usr/share/kestrel/scenes.\n"
                       "  Ein Name ist ein einzelner Dateiname: nicht leer, ohne „/“, nicht „.“\n"
                       "  oder „..“, ohne Steuerzeichen, ohne „-“ am Anfang, höchstens 255 Bytes.\n"
                       "\n"
                       "Rückgabewerte:\n"
                       "  der Rückgabewert der Szene, sonst\n"
                       "  2    ungültiger Name, unbekannte Option oder fehlendes „run NAME“\n"
                       "  124  die Szene lief länger als 30 Sekunden und wurde abgebrochen\n"
                       "  126  die Szene ist nicht ausführbar\n"
                       "  127  die Szene fehlt\n"
                       "  128+n  die Szene wurde durch Signal n beendet"));
    if (const auto status = commandLine.parse(argc, argv))
        return *status;
    return fail(QStringLiteral("kestrel-scene: erwartet „run NAME“"), badName);
}
