// SPDX-License-Identifier: GPL-3.0-or-later
#include "ChildProcesses.h"
#include "FakeTool.h"
#include "LoopbackHttpServer.h"
#include "platform/MemoryKeyValueStore.h"
#include "power/HomeKitManager.h"
#include "power/SceneFolder.h"
#include "power/SceneTemplates.h"
#include "power/StatusInterpretation.h"
#include "settings/AppSettings.h"

#include <QDirIterator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrel;
using test::FakeTool;
using Kind = HomeKitAccessoryState::Kind;

namespace {

QString str(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

const QString noStatusShortcut = str("Kein Status-Kurzbefehl hinterlegt. Optional kann ein "
                                     "Kurzbefehl den Zustand von Ender als ein/aus zurueckgeben.");

// A temporary folder with a fake shortcuts tool, and settings in memory.
struct Fixture
{
    explicit Fixture(const QString &toolBody, const QString &statusName = str("Status"))
        : tool(dir.path(), str("shortcuts"), toolBody),
          store({{str("homeKitStatusShortcutName"), statusName}}), settings(store)
    {}
    QTemporaryDir dir;
    FakeTool tool;
    MemoryKeyValueStore store;
    AppSettings settings;
};

void awaitSettled(const HomeKitManager &manager)
{
    QTRY_VERIFY_WITH_TIMEOUT(manager.accessoryState().kind() != Kind::checking, 20000);
}

void awaitAction(QFuture<void> action)
{
    QTRY_VERIFY_WITH_TIMEOUT(action.isFinished(), 20000);
}

// A user's config folder of its own, with the scenes folder inside, for one test row; and a
// manager that, with no shortcuts tool about, runs the real scene runner.
struct SceneFixture
{
    explicit SceneFixture(const QString &statusName = QString())
        : store({{str("homeKitStatusShortcutName"), statusName}}), settings(store)
    {
        qputenv("XDG_CONFIG_HOME", config.path().toUtf8());
        folder = scenes::folder();
        QDir().mkpath(folder);
    }
    std::unique_ptr<HomeKitManager> manager()
    {
        return std::make_unique<HomeKitManager>(settings, nullptr, config.filePath(str("none")),
                                                str(KESTREL_SCENE_RUNNER));
    }
    // A scene as a user writes it: an executable file in the scenes folder, or anywhere else.
    static void write(const QString &path, const QString &body, bool executable = true)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(body.toUtf8());
        file.close();
        if (executable)
            file.setPermissions(file.permissions() | QFile::ExeOwner);
    }
    QTemporaryDir config;
    QString folder;
    MemoryKeyValueStore store;
    AppSettings settings;
};

} // namespace

class PowerTest : public QObject
{
    Q_OBJECT

private slots:
    void statusAnswerBecomesState_data();
    void statusAnswerBecomesState();
    void onlyTheNewestQueryPublishes();
    void statusFollowsSettingsOneChangeLate();
    void powerActionReportsItsOutcome();
    void templatesSwitchTheirPlugs_data();
    void templatesSwitchTheirPlugs();
    void sceneRunnerRefusesAndExplains_data();
    void sceneRunnerRefusesAndExplains();
};

void PowerTest::statusAnswerBecomesState_data()
{
    QTest::addColumn<QString>("toolBody");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("message");

    auto row = [](const char *name, const char *body, Kind kind, const QString &message = {}) {
        QTest::newRow(name) << str(body) << int(kind) << message;
    };
    row("Ein with blanks", "printf '  Ein \\n'", Kind::on);
    row("0.", "echo '0.'", Kind::off);
    row("ein/aus: on wins", "echo 'ein/aus'", Kind::on);
    row("umlaut words", "echo 'Gerät ist AN'", Kind::on);
    row("online is no word", "echo ' online '", Kind::unknown,
        str("Status-Kurzbefehl lieferte: online"));
    row("10 and einschalten", "echo '10 einschalten an1'", Kind::unknown,
        str("Status-Kurzbefehl lieferte: 10 einschalten an1"));
    row("not UTF-8", "printf 'ein\\377'", Kind::unknown,
        str("Status-Kurzbefehl lieferte keine auswertbare Rueckgabe"));
    row("exit 1, silent", "exit 1", Kind::unknown, str("Kurzbefehl fehlgeschlagen (1)"));
    row("exit 1, says why", "echo ' Keine Berechtigung ' >&2; exit 1", Kind::unknown,
        str("Keine Berechtigung"));
    row("failure beats words", "echo ein; exit 4", Kind::unknown,
        str("Kurzbefehl fehlgeschlagen (4)"));
    row("crash", "kill -KILL $$", Kind::unknown, str("Kurzbefehl fehlgeschlagen (9)"));
    row("no status name", "echo ein", Kind::unknown, noStatusShortcut);
    // No tool at all: power stays off the screen, and an action says why it could not start.
    row("no tool", "", Kind::unavailable, str("Die macOS Kurzbefehle-CLI ist nicht verfuegbar"));
}

