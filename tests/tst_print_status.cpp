// SPDX-License-Identifier: GPL-3.0-or-later
// What the printer is doing, from its host's API: the line every window shows and the time left
// as the front-ends estimate it, the client against the demo printer through a Klipper restart
// and a power cut, and the desktop notifications, one per change of state, through a real session
// bus of the test's own.
#include "DemoPrinter.h"
#include "Helpers.h"
#include "monitor/PiStatusMonitor.h"
#include "monitor/PrintNotifier.h"
#include "monitor/PrintStatusClient.h"
#include "platform/MemoryKeyValueStore.h"
#include "settings/AppSettings.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QJsonDocument>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

using namespace kestrel;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using State = PrintStatus::State;

namespace {

// Stands in for the desktop's notification daemon, on the test's own session bus.
class NotificationRecorder : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    struct Shown
    {
        QString app, icon, title, body;
        QVariantMap hints;
    };
    QList<Shown> shown;

public slots:
    uint Notify(const QString &app, uint, const QString &icon, const QString &title,
                const QString &body, const QStringList &, const QVariantMap &hints, int)
    {
        shown.append({app, icon, title, body, hints});
        return uint(shown.size());
    }
};

PrintStatus status(State state, const QString &message = {})
{
    return {.state = state, .filename = u"benchy.gcode"_s, .printDuration = 4980,
            .message = message};
}

} // namespace

class PrintStatusTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void lineAndTimeLeft_data();
    void lineAndTimeLeft();
    void clientFollowsTheDemoPrinter();
    void oneNotificationPerChange();

private:
    QProcess m_bus;
    QString m_busAddress;
};

// A session bus of the test's own, before anything asks for one.
void PrintStatusTest::initTestCase()
{
    m_bus.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
    QVERIFY2(m_bus.waitForReadyRead(20000), "dbus-daemon did not start");
    m_busAddress = QString::fromUtf8(m_bus.readLine()).trimmed();
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_busAddress.toUtf8());
}

void PrintStatusTest::cleanupTestCase()
{
    m_bus.kill();
    m_bus.waitForFinished();
}

void PrintStatusTest::lineAndTimeLeft_data()
{
    QTest::addColumn<QByteArray>("objects");
    QTest::addColumn<double>("slicerEstimate"); // 0: none
    QTest::addColumn<QString>("line");
    // Row | print_stats | virtual_sdcard progress | display progress | slicer | line
    for (const QStringList &row : test::tableRows(uR"(
        from the file      | "state": "printing", "print_duration": 3000 | 0.42 | 0 | 0 | Druckt · benchy.gcode · 42 % · noch 1 h 10 min
        with the slicer    | "state": "printing", "print_duration": 3000 | 0.42 | 0 | 9000 | Druckt · benchy.gcode · 42 % · noch 1 h 25 min
        slicer's M73 shown | "state": "printing", "print_duration": 3000 | 0.42 | 0.5 | 0 | Druckt · benchy.gcode · 50 % · noch 1 h 10 min
        under 1 %          | "state": "printing", "print_duration": 30 | 0.005 | 0 | 0 | Druckt · benchy.gcode · 0 %
        under 1 %, slicer  | "state": "printing", "print_duration": 30 | 0.005 | 0 | 600 | Druckt · benchy.gcode · 0 % · noch 10 min
        layers             | "state": "printing", "print_duration": 60, "info": {"current_layer": 14, "total_layer": 120} | 0.5 | 0 | 0 | Druckt · benchy.gcode · 50 % · noch 1 min · Schicht 14/120
        paused             | "state": "paused", "print_duration": 600 | 0.25 | 0 | 0 | Pausiert · benchy.gcode · 25 % · noch 30 min
        complete           | "state": "complete", "print_duration": 4980 | 1 | 1 | 0 | Fertig · benchy.gcode · 1 h 23 min
        cancelled          | "state": "cancelled", "print_duration": 480 | 0.1 | 0 | 0 | Abgebrochen · benchy.gcode · 8 min
        error              | "state": "error", "message": "Heater extruder not heating" | 0.5 | 0 | 0 | Fehler: Heater extruder not heating
        standby            | "state": "standby" | 0 | 0 | 0 | -
        wrong types        | "state": 5, "print_duration": "x", "info": [] | "x" | null | 0 | -
    )"_s)) {
        const QByteArray objects = R"({"print_stats": {"filename": "benchy.gcode", )" +
                                   row[1].toUtf8() + R"(}, "virtual_sdcard": {"progress": )" +
                                   row[2].toUtf8() + R"(}, "display_status": {"progress": )" +
                                   row[3].toUtf8() + "}}";
        QTest::newRow(qPrintable(row[0])) << objects << row[4].toDouble() << row[5];
    }
}

void PrintStatusTest::lineAndTimeLeft()
{
    QFETCH(QByteArray, objects);
    QFETCH(double, slicerEstimate);
    QFETCH(QString, line);
    const PrintStatus status = PrintStatus::fromObjects(QJsonDocument::fromJson(objects).object());
    const auto estimate = slicerEstimate > 0 ? std::optional(slicerEstimate) : std::nullopt;
    QCOMPARE(printStatusLine(status, estimate).text(), line);
}

