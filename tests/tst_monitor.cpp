// SPDX-License-Identifier: GPL-3.0-or-later
#include "ChildProcesses.h"
#include "FakeTool.h"
#include "LoopbackHttpServer.h"
#include "LoopbackOnlyNetwork.h"
#include "monitor/PiStatusMonitor.h"
#include "platform/MemoryKeyValueStore.h"
#include "settings/AppSettings.h"

#include <QDir>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace kestrel;
using namespace std::chrono_literals;
using test::HttpReply;
using test::LoopbackHttpServer;

Q_DECLARE_METATYPE(kestrel::PiReachability)

namespace {

// Settings in memory that point at the given printer address.
struct Fixture
{
    explicit Fixture(const QString &address)
        : store({{QStringLiteral("printerIP"), address}}), settings(store)
    {}
    MemoryKeyValueStore store;
    AppSettings settings;
};

PiReachability unreachable(const char *reason)
{
    return PiReachability::unreachable(QString::fromUtf8(reason));
}

// The first value published after the initial "checking".
PiReachability firstVerdict(PiStatusMonitor &monitor, int timeoutMs = 20000)
{
    QSignalSpy published(&monitor, &PiStatusMonitor::reachabilityChanged);
    if (monitor.reachability().kind() == PiReachability::Kind::checking &&
        !published.wait(timeoutMs))
        qFatal("monitor published nothing");
    return monitor.reachability();
}

QList<PiReachability> values(const QSignalSpy &spy)
{
    QList<PiReachability> list;
    for (const QList<QVariant> &arguments : spy)
        list << arguments.at(0).value<PiReachability>();
    return list;
}

} // namespace

class MonitorTest : public QObject
{
    Q_OBJECT

private slots:
    // Every address the tests use is loopback: none reached for the network.
    void cleanupTestCase();
    void verdictFollowsTheHostsAnswer_data();
    void verdictFollowsTheHostsAnswer();
    void refusedAndSilentHostsGiveCurlsOwnText();
    void missingAddressStartsNoProcessAndRepeats_data();
    void missingAddressStartsNoProcessAndRepeats();
    void launchFailureIsTheReason();
    void addressIsOneArgumentWhateverItHolds_data();
    void addressIsOneArgumentWhateverItHolds();
    void restartDropsTheStaleProbe();
    void changeProbesThePreviouslyStoredAddress();

private:
    kestrel::test::LoopbackOnlyNetwork &m_network = kestrel::test::LoopbackOnlyNetwork::install();
};

void MonitorTest::verdictFollowsTheHostsAnswer_data()
{
    QTest::addColumn<HttpReply>("reply");
    QTest::addColumn<QString>("addressAround"); // %1 is the server's address
    QTest::addColumn<PiReachability>("expected");

    QTest::newRow("200") << HttpReply::status("HTTP/1.1 200 OK") << QStringLiteral("%1")
                         << PiReachability::reachable();
    QTest::newRow("404 still answers") << HttpReply::status("HTTP/1.1 404 Not Found")
                                       << QStringLiteral("%1") << PiReachability::reachable();
    QTest::newRow("500 still answers") << HttpReply::status("HTTP/1.1 500 Internal Server Error")
                                       << QStringLiteral("%1") << PiReachability::reachable();
    QTest::newRow("HTTP/1.0 is not enough")
        << HttpReply::status("HTTP/1.0 200 OK") << QStringLiteral("%1")
        << unreachable("Keine gueltige HTTP-Antwort vom Pi");
    QTest::newRow("closed without a word")
        << HttpReply::with(HttpReply::Action::close) << QStringLiteral("%1")
        << unreachable("curl: (52) Empty reply from server");
    QTest::newRow("blanks and newline trimmed")
        << HttpReply::status("HTTP/1.1 200 OK") << QStringLiteral(" \t%1 \n")
        << PiReachability::reachable();
    QTest::newRow("user-info is part of the address")
        << HttpReply::status("HTTP/1.1 200 OK") << QStringLiteral("user@%1")
        << PiReachability::reachable();
}

