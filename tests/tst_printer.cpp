// SPDX-License-Identifier: GPL-3.0-or-later
// The printer from outside, through the programs Kestrel runs for it: whether its host answers
// (curl), and switching its power and asking for its state (the shortcuts tool or, with none, the
// scene runner). The exact arguments, the text every answer and every failure gives, that a
// setting is followed one change late, and that only the newest answer counts.
#include "FakeTool.h"
#include "Helpers.h"
#include "LoopbackHttpServer.h"
#include "monitor/HostProbeBatch.h"
#include "monitor/PiStatusMonitor.h"
#include "platform/MemoryKeyValueStore.h"
#include "platform/ProcessRunner.h"
#include "power/HomeKitManager.h"
#include "power/SceneFolder.h"
#include "power/SceneTemplates.h"
#include "power/StatusInterpretation.h"
#include "settings/PrinterSettings.h"

#include <QDirIterator>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrel;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Kind = HomeKitAccessoryState::Kind;
using Calls = QList<QStringList>;

namespace {

const QString noStatusShortcut = u"Kein Status-Kurzbefehl hinterlegt. Optional kann ein "
                                 u"Kurzbefehl den Zustand von Ender als ein/aus zurueckgeben."_s;

// A user's config folder of its own, with the scenes folder in it; settings in memory; and a
// recording stand-in for the shortcuts tool, which start() uses when it has a body. Without one,
// the manager finds no shortcuts tool and runs the real scene runner.
struct Power
{
    explicit Power(const QString &statusName = {}, const QString &toolBody = {})
        : tool(config.path(), u"shortcuts"_s, toolBody), hasTool(!toolBody.isEmpty()),
          store({{u"homeKitStatusShortcutName"_s, statusName}}), settings(store)
    {
        qputenv("XDG_CONFIG_HOME", config.path().toUtf8());
        QDir().mkpath(folder);
    }
    std::unique_ptr<HomeKitManager> start(const QString &runner = KESTREL_SCENE_PATH)
    {
        return std::make_unique<HomeKitManager>(settings, nullptr, hasTool ? tool.path() : none,
                                                runner);
    }
    // A file as a user writes it: a scene, executable, or its configuration.
    static void write(const QString &path, const QString &body, bool executable)
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(body.toUtf8()) >= 0);
        QVERIFY(file.setPermissions(QFile::ReadOwner | QFile::WriteOwner |
                                    (executable ? QFile::ExeOwner : QFile::Permissions())));
    }
    QTemporaryDir config;
    QString none = config.filePath(u"none"_s);
    QString folder = config.filePath(u"Kestrel/scenes"_s);
    test::FakeTool tool;
    bool hasTool;
    MemoryKeyValueStore store;
    PrinterSettings settings;
};

void awaitSettled(const HomeKitManager &manager)
{
    QTRY_VERIFY_WITH_TIMEOUT(manager.accessoryState().kind() != Kind::checking, 20000);
}

void awaitAction(QFuture<void> action)
{
    QTRY_VERIFY_WITH_TIMEOUT(action.isFinished(), 20000);
}

struct Fixture
{
    explicit Fixture(const QString &address) : store({{u"printerIP"_s, address}}), settings(store)
    {}
    MemoryKeyValueStore store;
    PrinterSettings settings;
};

// The first value published after the initial "checking".
PiReachability firstVerdict(PiStatusMonitor &monitor)
{
    QSignalSpy published(&monitor, &PiStatusMonitor::reachabilityChanged);
    if (monitor.reachability().kind() == PiReachability::Kind::checking && !published.wait(20000))
        qFatal("monitor published nothing");
    return monitor.reachability();
}

} // namespace