void PowerTest::statusAnswerBecomesState()
{
    QFETCH(QString, toolBody);
    QFETCH(int, kind);
    QFETCH(QString, message);

    const bool named = message != noStatusShortcut;
    Fixture fixture(toolBody, named ? str("  Drucker Status\n") : str(" \t\n"));
    const bool toolThere = !toolBody.isEmpty();
    HomeKitManager manager(fixture.settings, nullptr,
                           toolThere ? fixture.tool.path() : fixture.dir.filePath(str("none")));
    if (!toolThere) {
        QCOMPARE(manager.accessoryState(), HomeKitAccessoryState::unavailable(message));
        QVERIFY(!manager.canPowerOn());
        awaitAction(manager.runShortcut(str("Klipper einschalten")));
        QVERIFY(
            manager.actionMessage().value_or(QString()).contains(str("konnte nicht gestartet")));
        return;
    }
    QCOMPARE(manager.accessoryState().kind(), named ? Kind::checking : Kind::unknown);
    awaitSettled(manager);

    QCOMPARE(int(manager.accessoryState().kind()), kind);
    QCOMPARE(manager.accessoryState().message(), message);
    QCOMPARE(manager.canPowerOn(), Kind(kind) != Kind::on);
    // Construction queries twice, each time with exactly "run" and the trimmed name; no name,
    // no query.
    const QList<QStringList> calls(named ? 2 : 0, {str("run"), str("Drucker Status")});
    QTRY_COMPARE_WITH_TIMEOUT(fixture.tool.calls(), calls, 10000);
}

void PowerTest::onlyTheNewestQueryPublishes()
{
    Fixture fixture(str("echo aus"), QString());
    HomeKitManager manager(fixture.settings, nullptr, fixture.tool.path());
    fixture.settings.setHomeKitStatusShortcutName(str("Status"));

    // The first query hangs until told to answer "ein"; the second answers "aus" at once.
    const QString release = fixture.dir.filePath(str("release"));
    fixture.tool.replace(str("while [ ! -e '%1' ]; do sleep 0.02; done; echo ein").arg(release));
    manager.refreshStatus();
    QTRY_COMPARE_WITH_TIMEOUT(fixture.tool.calls().size(), 1, 10000);
    fixture.tool.replace(str("echo aus"));
    manager.refreshStatus();
    QTRY_COMPARE_WITH_TIMEOUT(manager.accessoryState(), HomeKitAccessoryState::off(), 20000);

    QSignalSpy changes(&manager, &HomeKitManager::accessoryStateChanged);
    QFile(release).open(QIODevice::WriteOnly);
    QTRY_VERIFY_WITH_TIMEOUT(test::childProcessNames().isEmpty(), 20000);
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    QCOMPARE(changes.count(), 0);
    QCOMPARE(manager.accessoryState(), HomeKitAccessoryState::off());
}

void PowerTest::statusFollowsSettingsOneChangeLate()
{
    Fixture fixture(str("echo ein"), str("A"));
    HomeKitManager manager(fixture.settings, nullptr, fixture.tool.path());
    awaitSettled(manager);
    QTRY_COMPARE_WITH_TIMEOUT(fixture.tool.calls().size(), 2, 10000);

    // The refresh a change triggers still reads the name from before it.
    fixture.settings.setHomeKitStatusShortcutName(str("B"));
    QCOMPARE(manager.accessoryState(), HomeKitAccessoryState::checking());
    awaitSettled(manager);
    QCOMPARE(fixture.tool.calls().last(), (QStringList{str("run"), str("A")}));

    // The accessory name is only watched, never used: a change refreshes with the current name.
    fixture.settings.setHomeKitAccessoryName(str("Prusa"));
    awaitSettled(manager);
    QCOMPARE(fixture.tool.calls().last(), (QStringList{str("run"), str("B")}));
    QCOMPARE(statusText(manager.accessoryState()), str("Ender ist eingeschaltet"));
}