void MonitorTest::verdictFollowsTheHostsAnswer()
{
    QFETCH(HttpReply, reply);
    QFETCH(QString, addressAround);
    QFETCH(PiReachability, expected);

    LoopbackHttpServer server;
    server.setReply(reply);
    Fixture fixture(addressAround.arg(server.address()));
    PiStatusMonitor monitor(fixture.settings, nullptr, 60s);
    QCOMPARE(monitor.reachability(), PiReachability::checking());
    QCOMPARE(firstVerdict(monitor), expected);

    const QList<test::HttpRequest> probes = server.curlRequests();
    QCOMPARE(probes.size(), 1);
    QCOMPARE(probes[0].method, QByteArray("HEAD"));
    QCOMPARE(probes[0].path, QByteArray("/"));
}

void MonitorTest::refusedAndSilentHostsGiveCurlsOwnText()
{
    const QString closedAddress = test::LoopbackHttpServer::closedAddress();
    Fixture refused(closedAddress);
    PiStatusMonitor refusedMonitor(refused.settings, nullptr, 60s);
    const PiReachability refusal = firstVerdict(refusedMonitor);
    QVERIFY2(refusal.reason().startsWith(u"curl: (7) Failed to connect to 127.0.0.1"),
             qPrintable(refusal.reason()));

    LoopbackHttpServer silentServer;
    silentServer.setReply(HttpReply::with(HttpReply::Action::silent));
    Fixture silent(silentServer.address());
    QElapsedTimer clock;
    clock.start();
    PiStatusMonitor silentMonitor(silent.settings, nullptr, 60s);
    const PiReachability timeout = firstVerdict(silentMonitor);
    QVERIFY2(timeout.reason().startsWith(u"curl: (28) Operation timed out after 3"),
             qPrintable(timeout.reason()));
    QVERIFY(clock.elapsed() >= 2900); // curl's own 3-second limit, not ours
}

void MonitorTest::missingAddressStartsNoProcessAndRepeats_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("empty") << QString();
    QTest::newRow("blank") << QStringLiteral(" \t\n ");
}

void MonitorTest::missingAddressStartsNoProcessAndRepeats()
{
    QFETCH(QString, address);
    QTemporaryDir dir;
    Fixture fixture(address);
    // A curl that cannot exist: had the monitor tried to start one, the reason would say so.
    PiStatusMonitor monitor(fixture.settings, nullptr, 20ms, dir.filePath(QStringLiteral("curl")));
    QSignalSpy published(&monitor, &PiStatusMonitor::reachabilityChanged);
    QTRY_VERIFY_WITH_TIMEOUT(published.count() >= 3, 10000);
    for (const PiReachability &value : values(published))
        QCOMPARE(value, unreachable("Keine Drucker-IP eingetragen"));
}

void MonitorTest::launchFailureIsTheReason()
{
    QTemporaryDir dir;
    Fixture fixture(QStringLiteral("127.0.0.1:9"));
    PiStatusMonitor monitor(fixture.settings, nullptr, 60s, dir.filePath(QStringLiteral("curl")));
    const PiReachability verdict = firstVerdict(monitor);
    QVERIFY(verdict.isUnreachable());
    QVERIFY(!verdict.reason().isEmpty());
    QVERIFY(!verdict.reason().startsWith(u"curl"));
}

void MonitorTest::addressIsOneArgumentWhateverItHolds_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("option after blank") << QStringLiteral("127.0.0.1 -o /tmp/x");
    QTest::newRow("command substitution") << QStringLiteral("$(touch x)");
    QTest::newRow("command separator") << QStringLiteral(";id");
    QTest::newRow("looks like an option") << QStringLiteral("-K@127.0.0.1/etc/passwd");
    QTest::newRow("embedded newline") << QStringLiteral("127.0.0.1\n--output=/tmp/x");
    QTest::newRow("non-ASCII") << QStringLiteral("127.0.0.1:80/drücker");
}