class PrinterTest : public QObject
{
    Q_OBJECT

private slots:
    void verdictFollowsTheHostsAnswer_data();
    void verdictFollowsTheHostsAnswer();
    void addressIsOneArgumentWhateverItHolds_data();
    void addressIsOneArgumentWhateverItHolds();
    void changeProbesThePreviouslyStoredAddressOnly();
    void probesDueTogetherShareOneRun();
    void statusAnswerBecomesState_data();
    void statusAnswerBecomesState();
    void onlyTheNewestQueryPublishes();
    void statusFollowsSettingsOneChangeLate();
    void powerActionReportsItsOutcome();
    void aProgramGoesWithItsWindow();
    void templatesSwitchTheirPlugs_data();
    void templatesSwitchTheirPlugs();
    void sceneRunnerRefusesAndExplains_data();
    void sceneRunnerRefusesAndExplains();
};

void PrinterTest::verdictFollowsTheHostsAnswer_data()
{
    QTest::addColumn<HttpReply>("reply");
    QTest::addColumn<QString>("address"); // %1 is the server's address
    QTest::addColumn<QString>("reason");  // how the reason starts; empty: reachable

    const HttpReply ok = HttpReply::status("HTTP/1.1 200 OK");
    QTest::newRow("200") << ok << u"%1"_s << QString();
    QTest::newRow("404 still answers")
        << HttpReply::status("HTTP/1.1 404 Not Found") << u"%1"_s << QString();
    QTest::newRow("blanks trimmed, user-info kept") << ok << u" \tuser@%1 \n"_s << QString();
    QTest::newRow("HTTP/1.0 is not enough") << HttpReply::status("HTTP/1.0 200 OK") << u"%1"_s
                                            << u"Keine gueltige HTTP-Antwort vom Pi"_s;
    QTest::newRow("closed without a word") << HttpReply::with(HttpReply::Action::close) << u"%1"_s
                                           << u"curl: (52) Empty reply from server"_s;
    // curl's own 3-second limit, and its own words.
    QTest::newRow("silent") << HttpReply::with(HttpReply::Action::silent) << u"%1"_s
                            << u"curl: (28) Operation timed out after 3"_s;
    QTest::newRow("refused") << ok << LoopbackHttpServer::closedAddress()
                             << u"curl: (7) Failed to connect to 127.0.0.1"_s;
    QTest::newRow("blank") << ok << u" \t\n "_s << u"Keine Drucker-IP eingetragen"_s;
    // To curl a pattern; asked together with others, it must fail alone.
    QTest::newRow("bracket") << ok << u"127.0.0.1:9["_s << u"curl: (3) "_s;
}

void PrinterTest::verdictFollowsTheHostsAnswer()
{
    QFETCH(HttpReply, reply);
    QFETCH(QString, address);
    QFETCH(QString, reason);

    LoopbackHttpServer server;
    server.setReply(reply);
    Fixture fixture(address.arg(server.address()));
    PiStatusMonitor monitor(fixture.settings, nullptr, 60s);
    QCOMPARE(monitor.reachability(), PiReachability::checking());
    const PiReachability verdict = firstVerdict(monitor);
    QVERIFY2(verdict.reason().startsWith(reason) && verdict.isUnreachable() != reason.isEmpty(),
             qPrintable(verdict.reason()));
    if (address.contains(u"%1")) {
        const QList<HttpRequest> probes = server.curlRequests();
        QCOMPARE(probes.size(), 1);
        QCOMPARE(probes[0].method + ' ' + probes[0].path, QByteArray("HEAD /"));
    }

    // Asked in one curl run together with a host that answers, each gets its own verdict.
    LoopbackHttpServer other;
    HostProbeBatch batch;
    const QFuture<PiReachability> together =
        batch.probe(fixture.settings.printerIP().trimmed(), 0ms);
    const QFuture<PiReachability> beside = batch.probe(other.address(), 0ms);
    QTRY_VERIFY_WITH_TIMEOUT(together.isFinished() && beside.isFinished(), 20000);
    QCOMPARE(batch.runs(), 1);
    QVERIFY2(together.result().reason().startsWith(reason) &&
                 together.result().isUnreachable() != reason.isEmpty(),
             qPrintable(together.result().reason()));
    QCOMPARE(beside.result(), PiReachability::reachable());
}