void PowerTest::powerActionReportsItsOutcome()
{
    Fixture fixture(str("echo aus"));
    HomeKitManager manager(fixture.settings, nullptr, fixture.tool.path());
    awaitSettled(manager);
    // The dropped first query of the two at construction may still be on its way.
    QTRY_COMPARE_WITH_TIMEOUT(fixture.tool.calls().size(), 2, 10000);
    QCOMPARE(manager.actionMessage(), std::nullopt);
    const qsizetype queries = fixture.tool.calls().size();

    // Success names the trimmed scene and queries the state again.
    QSignalSpy states(&manager, &HomeKitManager::accessoryStateChanged);
    awaitAction(manager.runShortcut(str("  Klipper einschalten\n")));
    QCOMPARE(manager.actionMessage(), str("Kurzbefehl \"Klipper einschalten\" ausgefuehrt"));
    QTRY_COMPARE_WITH_TIMEOUT(states.count(), 2, 20000);
    QCOMPARE(states[0][0].value<HomeKitAccessoryState>(), HomeKitAccessoryState::checking());
    QCOMPARE(states[1][0].value<HomeKitAccessoryState>(), HomeKitAccessoryState::off());
    QCOMPARE(fixture.tool.calls().mid(queries),
             (QList{QStringList{str("run"), str("Klipper einschalten")},
                    QStringList{str("run"), str("Status")}}));

    // A name that looks like an option is just the second argument.
    awaitAction(manager.runShortcut(str("--help")));
    QCOMPARE(fixture.tool.calls().value(queries + 2), (QStringList{str("run"), str("--help")}));
    awaitSettled(manager);

    // Failure reports the tool's own words, or a fixed text, and queries nothing.
    fixture.tool.replace(str("echo ' HomeKit antwortet nicht ' >&2; exit 2"));
    const qsizetype before = fixture.tool.calls().size();
    awaitAction(manager.runShortcut(str("Klipper ausschalten")));
    QCOMPARE(manager.actionMessage(), str("HomeKit antwortet nicht"));
    fixture.tool.replace(str("exit 1"));
    awaitAction(manager.runShortcut(str("Klipper ausschalten")));
    QCOMPARE(manager.actionMessage(), str("Kurzbefehl fehlgeschlagen (1)"));
    QCoreApplication::processEvents();
    QCOMPARE(fixture.tool.calls().size(), before + 2);
    QCOMPARE(manager.accessoryState(), HomeKitAccessoryState::off());
}