// The demo printer prints ten seconds; a third of the way in, Klipper goes away for five and
// comes back. The client merges the updates, asks again while Klipper is away, subscribes anew,
// takes the slicer's estimate once, and goes quiet while the printer is switched off.
void PrintStatusTest::clientFollowsTheDemoPrinter()
{
    const test::DemoPrinter printer(QStringLiteral(KESTREL_DEMO_PRINTER_PATH),
                                    {u"--boot-ms"_s, u"100"_s, u"--print-seconds"_s, u"10"_s,
                                     u"--fault"_s, u"klippy-restart"_s});
    QVERIFY(!printer.address().isEmpty());
    MemoryKeyValueStore store({{u"printerIP"_s, printer.address()}});
    AppSettings settings(store);
    PiStatusMonitor monitor(settings, nullptr, 200ms);
    PrintStatusClient client(settings, monitor, nullptr,
                             {.askAgain = 100ms, .reconnectFirst = 100ms,
                              .reconnectLongest = 400ms, .gather = 20ms});

    QTRY_COMPARE_WITH_TIMEOUT(client.status().state, State::printing, 20000);
    QCOMPARE(client.status().filename, u"kestrel-benchy.gcode"_s);
    const double early = client.status().progress;
    QTRY_VERIFY_WITH_TIMEOUT(client.status().progress > early, 20000); // updates merge in
    QTRY_COMPARE_WITH_TIMEOUT(client.slicerEstimate(), std::optional(11.0), 20000);
    QTRY_COMPARE_WITH_TIMEOUT(client.status().state, State::klippyNotReady, 20000);
    QCOMPARE(client.line().text(), u"Klipper nicht bereit"_s);
    QTRY_VERIFY_WITH_TIMEOUT(client.status().state == State::printing ||
                                 client.status().state == State::complete,
                             20000); // subscribed anew
    QVERIFY(client.status().currentLayer.has_value());

    QVERIFY(printer.switchPower(false));
    QTRY_COMPARE_WITH_TIMEOUT(client.status().state, State::none, 20000);
    QVERIFY(client.line().isEmpty());
    QVERIFY(printer.switchPower(true));
    QTRY_VERIFY_WITH_TIMEOUT(client.status().state != State::none, 20000);
}

// Through the session bus to a notification daemon: a change of state is told once, what a
// connection finds first is not, and a switched-off setting tells nothing. Without a daemon,
// the notification is handed on undelivered.
void PrintStatusTest::oneNotificationPerChange()
{
    NotificationRecorder recorder;
    QDBusConnection daemon = QDBusConnection::connectToBus(m_busAddress, u"daemon"_s);
    QVERIFY(daemon.registerObject(u"/org/freedesktop/Notifications"_s, &recorder,
                                  QDBusConnection::ExportAllSlots));
    QVERIFY(daemon.registerService(u"org.freedesktop.Notifications"_s));
    MemoryKeyValueStore store;
    AppSettings settings(store);
    PrintNotifier notifier(settings);
    QSignalSpy undelivered(&notifier.notifications(), &DesktopNotifications::undelivered);

    for (const State state : {State::complete, State::printing, State::printing, State::paused,
                              State::paused, State::printing, State::complete, State::standby,
                              State::none, State::error, State::printing})
        notifier.follow(status(state, u"Heater extruder not heating"_s));
    notifier.follow(status(State::error, u"Heater extruder not heating"_s));
    QTRY_COMPARE_WITH_TIMEOUT(recorder.shown.size(), 3, 20000);
    QCOMPARE(recorder.shown[0].title, u"Druck pausiert"_s);
    QCOMPARE(recorder.shown[1].title, u"Druck fertig"_s);
    QCOMPARE(recorder.shown[1].body, u"benchy.gcode · 1 h 23 min"_s);
    QCOMPARE(recorder.shown[2].title, u"Druckfehler"_s);
    QCOMPARE(recorder.shown[2].body, u"benchy.gcode · Heater extruder not heating"_s);
    QCOMPARE(recorder.shown[2].hints.value(u"urgency"_s).toInt(), 2);
    QCOMPARE(recorder.shown[1].hints.value(u"urgency"_s).toInt(), 1);
    QCOMPARE(recorder.shown[1].app, u"Kestrel"_s);
    QCOMPARE(recorder.shown[1].hints.value(u"desktop-entry"_s).toString(),
             QStringLiteral(KESTREL_APP_ID));

    settings.setNotifyPrintEvents(false);
    notifier.follow(status(State::printing));
    notifier.follow(status(State::cancelled));
    settings.setNotifyPrintEvents(true);
    QVERIFY(daemon.unregisterService(u"org.freedesktop.Notifications"_s));
    notifier.follow(status(State::printing));
    notifier.follow(status(State::paused));
    QVERIFY(undelivered.wait(20000));
    QCOMPARE(undelivered.first().at(0).toString(), u"Druck pausiert"_s);
    QCOMPARE(recorder.shown.size(), 3);
    QDBusConnection::disconnectFromBus(u"daemon"_s);
}

QTEST_GUILESS_MAIN(PrintStatusTest)
#include "tst_print_status.moc"
