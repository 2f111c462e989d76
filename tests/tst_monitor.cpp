// SPDX-License-Identifier: GPL-3.0-or-later
#include "ChildProcesses.h"
#include "FakeTool.h"
#include "LoopbackHttpServer.h"
#include "LoopbackOnlyNetwork.h"
#include "monitor/PiStatusMonitor.h"
#include "platform/MemoryKeyValueStore.h"
#include "settings/AppSettings.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrel;
using namespace std::chrono_literals;

namespace {

struct Fixture
{
    explicit Fixture(const QString &address)
        : store({{QStringLiteral("printerIP"), address}}), settings(store)
    {}
    MemoryKeyValueStore store;
    AppSettings settings;
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

class MonitorTest : public QObject
{
    Q_OBJECT

private slots:
    // Every address the tests use is loopback: none reached for the network.
    void cleanupTestCase() { QCOMPARE(m_network.strayHosts(), QStringList()); }
    void verdictFollowsTheHostsAnswer_data();
    void verdictFollowsTheHostsAnswer();
    void addressIsOneArgumentWhateverItHolds_data();
    void addressIsOneArgumentWhateverItHolds();
    void restartDropsTheStaleProbe();
    void changeProbesThePreviouslyStoredAddress();

private:
    test::LoopbackOnlyNetwork &m_network = test::LoopbackOnlyNetwork::install();
};

void MonitorTest::verdictFollowsTheHostsAnswer_data()
{
    QTest::addColumn<HttpReply>("reply");
    QTest::addColumn<QString>("address"); // %1 is the server's address
    QTest::addColumn<QString>("reason");  // how the reason starts; empty: reachable

    const HttpReply ok = HttpReply::status("HTTP/1.1 200 OK");
    QTest::newRow("200") << ok << QStringLiteral("%1") << QString();
    QTest::newRow("404 still answers")
        << HttpReply::status("HTTP/1.1 404 Not Found") << QStringLiteral("%1") << QString();
    QTest::newRow("blanks trimmed, user-info kept")
        << ok << QStringLiteral(" \tuser@%1 \n") << QString();
    QTest::newRow("HTTP/1.0 is not enough")
        << HttpReply::status("HTTP/1.0 200 OK") << QStringLiteral("%1")
        << QStringLiteral("Keine gueltige HTTP-Antwort vom Pi");
    QTest::newRow("closed without a word")
        << HttpReply::with(HttpReply::Action::close) << QStringLiteral("%1")
        << QStringLiteral("curl: (52) Empty reply from server");
    // curl's own 3-second limit, and its own words.
    QTest::newRow("silent") << HttpReply::with(HttpReply::Action::silent) << QStringLiteral("%1")
                            << QStringLiteral("curl: (28) Operation timed out after 3");
    QTest::newRow("refused") << ok << LoopbackHttpServer::closedAddress()
                             << QStringLiteral("curl: (7) Failed to connect to 127.0.0.1");
    QTest::newRow("blank") << ok << QStringLiteral(" \t\n ")
                           << QStringLiteral("Keine Drucker-IP eingetragen");
}

void MonitorTest::verdictFollowsTheHostsAnswer()
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
}

void MonitorTest::addressIsOneArgumentWhateverItHolds_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("option after blank") << QStringLiteral("127.0.0.1 -o /tmp/x");
    QTest::newRow("command substitution") << QStringLiteral("$(touch x);id");
    QTest::newRow("looks like an option") << QStringLiteral("-K@127.0.0.1/etc/passwd");
    QTest::newRow("embedded newline") << QStringLiteral("127.0.0.1\n--output=/tmp/x");
    // No curl to start: the reason says so, in German.
    QTest::newRow("curl missing") << QString();
}

void MonitorTest::addressIsOneArgumentWhateverItHolds()
{
    QFETCH(QString, address);
    QTemporaryDir dir;
    test::FakeTool curl(dir.path(), QStringLiteral("curl"),
                        QStringLiteral("echo 'HTTP/1.1 200 OK'"));
    const QString curlPath =
        address.isEmpty() ? dir.filePath(QStringLiteral("no-curl")) : curl.path();
    Fixture fixture(address.isEmpty() ? QStringLiteral("127.0.0.1:9") : u' ' + address + u'\n');
    PiStatusMonitor monitor(fixture.settings, nullptr, 60s, curlPath);
    const PiReachability verdict = firstVerdict(monitor);
    if (address.isEmpty()) {
        QVERIFY2(verdict.reason().contains(QStringLiteral("konnte nicht gestartet werden")),
                 qPrintable(verdict.reason()));
        return;
    }
    QCOMPARE(verdict, PiReachability::reachable());
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
    server.setHandler([&](const HttpRequest &request) {
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
    QCOMPARE(monitor.reachability(), PiReachability::checking()); // at once
    const auto fresh =
        PiReachability::unreachable(QStringLiteral("Keine gueltige HTTP-Antwort vom Pi"));
    QTRY_COMPARE_WITH_TIMEOUT(monitor.reachability(), fresh, 20000);

    // Now the stale probe answers "reachable" and finishes; it must never show.
    server.releaseHeld(HttpReply::status("HTTP/1.1 200 OK"));
    QTRY_VERIFY_WITH_TIMEOUT(test::childProcessNames().isEmpty(), 20000);
    QCoreApplication::processEvents();
    QCOMPARE(published.count(), 2);
    QCOMPARE(monitor.reachability(), fresh);
}

// The monitor takes a new address one change late: each change probes the address stored before.
void MonitorTest::changeProbesThePreviouslyStoredAddress()
{
    LoopbackHttpServer first;
    LoopbackHttpServer second;
    Fixture fixture(first.address());
    PiStatusMonitor monitor(fixture.settings, nullptr, 60s);
    QCOMPARE(firstVerdict(monitor), PiReachability::reachable());

    fixture.settings.setPrinterIP(second.address());
    QCOMPARE(firstVerdict(monitor), PiReachability::reachable());
    QCOMPARE(first.curlRequests().size(), 2);
    QCOMPARE(second.curlRequests().size(), 0);

    fixture.settings.setPrinterIP(QStringLiteral("127.0.0.1:1"));
    QCOMPARE(firstVerdict(monitor), PiReachability::reachable());
    QCOMPARE(second.curlRequests().size(), 1);

    // The same address again restarts nothing.
    QSignalSpy published(&monitor, &PiStatusMonitor::reachabilityChanged);
    fixture.settings.setPrinterIP(QStringLiteral("127.0.0.1:1"));
    QCOMPARE(published.count(), 0);
}

QTEST_GUILESS_MAIN(MonitorTest)
#include "tst_monitor.moc"