// Probes that fall due within half a pause of each other share one curl run; one host alone is
// asked as a single printer's host always was.
void PrinterTest::probesDueTogetherShareOneRun()
{
    QTemporaryDir tools;
    const test::FakeTool curl(tools.path(), u"curl"_s, u"exec /usr/bin/curl \"$@\""_s);
    LoopbackHttpServer first;
    LoopbackHttpServer second;
    HostProbeBatch batch(curl.path());
    const QFuture<PiReachability> early = batch.probe(first.address(), 400ms);
    const QFuture<PiReachability> joining = batch.probe(second.address(), 500ms);
    const QFuture<PiReachability> alone = batch.probe(second.address(), 100ms);
    QTRY_VERIFY_WITH_TIMEOUT(early.isFinished() && joining.isFinished() && alone.isFinished(),
                             20000);
    for (const auto &future : {early, joining, alone})
        QCOMPARE(future.result(), PiReachability::reachable());
    const QList<QStringList> runs = curl.calls();
    QCOMPARE(runs.size(), 2);
    QVERIFY(!runs[0].contains(u"--parallel"_s) && runs[0].last().contains(second.address()));
    QVERIFY(runs[1].contains(u"--parallel"_s) && runs[1].filter(u"http://"_s).size() == 2);
}

void PrinterTest::addressIsOneArgumentWhateverItHolds_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("option after blank") << u"127.0.0.1 -o /tmp/x"_s;
    QTest::newRow("command substitution") << u"$(touch x);id"_s;
    QTest::newRow("looks like an option") << u"-K@127.0.0.1/etc/passwd"_s;
    QTest::newRow("embedded newline") << u"127.0.0.1\n--output=/tmp/x"_s;
    // No curl to start: the reason says so, in German.
    QTest::newRow("curl missing") << QString();
}

void PrinterTest::addressIsOneArgumentWhateverItHolds()
{
    QFETCH(QString, address);
    QTemporaryDir dir;
    test::FakeTool curl(dir.path(), u"curl"_s, u"echo 'HTTP/1.1 200 OK'"_s);
    const QString curlPath = address.isEmpty() ? dir.filePath(u"no-curl"_s) : curl.path();
    Fixture fixture(address.isEmpty() ? u"127.0.0.1:9"_s : u' ' + address + u'\n');
    PiStatusMonitor monitor(fixture.settings, nullptr, 60s, curlPath);
    const PiReachability verdict = firstVerdict(monitor);
    if (address.isEmpty()) {
        QVERIFY2(verdict.reason().contains(u"konnte nicht gestartet werden"_s),
                 qPrintable(verdict.reason()));
        return;
    }
    QCOMPARE(verdict, PiReachability::reachable());
    QCOMPARE(curl.calls(), (QList<QStringList>{{u"-I"_s, u"-sS"_s, u"--max-time"_s, u"3"_s,
                                                u"--http1.1"_s, u"http://"_s + address + u'/'}}));
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files), (QStringList{u"curl"_s, u"curl.calls"_s}));
}