// Each template, made into a scene the way a user does it (the example copied under the scene's
// name and made executable, the plug's address entered in its config), against a loopback
// server that plays the plug's API: the plug gets exactly the documented request, and Kestrel
// shows what the answer means.
void PowerTest::templatesSwitchTheirPlugs_data()
{
    QTest::addColumn<QString>("scene");    // template name
    QTest::addColumn<QString>("config");   // lines the user adds to the template's config
    QTest::addColumn<QByteArray>("reply"); // the plug's answer; "401" for a refusal
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("header"); // "name: value" the plug must receive, if any
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("shown"); // action message, or the status text for a status scene

    const QString done = str("Kurzbefehl \"Drucker\" ausgefuehrt");
    const QString on = str("Ender ist eingeschaltet");
    const QString off = str("Ender ist ausgeschaltet");
    const char *bearer = "authorization: Bearer t0k3n";
    auto row = [](const char *scene, const char *config, const char *reply, const char *request,
                  const char *header, const char *body, const QString &shown) {
        QTest::newRow(scene) << str(scene) << str(config) << QByteArray(reply)
                             << QByteArray(request) << QByteArray(header) << QByteArray(body)
                             << shown;
    };
    row("tasmota-an", "PASSWORT='ge heim'", R"({"POWER":"ON"})",
        "GET /cm?cmnd=Power%20On&user=admin&password=ge+heim", "", "", done);
    row("tasmota-aus", "", R"({"POWER":"OFF"})",
        "GET /cm?cmnd=Power%20Off&user=admin&password=", "", "", done);
    row("tasmota-status", "", R"({"POWER":"ON"})", "GET /cm?cmnd=Power&user=admin&password=", "",
        "", on);
    QTest::newRow("tasmota-an, wrong password")
        << str("tasmota-an") << QString() << QByteArray("401")
        << QByteArray("GET /cm?cmnd=Power%20On&user=admin&password=") << QByteArray()
        << QByteArray() << str("curl: (22) The requested URL returned error: 401");
    QTest::newRow("tasmota-an, unknown command")
        << str("tasmota-an") << QString() << QByteArray(R"({"Command":"Unknown"})")
        << QByteArray("GET /cm?cmnd=Power%20On&user=admin&password=") << QByteArray()
        << QByteArray() << str(R"(Tasmota antwortet: {"Command":"Unknown"})");
    row("shelly1-an", "ZUGANG=admin:geheim", R"({"ison":true})", "GET /relay/0?turn=on",
        "authorization: Basic YWRtaW46Z2VoZWlt", "", done);
    row("shelly1-aus", "", R"({"ison":false})", "GET /relay/0?turn=off", "", "", done);
    row("shelly1-status", "", R"({"ison": false, "has_timer": false})", "GET /relay/0", "", "",
        off);
    row("shelly2-an", "", R"({"was_on":false})", "GET /rpc/Switch.Set?id=0&on=true", "", "", done);
    row("shelly2-aus", "", R"({"was_on":true})", "GET /rpc/Switch.Set?id=0&on=false", "", "", done);
    row("shelly2-status", "", R"({"id":0,"source":"http","output":true,"voltage":231.1})",
        "GET /rpc/Switch.GetStatus?id=0", "", "", on);
    row("homeassistant-an", "", "[]", "POST /api/services/switch/turn_on", bearer,
        R"({"entity_id": "switch.drucker"})", done);
    row("homeassistant-aus", "", "[]", "POST /api/services/switch/turn_off", bearer,
        R"({"entity_id": "switch.drucker"})", done);
    row("homeassistant-status", "SCHALTER=switch.ender",
        R"({"entity_id": "switch.ender", "state": "off", "attributes": {}})",
        "GET /api/states/switch.ender", bearer, "", off);
    row("druckerhost-an", "API_SCHLUESSEL=k3y", R"({"result":{"printer":"on"}})",
        "POST /machine/device_power/device?device=printer&action=on", "x-api-key: k3y", "", done);
    row("druckerhost-aus", "", R"({"result":{"printer":"off"}})",
        "POST /machine/device_power/device?device=printer&action=off", "", "", done);
    row("druckerhost-status", "GERAET=ender", R"({"result": {"ender": "on"}})",
        "GET /machine/device_power/device?device=ender", "", "", on);
}

