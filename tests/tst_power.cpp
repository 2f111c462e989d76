// SPDX-License-Identifier: GPL-3.0-or-later
#include "ChildProcesses.h"
#include "FakeTool.h"
#include "platform/MemoryKeyValueStore.h"
#include "power/HomeKitManager.h"
#include "power/StatusInterpretation.h"
#include "settings/AppSettings.h"

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

} // namespace

class PowerTest : public QObject
{
    Q_OBJECT

private slots:
    void statusAnswerBecomesState_data();
    void statusAnswerBecomesState();
    void blankStatusNameStartsNoProcess();
    void onlyTheNewestQueryPublishes();
    void statusFollowsSettingsOneChangeLate();
    void powerActionReportsItsOutcome();
    void blankSceneNameStartsNoProcess();
    void missingToolIsUnavailableAndActionsSayWhy();
    void statusTexts();
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
    row("AUS.", "echo 'AUS.'", Kind::off);
    row("1", "echo 1", Kind::on);
    row("0", "echo 0", Kind::off);
    row("ein/aus: on wins", "echo 'ein/aus'", Kind::on);
    row("aus, ein: on wins", "echo 'aus, ein'", Kind::on);
    row("umlaut words", "echo 'Gerät ist AN'", Kind::on);
    row("online is no word", "echo ' online '", Kind::unknown,
        str("Status-Kurzbefehl lieferte: online"));
    row("10 and einschalten", "echo '10 einschalten an1'", Kind::unknown,
        str("Status-Kurzbefehl lieferte: 10 einschalten an1"));
    row("empty", "true", Kind::unknown,
        str("Status-Kurzbefehl lieferte keine auswertbare Rueckgabe"));
    row("not UTF-8", "printf 'ein\\377'", Kind::unknown,
        str("Status-Kurzbefehl lieferte keine auswertbare Rueckgabe"));
    row("exit 1, silent", "exit 1", Kind::unknown, str("Kurzbefehl fehlgeschlagen (1)"));
    row("exit 1, says why", "echo ' Keine Berechtigung ' >&2; exit 1", Kind::unknown,
        str("Keine Berechtigung"));
    row("failure beats words", "echo ein; exit 4", Kind::unknown,
        str("Kurzbefehl fehlgeschlagen (4)"));
    row("crash", "kill -KILL $$", Kind::unknown, str("Kurzbefehl fehlgeschlagen (9)"));
}

void PowerTest::statusAnswerBecomesState()
{
    QFETCH(QString, toolBody);
    QFETCH(int, kind);
    QFETCH(QString, message);

    Fixture fixture(toolBody, str("  Drucker Status\n"));
    HomeKitManager manager(fixture.settings, nullptr, fixture.tool.path());
    QCOMPARE(manager.accessoryState(), HomeKitAccessoryState::checking());
    awaitSettled(manager);

    QCOMPARE(int(manager.accessoryState().kind()), kind);
    QCOMPARE(manager.accessoryState().message(), message);
    QCOMPARE(manager.canPowerOn(), Kind(kind) != Kind::on);
    // Construction queries twice, each time with exactly "run" and the trimmed name.
    const QStringList call{str("run"), str("Drucker Status")};
    QTRY_COMPARE_WITH_TIMEOUT(fixture.tool.calls(), (QList{call, call}), 10000);
}

void PowerTest::blankStatusNameStartsNoProcess()
{
    Fixture fixture(str("echo ein"), str(" \t\n"));
    HomeKitManager manager(fixture.settings, nullptr, fixture.tool.path());
    QCOMPARE(manager.accessoryState(), HomeKitAccessoryState::unknown(noStatusShortcut));
    QVERIFY(manager.shortcutsAvailable());
    QVERIFY(manager.canPowerOn());
    QCoreApplication::processEvents();
    QVERIFY(fixture.tool.calls().isEmpty());
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

void PowerTest::blankSceneNameStartsNoProcess()
{
    Fixture fixture(str("echo ein"), QString());
    HomeKitManager manager(fixture.settings, nullptr, fixture.tool.path());
    QSignalSpy states(&manager, &HomeKitManager::accessoryStateChanged);
    const QFuture<void> action = manager.runShortcut(str(" \n\t"));
    QVERIFY(action.isFinished());
    QCOMPARE(manager.actionMessage(), str("Kein Kurzbefehls-Name eingetragen"));
    QCOMPARE(states.count(), 0);
    QVERIFY(fixture.tool.calls().isEmpty());
}

void PowerTest::missingToolIsUnavailableAndActionsSayWhy()
{
    QTemporaryDir dir;
    MemoryKeyValueStore store({{str("homeKitStatusShortcutName"), str("Status")}});
    AppSettings settings(store);
    HomeKitManager manager(settings, nullptr, dir.filePath(str("shortcuts")));

    QCOMPARE(manager.accessoryState(), HomeKitAccessoryState::unavailable(
                                           str("Die macOS Kurzbefehle-CLI ist nicht verfuegbar")));
    QVERIFY(!manager.shortcutsAvailable());
    QVERIFY(!manager.canPowerOn());

    awaitAction(manager.runShortcut(str("Klipper einschalten")));
    QVERIFY(manager.actionMessage().has_value());
    QVERIFY(!manager.actionMessage()->isEmpty());
    QVERIFY(manager.actionMessage() != str("Unbekannter Fehler"));
}

void PowerTest::statusTexts()
{
    QCOMPARE(statusText(HomeKitAccessoryState::checking()), str("Status von Ender wird geprueft"));
    QCOMPARE(statusText(HomeKitAccessoryState::on()), str("Ender ist eingeschaltet"));
    QCOMPARE(statusText(HomeKitAccessoryState::off()), str("Ender ist ausgeschaltet"));
    QCOMPARE(statusText(HomeKitAccessoryState::unknown(str("a"))), str("a"));
    QCOMPARE(statusText(HomeKitAccessoryState::unavailable(str("b"))), str("b"));
    QCOMPARE(interpretStatusResult({.success = false}),
             HomeKitAccessoryState::unknown(str("Status-Kurzbefehl fehlgeschlagen")));
}

QTEST_GUILESS_MAIN(PowerTest)
#include "tst_power.moc"