// The monitor takes a new address one change late: each change probes the address stored before,
// at once, and a probe still under way for an address before that never shows.
void PrinterTest::changeProbesThePreviouslyStoredAddressOnly()
{
    LoopbackHttpServer first;
    LoopbackHttpServer second;
    second.setReply(HttpReply::status("HTTP/1.0 200 OK"));
    Fixture fixture(first.address());
    PiStatusMonitor monitor(fixture.settings, nullptr, 60s);
    QCOMPARE(firstVerdict(monitor), PiReachability::reachable());

    first.setHandler([](const HttpRequest &request) { // holds the probe, not the wake-up
        return request.fromCurl() ? HttpReply::with(HttpReply::Action::hold) : HttpReply{};
    });
    fixture.settings.setPrinterIP(second.address()); // probes the first host, which holds
    QTRY_COMPARE_WITH_TIMEOUT(first.heldCount(), 1, 10000);
    QCOMPARE(second.curlRequests().size(), 0);

    QSignalSpy published(&monitor, &PiStatusMonitor::reachabilityChanged);
    fixture.settings.setPrinterIP(u"127.0.0.1:1"_s); // now the second, which says HTTP/1.0
    QCOMPARE(monitor.reachability(), PiReachability::checking()); // at once
    const auto fresh = PiReachability::unreachable(u"Keine gueltige HTTP-Antwort vom Pi"_s);
    QTRY_COMPARE_WITH_TIMEOUT(monitor.reachability(), fresh, 20000);
    QCOMPARE(second.curlRequests().size(), 1);

    // The stale probe answers "reachable" and finishes; it must never show.
    first.releaseHeld(HttpReply::status("HTTP/1.1 200 OK"));
    QTRY_VERIFY_WITH_TIMEOUT(test::childProcessNames().isEmpty(), 20000);
    QCoreApplication::processEvents();
    // The same address again restarts nothing.
    fixture.settings.setPrinterIP(u"127.0.0.1:1"_s);
    QCOMPARE(published.count(), 2);
    QCOMPARE(monitor.reachability(), fresh);
}