void PowerTest::templatesSwitchTheirPlugs()
{
    QFETCH(QString, scene);
    QFETCH(QString, config);
    QFETCH(QByteArray, reply);
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, header);
    QFETCH(QByteArray, body);
    QFETCH(QString, shown);

    const bool isStatus = scene.endsWith(str("-status"));
    SceneFixture fixture(isStatus ? str("Drucker") : QString());
    LoopbackHttpServer plug;
    plug.setReply(reply == "401" ? HttpReply::status("HTTP/1.1 401 Unauthorized")
                                 : HttpReply::content("application/json", reply));

    QVERIFY(!scenes::prepareFolder(fixture.folder));
    const QDir folder(fixture.folder);
    QVERIFY(
        QFile::copy(folder.filePath(scene + str(".beispiel")), folder.filePath(str("Drucker"))));
    QVERIFY(QFile::setPermissions(folder.filePath(str("Drucker")),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    const QString configName = scene.section(u'-', 0, 0)
                                   .replace(str("shelly1"), str("shelly"))
                                   .replace(str("shelly2"), str("shelly")) +
                               str(".conf");
    QFile configFile(folder.filePath(configName));
    QVERIFY(configFile.open(QIODevice::Append));
    configFile.write(str("\nADRESSE=http://%1\n%2\n").arg(plug.address(), config).toUtf8());
    configFile.close();
    SceneFixture::write(folder.filePath(str("homeassistant.token")), str("t0k3n\n"), false);
    QFile::setPermissions(folder.filePath(str("homeassistant.token")),
                          QFile::ReadOwner | QFile::WriteOwner);

    const auto manager = fixture.manager();
    if (isStatus) {
        awaitSettled(*manager);
        QCOMPARE(statusText(manager->accessoryState()), shown);
    } else {
        awaitAction(manager->runShortcut(str("Drucker")));
        QCOMPARE(manager->actionMessage().value_or(QString()), shown);
    }
    const HttpRequest received = plug.requests().constLast();
    QCOMPARE(received.method + ' ' + received.path, request);
    if (!header.isEmpty()) {
        const qsizetype colon = header.indexOf(": ");
        QCOMPARE(received.headers.value(header.left(colon)), header.mid(colon + 2));
    }
    QCOMPARE(received.body, body);
}

// Whatever name a scene field holds, only a file directly in the scenes folder runs, and a name
// that cannot be one is refused with a German line that Kestrel shows.
void PowerTest::sceneRunnerRefusesAndExplains_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("scene"); // the body of the file by that name, if there is one
    QTest::addColumn<bool>("executable");
    QTest::addColumn<QString>("shown"); // %1 is the scenes folder

    const QString touch = str("#!/bin/sh\ntouch \"$(dirname \"$0\")/ran\"\n");
    auto refused = [&](const char *row, const QString &name, const char *shown) {
        QTest::newRow(row) << name << touch << true << str(shown);
    };
    refused("../x", str("../x"),
            "Szenenname „../x“ enthält „/“: eine Szene ist eine Datei direkt "
            "im Szenenordner");
    refused("a/b", str("a/b"),
            "Szenenname „a/b“ enthält „/“: eine Szene ist eine Datei direkt im "
            "Szenenordner");
    refused("--help", str("--help"),
            "Szenenname „--help“ beginnt mit „-“ und sähe aus wie eine "
            "Option");
    refused("-", str("-"), "Szenenname „-“ beginnt mit „-“ und sähe aus wie eine Option");
    refused("newline", str("a\nb"), "Szenenname „a␊b“ enthält Steuerzeichen");
    refused("300 bytes", QString(300, u'a'), "Szenenname ist länger als 255 Bytes");
    refused("empty", QString(), "Kein Kurzbefehls-Name eingetragen");
    QTest::newRow("missing") << str("Drucker an") << QString() << false
                             << str("Szene „Drucker an“ fehlt: %1/Drucker an ist keine ausführbare "
                                    "Datei");
    QTest::newRow("not executable") << str("Drucker an") << touch << false
                                    << str("Szene „Drucker an“ ist nicht ausführbar: %1/Drucker an "
                                           "fehlt das Recht zum Ausführen (chmod +x)");
    QTest::newRow("hangs") << str("Drucker an") << str("#!/bin/sh\nsleep 60\n") << true
                           << str("Szene „Drucker an“ lief länger als 0,3 Sekunden und wurde "
                                  "abgebrochen");
    QTest::newRow("exit 1, silent") << str("Drucker an") << str("#!/bin/sh\nexit 1\n") << true
                                    << str("Kurzbefehl fehlgeschlagen (1)");
    QTest::newRow("says why") << str("Drucker an")
                              << str("#!/bin/sh\necho ' Steckdose antwortet nicht' >&2; exit 3\n")
                              << true << str("Steckdose antwortet nicht");
}

void PowerTest::sceneRunnerRefusesAndExplains()
{
    QFETCH(QString, name);
    QFETCH(QString, scene);
    QFETCH(bool, executable);
    QFETCH(QString, shown);

    SceneFixture fixture;
    if (!scene.isEmpty() && !name.isEmpty() && name.size() < 256)
        SceneFixture::write(fixture.folder + u'/' + name, scene, executable);
    qputenv("KESTREL_SCENE_TIME_LIMIT_MS", "300");
    const auto manager = fixture.manager();
    awaitAction(manager->runShortcut(name));
    qunsetenv("KESTREL_SCENE_TIME_LIMIT_MS");
    QCOMPARE(manager->actionMessage().value_or(QString()),
             shown.contains(str("%1")) ? shown.arg(fixture.folder) : shown);
    QTRY_VERIFY_WITH_TIMEOUT(test::childProcessNames().isEmpty(), 20000); // the hung scene too
    QDirIterator ran(fixture.config.path(), {str("ran")}, QDir::Files,
                     QDirIterator::Subdirectories);
    QVERIFY2(!ran.hasNext(), "a refused scene ran");
}

QTEST_GUILESS_MAIN(PowerTest)
#include "tst_power.moc"
