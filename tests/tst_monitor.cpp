// SPDX-License-Identifier: GPL-3.0-or-later
#include "FakeTool.h"
#include "Helpers.h"
#include "LoopbackHttpServer.h"
#include "monitor/PiStatusMonitor.h"
#include "platform/MemoryKeyValueStore.h"
#include "settings/AppSettings.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrel;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

struct Fixture
{
    explicit Fixture(const QString &address) : store({{u"printerIP"_s, address}}), settings(store)
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
    void verdictFollowsTheHostsAnswer_data();
    void verdictFollowsTheHostsAnswer();
    void addressIsOneArgumentWhateverItHolds_data();
    void addressIsOneArgumentWhateverItHolds();
    void changeProbesThePreviouslyStoredAddressOnly();
};

void MonitorTest::verdictFollowsTheHostsAnswer_data()
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
    QTest::newRow("option after blank") << u"127.0.0.1 -o /tmp/x"_s;
    QTest::newRow("command substitution") << u"$(touch x);id"_s;
    QTest::newRow("looks like an option") << u"-K@127.0.0.1/etc/passwd"_s;
    QTest::newRow("embedded newline") << u"127.0.0.1\n--output=/tmp/x"_s;
    // No curl to start: the reason says so, in German.
    QTest::newRow("curl missing") << QString();
}

void MonitorTest::addressIsOneArgumentWhateverItHolds()
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
void MonitorTest::changeProbesThePreviouslyStoredAddressOnly()
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

QTEST_GUILESS_MAIN(MonitorTest)
#include "tst_monitor.moc"