void PrinterTest::statusAnswerBecomesState_data()
{
    QTest::addColumn<QString>("toolBody"); // empty: there is no tool
    QTest::addColumn<QString>("shown");
    for (const QStringList &row : test::tableRows(uR"(
        Ein with blanks     | printf '  Ein \n'         | Ender ist eingeschaltet
        0.                  | echo '0.'                 | Ender ist ausgeschaltet
        ein/aus: on wins    | echo 'ein/aus'            | Ender ist eingeschaltet
        umlaut words        | echo 'Gerät ist AN'       | Ender ist eingeschaltet
        reads empty input   | cat; echo aus             | Ender ist ausgeschaltet
        online is no word   | echo ' online '           | Status-Kurzbefehl lieferte: online
        10 and einschalten  | echo '10 einschalten an1' | Status-Kurzbefehl lieferte: 10 einschalten an1
        not UTF-8           | printf 'ein\377'          | Status-Kurzbefehl lieferte keine auswertbare Rueckgabe
        exit 1, silent      | exit 1                    | Kurzbefehl fehlgeschlagen (1)
        exit 1, says why    | echo ' Nein ' >&2; exit 1 | Nein
        failure beats words | echo ein; exit 4          | Kurzbefehl fehlgeschlagen (4)
        crash               | kill -KILL $$             | Kurzbefehl fehlgeschlagen (9)
        talks without end   | yes ein                   | Ausgabe von shortcuts zu groß (über 1 MB)
        errs without end    | yes Fehler >&2            | Ausgabe von shortcuts zu groß (über 1 MB)
        no status name      | echo ein                  | Kein Status-Kurzbefehl hinterlegt. Optional kann ein Kurzbefehl den Zustand von Ender als ein/aus zurueckgeben.
        no tool             | -                         | Die macOS Kurzbefehle-CLI ist nicht verfuegbar
    )"_s))
        QTest::newRow(qPrintable(row[0])) << row[1] << row[2];
}

// The status tool is run with exactly "run" and the trimmed name, twice at construction; with no
// name, never. What it says becomes the state Kestrel shows, and power on is offered unless on.
// With no tool at all, power stays off the screen and an action says why it could not start.
void PrinterTest::statusAnswerBecomesState()
{
    QFETCH(QString, toolBody);
    QFETCH(QString, shown);
    const bool named = shown != noStatusShortcut;
    Power power(named ? u"  Drucker Status\n"_s : u" \t\n"_s, toolBody);
    if (toolBody.isEmpty()) {
        const auto manager = power.start(QString());
        QCOMPARE(manager->accessoryState(), HomeKitAccessoryState::unavailable(shown));
        QVERIFY(!manager->canPowerOn());
        awaitAction(manager->runShortcut(u"Klipper einschalten"_s));
        QCOMPARE(manager->actionMessage(),
                 u"„"_s + power.none + u"“ konnte nicht gestartet werden: Datei nicht gefunden"_s);
        return;
    }
    const auto manager = power.start();
    QCOMPARE(manager->accessoryState().kind(), named ? Kind::checking : Kind::unknown);
    awaitSettled(*manager);
    QCOMPARE(statusText(manager->accessoryState()), shown);
    QCOMPARE(manager->canPowerOn(), manager->accessoryState() != HomeKitAccessoryState::on());
    const Calls calls(named ? 2 : 0, {u"run"_s, u"Drucker Status"_s});
    QTRY_COMPARE_WITH_TIMEOUT(power.tool.calls(), calls, 10000);
}

void PrinterTest::onlyTheNewestQueryPublishes()
{
    Power power(QString(), u"echo aus"_s);
    const auto manager = power.start();
    power.settings.setHomeKitStatusShortcutName(u"Status"_s);

    // The first query hangs until told to answer "ein"; the second answers "aus" at once.
    const QString release = power.config.filePath(u"release"_s);
    power.tool.replace(u"while [ ! -e '%1' ]; do sleep 0.02; done; echo ein"_s.arg(release));
    manager->refreshStatus();
    QTRY_COMPARE_WITH_TIMEOUT(power.tool.calls().size(), 1, 10000);
    power.tool.replace(u"echo aus"_s);
    manager->refreshStatus();
    QTRY_COMPARE_WITH_TIMEOUT(manager->accessoryState(), HomeKitAccessoryState::off(), 20000);

    QSignalSpy changes(manager.get(), &HomeKitManager::accessoryStateChanged);
    QFile(release).open(QIODevice::WriteOnly);
    QTRY_VERIFY_WITH_TIMEOUT(test::childProcessNames().isEmpty(), 20000);
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    QCOMPARE(changes.count(), 0);
    QCOMPARE(manager->accessoryState(), HomeKitAccessoryState::off());
}

void PrinterTest::statusFollowsSettingsOneChangeLate()
{
    Power power(u"A"_s, u"echo ein"_s);
    const auto manager = power.start();
    awaitSettled(*manager);
    QTRY_COMPARE_WITH_TIMEOUT(power.tool.calls().size(), 2, 10000);

    // The refresh a change triggers still reads the name from before it.
    power.settings.setHomeKitStatusShortcutName(u"B"_s);
    QCOMPARE(manager->accessoryState(), HomeKitAccessoryState::checking());
    awaitSettled(*manager);
    QCOMPARE(power.tool.calls().last(), (QStringList{u"run"_s, u"A"_s}));

    // The accessory name is only watched, never used: a change refreshes with the current name.
    power.settings.setHomeKitAccessoryName(u"Prusa"_s);
    awaitSettled(*manager);
    QCOMPARE(power.tool.calls().last(), (QStringList{u"run"_s, u"B"_s}));
    QCOMPARE(statusText(manager->accessoryState()), u"Ender ist eingeschaltet"_s);
}

// Success names the trimmed scene and queries the state again; a name that looks like an option
// is just the second argument. What a failure says is the scene runner test's.
void PrinterTest::powerActionReportsItsOutcome()
{
    Power power(u"Status"_s, u"echo aus"_s);
    const auto manager = power.start();
    awaitSettled(*manager);
    // The dropped first query of the two at construction may still be on its way.
    QTRY_COMPARE_WITH_TIMEOUT(power.tool.calls().size(), 2, 10000);
    QCOMPARE(manager->actionMessage(), std::nullopt);

    QSignalSpy states(manager.get(), &HomeKitManager::accessoryStateChanged);
    awaitAction(manager->runShortcut(u"  Klipper einschalten\n"_s));
    QCOMPARE(manager->actionMessage(), u"Kurzbefehl \"Klipper einschalten\" ausgefuehrt"_s);
    QTRY_COMPARE_WITH_TIMEOUT(states.count(), 2, 20000);
    QCOMPARE(states[0][0].value<HomeKitAccessoryState>(), HomeKitAccessoryState::checking());
    QCOMPARE(states[1][0].value<HomeKitAccessoryState>(), HomeKitAccessoryState::off());
    awaitAction(manager->runShortcut(u"--help"_s));
    awaitSettled(*manager);
    QCOMPARE(power.tool.calls().mid(2), (Calls{{u"run"_s, u"Klipper einschalten"_s},
                                               {u"run"_s, u"Status"_s},
                                               {u"run"_s, u"--help"_s},
                                               {u"run"_s, u"Status"_s}}));

    power.tool.replace(u"exit 2"_s);
    awaitAction(manager->runShortcut(u"Klipper ausschalten"_s));
    QCoreApplication::processEvents();
    QCOMPARE(power.tool.calls().size(), 7);
}

// Programs start on a thread of their own, but belong to whoever asked: a window that closes while
// its program runs takes the program with it at once, and hears nothing from it.
void PrinterTest::aProgramGoesWithItsWindow()
{
    auto window = std::make_unique<QObject>();
    bool heard = false;
    QFuture<ProcessResult> run =
        runProcess({.program = u"/bin/sleep"_s, .arguments = {u"30"_s}}, window.get());
    run.then([&heard](const ProcessResult &) { heard = true; });
    QTRY_COMPARE_WITH_TIMEOUT(test::childProcessNames(), QStringList{u"sleep"_s}, 20000);
    window.reset();
    QCOMPARE(test::childProcessNames(), QStringList());
    QTest::qWait(100); // a late word would have come by now
    QVERIFY(!heard);
    QVERIFY(run.isCanceled());
}

// Each template, made into a scene the way a user does it (the example copied under the scene's
// name and made executable, the plug's address entered in its config), against a loopback
// server that plays the plug's API: the plug gets exactly the documented request, and Kestrel
// shows what the answer means.
void PrinterTest::templatesSwitchTheirPlugs_data()
{
    QTest::addColumn<QString>("scene");  // the template, copied as the scene "Drucker"
    QTest::addColumn<QString>("config"); // a line the user adds to the template's config
    QTest::addColumn<QString>("reply");  // the plug's answer; 401 for a refusal
    QTest::addColumn<QString>("request");
    QTest::addColumn<QString>("header"); // "name: value" the plug must receive, if any
    QTest::addColumn<QString>("body");
    QTest::addColumn<QString>("shown"); // action message, or the status text for a status scene
    const QString done = u"Szene \"Drucker\" ausgefuehrt"_s; // the scene runner runs here
    for (const QStringList &row : test::tableRows(uR"(
tasmota-an | PASSWORT='ge heim' | {"POWER":"ON"} | GET /cm?cmnd=Power%20On&user=admin&password=ge+heim | - | - | done
tasmota-aus | PASSWORT='a"b\c' | {"POWER":"OFF"} | GET /cm?cmnd=Power%20Off&user=admin&password=a%22b%5cc | - | - | done
tasmota-status | - | {"POWER":"ON"} | GET /cm?cmnd=Power&user=admin&password= | - | - | Ender ist eingeschaltet
tasmota-an, wrong password | - | 401 | GET /cm?cmnd=Power%20On&user=admin&password= | - | - | curl: (22) The requested URL returned error: 401
tasmota-an, unknown command | - | {"Command":"Unknown"} | GET /cm?cmnd=Power%20On&user=admin&password= | - | - | Tasmota antwortet: {"Command":"Unknown"}
shelly1-an | ZUGANG=admin:geheim | {"ison":true} | GET /relay/0?turn=on | authorization: Basic YWRtaW46Z2VoZWlt | - | done
shelly1-status | - | {"ison": false, "has_timer": false} | GET /relay/0 | - | - | Ender ist ausgeschaltet
shelly2-an | - | {"was_on":false} | GET /rpc/Switch.Set?id=0&on=true | - | - | done
shelly2-status | - | {"id":0,"source":"http","output":true,"voltage":231.1} | GET /rpc/Switch.GetStatus?id=0 | - | - | Ender ist eingeschaltet
homeassistant-an | - | [] | POST /api/services/switch/turn_on | authorization: Bearer t0k3n | {"entity_id": "switch.drucker"} | done
homeassistant-status | SCHALTER=switch.ender | {"entity_id": "switch.ender", "state": "off", "attributes": {}} | GET /api/states/switch.ender | authorization: Bearer t0k3n | - | Ender ist ausgeschaltet
druckerhost-an | API_SCHLUESSEL=k3y | {"result":{"printer":"on"}} | POST /machine/device_power/device?device=printer&action=on | x-api-key: k3y | - | done
druckerhost-status | GERAET=ender | {"result": {"ender": "on"}} | GET /machine/device_power/device?device=ender | - | - | Ender ist eingeschaltet
    )"_s))
        QTest::newRow(qPrintable(row[0]))
            << row[0].section(u',', 0, 0) << row[1] << row[2] << row[3] << row[4] << row[5]
            << (row[6] == u"done" ? done : row[6]);
}

void PrinterTest::templatesSwitchTheirPlugs()
{
    QFETCH(QString, scene);
    QFETCH(QString, config);
    QFETCH(QString, reply);
    QFETCH(QString, request);
    QFETCH(QString, header);
    QFETCH(QString, body);
    QFETCH(QString, shown);

    const bool isStatus = scene.endsWith(u"-status"_s);
    Power power(isStatus ? u"Drucker"_s : QString());
    LoopbackHttpServer plug;
    plug.setReply(reply == u"401" ? HttpReply::status("HTTP/1.1 401 Unauthorized")
                                  : HttpReply::content("application/json", reply.toUtf8()));

    QVERIFY(!scenes::prepareFolder(power.folder));
    const QDir folder(power.folder);
    QVERIFY(QFile::copy(folder.filePath(scene + u".beispiel"_s), folder.filePath(u"Drucker"_s)));
    QVERIFY(QFile::setPermissions(folder.filePath(u"Drucker"_s),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    const QString plugKind = scene.section(u'-', 0, 0).remove(QRegularExpression(u"[12]$"_s));
    QFile configFile(folder.filePath(plugKind + u".conf"_s));
    QVERIFY(configFile.open(QIODevice::Append));
    configFile.write(u"\nADRESSE=http://%1\n%2\n"_s.arg(plug.address(), config).toUtf8());
    configFile.close();
    Power::write(folder.filePath(u"homeassistant.token"_s), u"t0k3n\n"_s, false);
    // The curl the scene finds first notes its arguments, which every user of the machine can
    // read while it runs: no password, token or key may stand there.
    const test::FakeTool curl(power.config.path(), u"curl"_s, u"exec /usr/bin/curl \"$@\""_s);
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", power.config.path().toUtf8() + ':' + path);
    const auto restorePath = qScopeGuard([&path] { qputenv("PATH", path); });

    const auto manager = power.start();
    if (isStatus) {
        awaitSettled(*manager);
        QCOMPARE(statusText(manager->accessoryState()), shown);
    } else {
        awaitAction(manager->runShortcut(u"Drucker"_s));
        QCOMPARE(manager->actionMessage().value_or(QString()), shown);
    }
    const HttpRequest received = plug.requests().constLast();
    QCOMPARE(received.method + ' ' + received.path, request.toUtf8());
    if (!header.isEmpty())
        QCOMPARE(received.headers.value(header.section(u": "_s, 0, 0).toUtf8()),
                 header.section(u": "_s, 1).toUtf8());
    QCOMPARE(received.body, body.toUtf8());
    const QString arguments = curl.calls().value(0).join(u' ');
    QVERIFY(!arguments.isEmpty());
    for (const QString &secret : {u"heim"_s, u"a\"b"_s, u"t0k3n"_s, u"k3y"_s})
        QVERIFY2(!arguments.contains(secret), qPrintable(arguments));
}

// Whatever name a scene field holds, only a file directly in the scenes folder runs, and a name
// that cannot be one is refused with a German line that Kestrel shows.
void PrinterTest::sceneRunnerRefusesAndExplains_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("scene"); // the body of the file by that name, if there is one
    QTest::addColumn<bool>("executable");
    QTest::addColumn<QString>("shown"); // %1 is the scenes folder

    const QString touch = u"#!/bin/sh\ntouch \"$(dirname \"$0\")/ran\"\n"_s;
    auto row = [](const char *row, const QString &scene, const QString &shown,
                  const QString &name = u"Drucker an"_s, bool executable = true) {
        QTest::newRow(row) << name << scene << executable << shown;
    };
    const QString slash = u"“ enthält „/“: eine Szene ist eine Datei direkt im Szenenordner"_s;
    const QString dash = u"“ beginnt mit „-“ und sähe aus wie eine Option"_s;
    row("../x", touch, u"Szenenname „../x"_s + slash, u"../x"_s);
    row("a/b", touch, u"Szenenname „a/b"_s + slash, u"a/b"_s);
    row("--help", touch, u"Szenenname „--help"_s + dash, u"--help"_s);
    row("-", touch, u"Szenenname „-"_s + dash, u"-"_s);
    row("newline", touch, u"Szenenname „a␊b“ enthält Steuerzeichen"_s, u"a\nb"_s);
    row("300 bytes", touch, u"Szenenname ist länger als 255 Bytes"_s, QString(300, u'a'));
    row("empty", touch, u"Kein Szenen-Name eingetragen"_s, QString());
    row("missing", QString(),
        u"Szene „Drucker an“ fehlt: %1/Drucker an ist keine ausführbare Datei"_s);
    row("not executable", touch,
        u"Szene „Drucker an“ ist nicht ausführbar: %1/Drucker an fehlt das Recht zum Ausführen "
        u"(chmod +x)"_s,
        u"Drucker an"_s, false);
    row("hangs", u"#!/bin/sh\nsleep 60\n"_s,
        u"Szene „Drucker an“ lief länger als 0,3 Sekunden und wurde abgebrochen"_s);
    row("exit 1, silent", u"#!/bin/sh\nexit 1\n"_s, u"Szene fehlgeschlagen (1)"_s);
    row("says why", u"#!/bin/sh\necho ' Steckdose antwortet nicht' >&2; exit 3\n"_s,
        u"Steckdose antwortet nicht"_s);
}

void PrinterTest::sceneRunnerRefusesAndExplains()
{
    QFETCH(QString, name);
    QFETCH(QString, scene);
    QFETCH(bool, executable);
    QFETCH(QString, shown);

    Power power;
    if (!scene.isEmpty() && !name.isEmpty() && name.size() < 256) {
        QDir().mkpath(QFileInfo(power.folder + u'/' + name).path());
        Power::write(power.folder + u'/' + name, scene, executable);
    }
    qputenv("KESTREL_SCENE_TIME_LIMIT_MS", "300");
    const auto manager = power.start();
    awaitAction(manager->runShortcut(name));
    qunsetenv("KESTREL_SCENE_TIME_LIMIT_MS");
    QCOMPARE(manager->actionMessage().value_or(QString()),
             shown.contains(u"%1"_s) ? shown.arg(power.folder) : shown);
    QTRY_VERIFY_WITH_TIMEOUT(test::childProcessNames().isEmpty(), 20000); // the hung scene too
    QDirIterator ran(power.config.path(), {u"ran"_s}, QDir::Files, QDirIterator::Subdirectories);
    QVERIFY2(!ran.hasNext(), "a refused scene ran");
}

QTEST_GUILESS_MAIN(PrinterTest)
#include "tst_printer.moc"