void MonitorTest::addressIsOneArgumentWhateverItHolds()
{
    QFETCH(QString, address);
    QTemporaryDir dir;
    test::FakeTool curl(dir.path(), QStringLiteral("curl"),
                        QStringLiteral("echo 'HTTP/1.1 200 OK'"));
    Fixture fixture(QStringLiteral(" ") + address + QStringLiteral("\n"));
    PiStatusMonitor monitor(fixture.settings, nullptr, 60s, curl.path());
    QCOMPARE(firstVerdict(monitor), PiReachability::reachable());
    QCOMPARE(curl.calls(), (QList<QStringList>{{QStringLiteral("-I"), QStringLiteral("-sS"),
                                                QStringLiteral("--max-time"), QStringLiteral("3"),
                                                QStringLiteral("--http1.1"),
                                                QStringLiteral("http://") + address + u'/'}}));
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files),
             (QStringList{QStringLiteral("curl"), QStringLiteral("curl.calls")}));
}

void MonitorTest::restartDropsTheStaleProbe()
{
    // The first probe hangs until released; every later one gets an HTTP/1.0 answer.
    LoopbackHttpServer server;
    bool first = true;
    server.setHandler([&](const test::HttpRequest &request) {
        if (!request.fromCurl())
            return HttpReply{};
        return std::exchange(first, false) ? HttpReply::with(HttpReply::Action::hold)
                                           : HttpReply::status("HTTP/1.0 200 OK");
    });
    Fixture fixture(server.address());
    PiStatusMonitor monitor(fixture.settings, nullptr, 60s);
    QTRY_COMPARE_WITH_TIMEOUT(server.heldCount(), 1, 10000);

    QSignalSpy published(&monitor, &PiStatusMonitor::reachabilityChanged);
    fixture.settings.setPrinterIP(QStringLiteral("127.0.0.1:1"));
    QCOMPARE(values(published), QList{PiReachability::checking()}); // at once, synchronously

    const PiReachability fresh = unreachable("Keine gueltige HTTP-Antwort vom Pi");
    QTRY_COMPARE_WITH_TIMEOUT(monitor.reachability(), fresh, 20000);

    // Now let the stale probe answer "reachable" and finish; it must never show.
    server.releaseHeld(HttpReply::status("HTTP/1.1 200 OK"));
    QTRY_VERIFY_WITH_TIMEOUT(test::childProcessNames().isEmpty(), 20000);
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    QCOMPARE(values(published), (QList{PiReachability::checking(), fresh}));
}

void MonitorTest::changeProbesThePreviouslyStoredAddress()
{
    LoopbackHttpServer first;
    LoopbackHttpServer second;
    Fixture fixture(first.address());
    PiStatusMonitor monitor(fixture.settings, nullptr, 60s);
    QCOMPARE(firstVerdict(monitor), PiReachability::reachable());
    QCOMPARE(first.curlRequests().size(), 1);

    fixture.settings.setPrinterIP(second.address());
    QCOMPARE(firstVerdict(monitor), PiReachability::reachable());
    QCOMPARE(first.curlRequests().size(), 2);
    QCOMPARE(second.curlRequests().size(), 0);

    // The next change catches up with the address before it.
    fixture.settings.setPrinterIP(QStringLiteral("127.0.0.1:1"));
    QCOMPARE(firstVerdict(monitor), PiReachability::reachable());
    QCOMPARE(second.curlRequests().size(), 1);

    // Assigning the same address again restarts nothing.
    QSignalSpy published(&monitor, &PiStatusMonitor::reachabilityChanged);
    fixture.settings.setPrinterIP(QStringLiteral("127.0.0.1:1"));
    QCOMPARE(published.count(), 0);
}

void MonitorTest::cleanupTestCase()
{
    QCOMPARE(m_network.strayHosts(), QStringList());
}

QTEST_GUILESS_MAIN(MonitorTest)
#include "tst_monitor.moc"
