// SPDX-License-Identifier: GPL-3.0-or-later
// What the printer is doing, from its host's API: the line every window shows and the time left
// as the front-ends estimate it, the client against the demo printer through a wanted key, a
// Klipper shutdown, failed probes and a power cut, against hosts whose API refuses or breaks,
// the desktop notifications, one per change of state, through a real session bus of the test's
// own, and two printers side by side, each with its own windows, notifications and power.
#include "DemoPrinter.h"
#include "FakeTool.h"
#include "Helpers.h"
#include "LoopbackHttpServer.h"
#include "app/CameraViews.h"
#include "camera/SnapshotErrorCard.h"
#include "monitor/PiStatusMonitor.h"
#include "monitor/PrintControlCall.h"
#include "monitor/PrintNotifier.h"
#include "monitor/PrintStatusClient.h"
#include "platform/MemoryKeyValueStore.h"
#include "printers/PrinterList.h"
#include "screens/ContentView.h"
#include "screens/PrinterPanel.h"
#include "screens/SettingsView.h"
#include "settings/AppSettings.h"
#include "settings/PrinterSettings.h"
#include "windows/CameraWindow.h"
#include "windows/ScreenFrames.h"
#include "windows/WindowCoordinator.h"

#include <QApplication>
#include <QCryptographicHash>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QWebSocket>
#include <QWebSocketServer>

using namespace kestrel;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using State = PrintStatus::State;
using kestrel::HttpReply;
using kestrel::HttpRequest;
using kestrel::LoopbackHttpServer;

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
        QStringList actions;
        QVariantMap hints;
        QSize picture; // from "image-data", whose pixels must fill rows × height
    };
    QList<Shown> shown;
    QStringList capabilities{u"body"_s};

public slots:
    QStringList GetCapabilities() { return capabilities; }
    uint Notify(const QString &app, uint, const QString &icon, const QString &title,
                const QString &body, const QStringList &actions, const QVariantMap &hints, int)
    {
        QSize picture;
        if (hints.contains(u"image-data"_s)) {
            const auto data = hints.value(u"image-data"_s).value<QDBusArgument>();
            int width = 0, height = 0, rowBytes = 0, bits = 0, channels = 0;
            bool alpha = true;
            QByteArray pixels;
            data.beginStructure();
            data >> width >> height >> rowBytes >> alpha >> bits >> channels >> pixels;
            data.endStructure();
            if (!alpha && bits == 8 && channels == 3 && pixels.size() == rowBytes * height &&
                rowBytes >= 3 * width)
                picture = {width, height};
        }
        shown.append({app, icon, title, body, actions, hints, picture});
        return uint(shown.size());
    }
};

PrintStatus status(State state, const QString &message = {},
                   const QString &filename = u"benchy.gcode"_s)
{
    return {.state = state, .filename = filename, .printDuration = 4980, .message = message};
}

// A printer host whose web server answers but whose API misbehaves as its kind says. It counts
// the connections asked of its API.
class BrokenApiHost : public QObject
{
public:
    enum class Kind
    {
        refusesCalls,     // takes the websocket, answers every call "Unauthorized"
        refusesHandshake, // 401 instead of the websocket
        badGateway,       // 502: the web server is there, the API restarts
        silentHandshake,  // never answers the handshake
        silentSocket,     // takes the websocket and then says nothing, not even a pong
    };

    explicit BrokenApiHost(Kind kind) : m_api(u"api"_s, QWebSocketServer::NonSecureMode)
    {
        m_web.setHandler([this, kind](const HttpRequest &request) {
            if (request.path == "/")
                return HttpReply::content("text/html", "<html></html>");
            if (request.path == "/printer/emergency_stop") {
                stops.append(request);
                return stop;
            }
            ++connections;
            if (kind == Kind::refusesHandshake)
                return HttpReply::status("HTTP/1.1 401 Unauthorized");
            if (kind == Kind::badGateway)
                return HttpReply::status("HTTP/1.1 502 Bad Gateway");
            return HttpReply::with(HttpReply::Action::silent);
        });
        if (kind == Kind::refusesCalls)
            m_web.setUpgradeHandler([this](QTcpSocket *socket) {
                ++connections;
                m_api.handleConnection(socket);
            });
        if (kind == Kind::silentSocket)
            m_web.setUpgradeHandler([this](QTcpSocket *socket) {
                ++connections;
                acceptSilently(socket);
            });
        connect(&m_api, &QWebSocketServer::newConnection, this, [this] {
            while (QWebSocket *socket = m_api.nextPendingConnection()) {
                socket->setParent(this);
                connect(
                    socket, &QWebSocket::textMessageReceived, socket,
                    [socket](const QString &text) {
                        const QJsonValue id =
                            QJsonDocument::fromJson(text.toUtf8()).object().value(u"id");
                        socket->sendTextMessage(
                            uR"({"jsonrpc": "2.0", "id": %1, "error": {"code": -32602, "message": "Unauthorized"}})"_s
                                .arg(id.toInteger()));
                    });
            }
        });
    }

    QString address() const { return m_web.address(); }
    int connections = 0;
    HttpReply stop; // the answer to the API's HTTP emergency stop
    QList<HttpRequest> stops;

private:
    // The handshake done by hand: from then on nothing read is ever answered.
    static void acceptSilently(QTcpSocket *socket)
    {
        const QByteArray head = socket->readAll();
        const qsizetype at = head.toLower().indexOf("sec-websocket-key:");
        const QByteArray key = head.mid(at + 18, head.indexOf('\r', at) - at - 18).trimmed();
        socket->write("HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\n"
                      "Connection: Upgrade\r\nSec-WebSocket-Accept: " +
                      QCryptographicHash::hash(key + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11",
                                               QCryptographicHash::Sha1)
                          .toBase64() +
                      "\r\n\r\n");
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [socket] { socket->readAll(); });
    }

    LoopbackHttpServer m_web;
    QWebSocketServer m_api;
};

constexpr PrintStatusTimings quick{.askAgain = 100ms,
                                   .reconnectFirst = 100ms,
                                   .reconnectLongest = 400ms,
                                   .refusedAgain = 1000ms,
                                   .gather = 20ms,
                                   .handshake = 300ms,
                                   .ping = 100ms,
                                   .silence = 300ms,
                                   .controlSlow = 500ms,
                                   .controlGiveUp = 3000ms};

// What came of a control: "ok", or the line the window that asked shows.
QString outcome(PrintControlCall *call)
{
    QString said;
    QObject context;
    QObject::connect(call, &PrintControlCall::succeeded, &context, [&said] { said = u"ok"_s; });
    QObject::connect(call, &PrintControlCall::failed, &context,
                     [&said](const QString &text) { said = text; });
    QSignalSpy gone(call, &QObject::destroyed);
    gone.wait(20000);
    return said;
}

// The controls a camera window's menu offers, after the menu's own entries.
QStringList offered(const CameraWindow *window)
{
    QStringList texts;
    for (const QAction *action : window->content()->findChild<QMenu *>()->actions()) {
        if (action->isVisible() && !action->isSeparator())
            texts << action->text();
    }
    return texts.mid(texts.indexOf(u"Bildrate anzeigen"_s) + 1);
}

// The controls a main window's panel offers as buttons.
QStringList offered(const PrinterPanel &panel)
{
    QStringList texts;
    for (const QPushButton *button : panel.findChildren<QPushButton *>()) {
        if (button->isVisibleTo(&panel) && button->parentWidget()->isVisibleTo(&panel) &&
            button->accessibleName() == button->text())
            texts << button->text();
    }
    return texts;
}

QAction *action(const CameraWindow *window, const QString &entry)
{
    for (QAction *action : window->content()->findChild<QMenu *>()->actions()) {
        if (action->text() == entry && action->isVisible())
            return action;
    }
    return nullptr;
}

void choose(const CameraWindow *window, const QString &entry)
{
    if (QAction *chosen = action(window, entry))
        chosen->trigger();
}

// Whether a label of `window` shows the text.
bool shows(const QWidget *window, const QString &text)
{
    const QList<QLabel *> labels = window->findChildren<QLabel *>();
    return std::any_of(labels.begin(), labels.end(), [&](const QLabel *label) {
        return label->text() == text && label->isVisibleTo(window);
    });
}

QPushButton *childWithText(const QWidget *root, const QString &text)
{
    for (QPushButton *button : root->findChildren<QPushButton *>()) {
        if (button->text() == text && button->isVisibleTo(root))
            return button;
    }
    return nullptr;
}

void press(const QWidget *panel, const QString &text)
{
    for (QPushButton *button : panel->findChildren<QPushButton *>()) {
        if (button->text() == text && button->isVisibleTo(panel))
            button->click();
    }
}

// Answers the question standing over `window` with the button of that text; its title and text
// for the test to check.
QStringList answer(const QWidget *window, const QString &button)
{
    QMessageBox *alert = nullptr;
    if (!QTest::qWaitFor([&] { return (alert = window->findChild<QMessageBox *>()) != nullptr; },
                         20000))
        return {};
    const QStringList said{alert->text(), alert->informativeText()};
    press(alert, button);
    delete alert;
    return said;
}

} // namespace

class PrintStatusTest : public QObject
{
    Q_OBJECT

public:
    // Two printers' windows side by side in one corner need a known screen: 1440 x 900.
    static void initMain()
    {
        qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" KESTREL_OFFSCREEN_CONFIG);
    }

private slots:
    void initTestCase();
    void cleanupTestCase();
    void lineAndTimeLeft_data();
    void lineAndTimeLeft();
    void clientFollowsTheDemoPrinter();
    void brokenApis_data();
    void brokenApis();
    void oneNotificationPerChange();
    void twoPrintersKeepToThemselves();
    void controlsActFromEveryWindow();
    void emergencyStopWithoutItsConnection();
    void aPrinterAddedInTheSettingsWorksAtOnce();
    void notificationsShowTheCamera();

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
    QTest::addColumn<QString>("temperatures");
    // Row | print_stats | virtual_sdcard progress | display progress | slicer | line | heaters |
    // their text
    for (const QStringList &row : test::tableRows(uR"(
        from the file      | "state": "printing", "print_duration": 3000 | 0.42 | 0 | 0 | Druckt · benchy.gcode · 42 % · noch 1 h 10 min | - | -
        with the slicer    | "state": "printing", "print_duration": 3000 | 0.42 | 0 | 9000 | Druckt · benchy.gcode · 42 % · noch 1 h 25 min | - | -
        slicer's M73 shown | "state": "printing", "print_duration": 3000 | 0.42 | 0.5 | 0 | Druckt · benchy.gcode · 50 % · noch 1 h 10 min | - | -
        under 1 %          | "state": "printing", "print_duration": 30 | 0.005 | 0 | 0 | Druckt · benchy.gcode · 0 % | - | -
        under 1 %, slicer  | "state": "printing", "print_duration": 30 | 0.005 | 0 | 600 | Druckt · benchy.gcode · 0 % · noch 10 min | - | -
        layers             | "state": "printing", "print_duration": 60, "info": {"current_layer": 14, "total_layer": 120} | 0.5 | 0 | 0 | Druckt · benchy.gcode · 50 % · noch 1 min · Schicht 14/120 | - | -
        paused             | "state": "paused", "print_duration": 600 | 0.25 | 0 | 0 | Pausiert · benchy.gcode · 25 % · noch 30 min | - | -
        complete           | "state": "complete", "print_duration": 4980 | 1 | 1 | 0 | Fertig · benchy.gcode · 1 h 23 min | - | -
        cancelled          | "state": "cancelled", "print_duration": 480 | 0.1 | 0 | 0 | Abgebrochen · benchy.gcode · 8 min | - | -
        error              | "state": "error", "message": "Heater extruder not heating" | 0.5 | 0 | 0 | Fehler: Heater extruder not heating | - | -
        slicer overrun     | "state": "printing", "print_duration": 4200 | 0.5 | 0 | 3600 | Druckt · benchy.gcode · 50 % · noch 1 h 10 min | - | -
        heating            | "state": "printing", "print_duration": 0 | 0 | 0 | 600 | Druckt · benchy.gcode · 0 % | "extruder": {"temperature": 150.4, "target": 215}, "heater_bed": {"temperature": 59.6, "target": 60} | Düse 150/215 °C · Bett 60/60 °C
        shut down          | "state": "printing", "print_duration": 60}, "webhooks": {"state": "shutdown", "state_message": "MCU 'mcu' shutdown: Timer too close\nThis often indicates a host computer overload." | 0.5 | 0 | 0 | Klipper gestoppt: MCU 'mcu' shutdown: Timer too close | - | -
        standby            | "state": "standby" | 0 | 0 | 0 | - | "extruder": {"temperature": 215.2, "target": 215}, "extruder1": {"temperature": 24.4, "target": 0} | Düse 215/215 °C · Düse 2 24 °C
        wrong types        | "state": 5, "print_duration": "x", "info": [] | "x" | null | 0 | - | "extruder": {"temperature": "hot", "target": 200}, "heater_bed": [] | -
    )"_s)) {
        const QByteArray objects = R"({"print_stats": {"filename": "benchy.gcode", )" +
                                   row[1].toUtf8() + R"(}, "virtual_sdcard": {"progress": )" +
                                   row[2].toUtf8() + R"(}, "display_status": {"progress": )" +
                                   row[3].toUtf8() + "}" +
                                   (row[6].isEmpty() ? QByteArray() : ", " + row[6].toUtf8()) + "}";
        QTest::newRow(qPrintable(row[0])) << objects << row[4].toDouble() << row[5] << row[7];
    }
}

void PrintStatusTest::lineAndTimeLeft()
{
    QFETCH(QByteArray, objects);
    QFETCH(double, slicerEstimate);
    QFETCH(QString, line);
    QFETCH(QString, temperatures);
    const PrintStatus status = PrintStatus::fromObjects(QJsonDocument::fromJson(objects).object());
    const auto estimate = slicerEstimate > 0 ? std::optional(slicerEstimate) : std::nullopt;
    const PrintStatusLine shown = printStatusLine(status, estimate);
    QCOMPARE(shown.text(), line);
    QCOMPARE(temperatureText(status), temperatures);
    // A camera window's line carries them while a print is under way.
    QCOMPARE(shown.temperatures,
             status.isUnderWay() && !temperatures.isEmpty() ? u" · "_s + temperatures : QString());
}

// The demo printer wants a key and prints twenty seconds; a third of the way in, Klipper shuts
// down, and restarts its firmware ten seconds later. The client says that the key is missing,
// comes in with it, merges the updates, takes the slicer's estimate, shows why Klipper stopped,
// keeps its connection through failed probes, subscribes anew once Klipper is back, and goes
// quiet when the printer is switched off.
void PrintStatusTest::clientFollowsTheDemoPrinter()
{
    const test::DemoPrinter printer(QStringLiteral(KESTREL_DEMO_PRINTER_PATH),
                                    {u"--boot-ms"_s, u"100"_s, u"--print-seconds"_s, u"20"_s,
                                     u"--fault"_s, u"shutdown"_s, u"--api-key"_s, u"geheim"_s});
    QVERIFY(!printer.address().isEmpty());
    QTemporaryDir tools;
    test::FakeTool curl(tools.path(), u"curl"_s, u"echo 'HTTP/1.1 200 OK'"_s);
    MemoryKeyValueStore store({{u"printerIP"_s, printer.address()}});
    PrinterSettings settings(store);
    PiStatusMonitor monitor(settings, nullptr, 100ms, curl.path());
    PrintStatusClient client(settings, monitor, nullptr, quick);
    PrintEvents events;
    QList<PrintEvent> told;
    connect(&client, &PrintStatusClient::statusChanged, this, [&](const PrintStatus &now) {
        if (const auto event = events.next(now))
            told << *event;
    });

    QTRY_COMPARE_WITH_TIMEOUT(client.status().state, State::unauthorized, 20000);
    QCOMPARE(client.line().text(),
             u"Nicht autorisiert – API-Schlüssel in den Einstellungen eintragen"_s);
    settings.setPrinterApiKey(u" geheim\n"_s); // pasted with what stood around it
    QTRY_COMPARE_WITH_TIMEOUT(client.status().state, State::printing, 20000);
    QCOMPARE(client.status().filename, u"kestrel-benchy.gcode"_s);
    const double early = client.status().progress;
    QTRY_VERIFY_WITH_TIMEOUT(client.status().progress > early, 20000); // updates merge in
    QTRY_COMPARE_WITH_TIMEOUT(client.slicerEstimate(), std::optional(22.0), 20000);

    QTRY_COMPARE_WITH_TIMEOUT(client.status().state, State::shutdown, 20000);
    QCOMPARE(client.line().text(), u"Klipper gestoppt: MCU 'mcu' shutdown: Timer too close"_s);
    QCOMPARE(client.status().filename, u"kestrel-benchy.gcode"_s);
    QTRY_COMPARE_WITH_TIMEOUT(told.size(), 1, 20000);
    QCOMPARE(told[0],
             (PrintEvent{u"Druckfehler"_s,
                         u"kestrel-benchy.gcode · MCU 'mcu' shutdown: Timer too close"_s, true}));
    // Probes that fail do not end a connection that works.
    QSignalSpy probes(&monitor, &PiStatusMonitor::reachabilityChanged);
    curl.replace(u"exit 7"_s);
    QTRY_VERIFY_WITH_TIMEOUT(probes.size() >= 3 && monitor.reachability().isUnreachable(), 20000);
    QVERIFY(client.isConnected());
    QCOMPARE(client.status().state, State::shutdown);
    curl.replace(u"echo 'HTTP/1.1 200 OK'"_s);

    QTRY_COMPARE_WITH_TIMEOUT(client.status().state, State::klippyNotReady, 20000);
    QTRY_COMPARE_WITH_TIMEOUT(client.status().state, State::standby, 20000); // subscribed anew

    curl.replace(u"exit 7"_s);
    QVERIFY(printer.switchPower(false));
    QTRY_COMPARE_WITH_TIMEOUT(client.status().state, State::none, 20000);
    QVERIFY(client.line().isEmpty());
    curl.replace(u"echo 'HTTP/1.1 200 OK'"_s);
    QVERIFY(printer.switchPower(true));
    QTRY_VERIFY_WITH_TIMEOUT(client.status().state != State::none, 20000);
    QCOMPARE(told.size(), 1);
}

// A key the host refuses is asked with again only once a minute (here: a second), or at once
// when it changes. A broken handshake shows why where the API stands behind the web server, and
// is tried again with the back-off, as is a connection that went silent.
void PrintStatusTest::brokenApis_data()
{
    QTest::addColumn<BrokenApiHost::Kind>("kind");
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("fewest");
    QTest::addColumn<int>("most"); // connections within 1.5 s
    using Kind = BrokenApiHost::Kind;
    const QString refused = u"Nicht autorisiert – API-Schlüssel in den Einstellungen eintragen"_s;
    QTest::newRow("calls refused") << Kind::refusesCalls << refused << 1 << 2;
    QTest::newRow("handshake refused") << Kind::refusesHandshake << refused << 1 << 2;
    QTest::newRow("bad gateway") << Kind::badGateway << u"Drucker-API antwortet nicht (HTTP 502)"_s
                                 << 3 << 6;
    QTest::newRow("silent handshake")
        << Kind::silentHandshake << u"Drucker-API antwortet nicht"_s << 2 << 5;
    QTest::newRow("silent socket") << Kind::silentSocket << QString() << 2 << 5;
}

void PrintStatusTest::brokenApis()
{
    QFETCH(BrokenApiHost::Kind, kind);
    QFETCH(QString, line);
    QFETCH(int, fewest);
    QFETCH(int, most);
    BrokenApiHost host(kind);
    MemoryKeyValueStore store({{u"printerIP"_s, host.address()}});
    PrinterSettings settings(store);
    PiStatusMonitor monitor(settings, nullptr, 10s);
    PrintStatusClient client(settings, monitor, nullptr, quick);
    QTRY_VERIFY_WITH_TIMEOUT(host.connections > 0, 20000);
    QTest::qWait(1500);
    QVERIFY2(host.connections >= fewest && host.connections <= most,
             qPrintable(QString::number(host.connections)));
    QTRY_COMPARE_WITH_TIMEOUT(client.line().text(), line, 20000);
    if (kind != BrokenApiHost::Kind::refusesCalls)
        return;
    const int before = host.connections;
    settings.setPrinterApiKey(u"neu"_s);
    QTRY_VERIFY_WITH_TIMEOUT(host.connections > before, 500);
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

    // A finished print found first, a pause, a print that ends while the API does not answer, a
    // restart of Klipper, a failure, a shutdown while idle and one mid-print, and another print
    // found ended after a lost connection.
    const QString heater = u"Heater extruder not heating"_s;
    const QString mcu = u"MCU 'mcu' shutdown: Timer too close"_s;
    for (const auto &[state, message, file] :
         {std::tuple{State::complete, heater, u"benchy.gcode"_s},
          {State::printing, heater, {}},
          {State::printing, heater, {}},
          {State::paused, heater, {}},
          {State::paused, heater, {}},
          {State::printing, heater, {}},
          {State::apiUnavailable, heater, {}},
          {State::complete, heater, {}},
          {State::standby, heater, {}},
          {State::printing, heater, {}},
          {State::klippyNotReady, heater, {}},
          {State::error, heater, {}},
          {State::printing, heater, {}},
          {State::error, heater, {}},
          {State::standby, heater, {}},
          {State::shutdown, mcu, {}},
          {State::klippyNotReady, mcu, {}},
          {State::printing, mcu, {}},
          {State::shutdown, mcu, {}},
          {State::shutdown, mcu, {}},
          {State::klippyNotReady, mcu, {}},
          {State::printing, mcu, {}},
          {State::none, mcu, {}},
          {State::complete, mcu, u"lid.gcode"_s}})
        notifier.follow(settings.firstPrinter(),
                        status(state, message, file.isEmpty() ? u"benchy.gcode"_s : file));
    QTRY_COMPARE_WITH_TIMEOUT(recorder.shown.size(), 4, 20000);
    QCOMPARE(recorder.shown[0].title, u"Druck pausiert"_s);
    QCOMPARE(recorder.shown[1].title, u"Druck fertig"_s);
    QCOMPARE(recorder.shown[1].body, u"benchy.gcode · 1 h 23 min"_s);
    QCOMPARE(recorder.shown[2].title, u"Druckfehler"_s);
    QCOMPARE(recorder.shown[2].body, u"benchy.gcode · Heater extruder not heating"_s);
    QCOMPARE(recorder.shown[2].hints.value(u"urgency"_s).toInt(), 2);
    QCOMPARE(recorder.shown[3].title, u"Druckfehler"_s);
    QCOMPARE(recorder.shown[3].body, u"benchy.gcode · MCU 'mcu' shutdown: Timer too close"_s);
    QCOMPARE(recorder.shown[3].hints.value(u"urgency"_s).toInt(), 2);
    QCOMPARE(recorder.shown[1].hints.value(u"urgency"_s).toInt(), 1);
    QCOMPARE(recorder.shown[1].app, u"Kestrel"_s);
    QCOMPARE(recorder.shown[1].hints.value(u"desktop-entry"_s).toString(),
             QStringLiteral(KESTREL_APP_ID));
    // The user's own emergency stop is no failure, and says which printer it stopped.
    settings.firstPrinter().setPrinterName(u"Voron"_s);
    notifier.follow(settings.firstPrinter(), status(State::printing));
    notifier.follow(settings.firstPrinter(),
                    status(State::shutdown, u"Shutdown due to M112 command"_s), true);
    QTRY_COMPARE_WITH_TIMEOUT(recorder.shown.size(), 5, 20000);
    QCOMPARE(recorder.shown[4].title, u"Not-Aus ausgelöst"_s);
    QCOMPARE(recorder.shown[4].body, u"Voron · benchy.gcode"_s);
    QCOMPARE(recorder.shown[4].hints.value(u"urgency"_s).toInt(), 1);

    settings.setNotifyPrintEvents(false);
    notifier.follow(settings.firstPrinter(), status(State::printing));
    notifier.follow(settings.firstPrinter(), status(State::cancelled));
    settings.setNotifyPrintEvents(true);
    QVERIFY(daemon.unregisterService(u"org.freedesktop.Notifications"_s));
    notifier.follow(settings.firstPrinter(), status(State::printing));
    notifier.follow(settings.firstPrinter(), status(State::paused));
    QVERIFY(undelivered.wait(20000));
    QCOMPARE(undelivered.first().at(0).toString(), u"Druck pausiert"_s);
    QCOMPARE(recorder.shown.size(), 5);
    QDBusConnection::disconnectFromBus(u"daemon"_s);
}

// Voron's print ends soon, Prusa's later. Each printer's windows carry its name and a role of
// their own, share the corner in the printers' order, and follow only their own host; the end of
// Voron's print, which comes while Kestrel has lost Voron, is told once Voron is back, naming
// Voron; Prusa's power button runs Prusa's scene.
void PrintStatusTest::twoPrintersKeepToThemselves()
{
    const QString demo = QStringLiteral(KESTREL_DEMO_PRINTER_PATH);
    const test::DemoPrinter voron(demo, {u"--boot-ms"_s, u"100"_s, u"--print-seconds"_s, u"10"_s});
    QElapsedTimer sinceVoronBegan;
    sinceVoronBegan.start();
    const test::DemoPrinter prusa(demo, {u"--boot-ms"_s, u"100"_s, u"--print-seconds"_s, u"600"_s});
    QVERIFY(!voron.address().isEmpty() && !prusa.address().isEmpty());
    QTemporaryDir tools;
    const test::FakeTool shortcuts(tools.path(), u"shortcuts"_s, {});
    const QVariantMap corner{{u"1"_s, u"topLeft"_s}, {u"2"_s, u"topLeft"_s}};
    MemoryKeyValueStore store(
        QVariantMap{{u"printerName"_s, u"Voron"_s},
                    {u"printerIP"_s, voron.address()},
                    {u"selectedCameraIDs"_s, QVariantList{1}},
                    {u"cameraPlacements"_s, corner},
                    {u"homeKitPowerOffSceneName"_s, u"Voron aus"_s},
                    {AppSettings::additionalPrintersKey,
                     QVariantList{QVariantMap{{u"printerID"_s, u"p2"_s},
                                              {u"printerName"_s, u"Prusa"_s},
                                              {u"printerIP"_s, prusa.address()},
                                              {u"selectedCameraIDs"_s, QVariantList{1, 2}},
                                              {u"cameraPlacements"_s, corner},
                                              {u"homeKitPowerOffSceneName"_s, u"Prusa aus"_s}}}}});
    AppSettings settings(store);
    PrinterList printers(settings, {.shortcuts = shortcuts.path(), .sceneRunner = {}}, nullptr,
                         {.probeInterval = 100ms, .printStatus = quick});
    NotificationRecorder recorder;
    QDBusConnection daemon = QDBusConnection::connectToBus(m_busAddress, u"two"_s);
    QVERIFY(daemon.registerObject(u"/org/freedesktop/Notifications"_s, &recorder,
                                  QDBusConnection::ExportAllSlots));
    QVERIFY(daemon.registerService(u"org.freedesktop.Notifications"_s));
    PrintNotifier notifier(settings);
    for (const Printer *printer : printers.printers()) {
        connect(&printer->printStatus(), &PrintStatusClient::statusChanged, &notifier,
                [&notifier, printer](const PrintStatus &status) {
                    notifier.follow(printer->settings(), status);
                });
    }
    WindowCoordinator windows(printers, cameraWindowViews(settings));

    CameraWindow *voronCam = windows.window(1);
    CameraWindow *prusaCam = windows.window(1, u"p2"_s);
    QCOMPARE(windows.openCameraIDs(u"p2"_s), (QList<CameraId>{1, 2}));
    QCOMPARE(voronCam->windowTitle(), u"Voron · Übersichtscam"_s);
    QCOMPARE(windows.window(2, u"p2"_s)->windowTitle(), u"Prusa · Düsencam"_s);
    QCOMPARE(voronCam->windowRole(), u"kestrel-camera-1"_s);
    QCOMPARE(prusaCam->windowRole(), u"kestrel-camera-p2-1"_s);
    const qreal voronX = screenFrames::frame(voronCam).x();
    QVERIFY(voronX < screenFrames::frame(prusaCam).x());
    QVERIFY(screenFrames::frame(prusaCam).x() <
            screenFrames::frame(windows.window(2, u"p2"_s)).x());

    // What the notifications have seen of Voron: the status as it reaches the windows.
    State voronState = State::none;
    connect(&printers.first().printStatus(), &PrintStatusClient::statusChanged, this,
            [&voronState](const PrintStatus &status) { voronState = status.state; });
    QTRY_COMPARE_WITH_TIMEOUT(voronState, State::printing, 20000);
    QVERIFY(voron.switchPower(false));
    QTRY_COMPARE_WITH_TIMEOUT(voronState, State::none, 20000);
    // The print goes on unseen and ends ten seconds after it began.
    QTRY_VERIFY_WITH_TIMEOUT(sinceVoronBegan.elapsed() > 11500, 20000);
    QVERIFY(recorder.shown.isEmpty());
    QVERIFY(voron.switchPower(true));
    QTRY_COMPARE_WITH_TIMEOUT(recorder.shown.size(), 1, 20000);
    QCOMPARE(recorder.shown[0].title, u"Druck fertig"_s);
    QVERIFY2(recorder.shown[0].body.startsWith(u"Voron · kestrel-benchy.gcode · "_s),
             qPrintable(recorder.shown[0].body));

    prusaCam->content()->findChild<QToolButton *>(u"powerButton"_s)->click();
    QMessageBox *alert = nullptr;
    QTRY_VERIFY((alert = prusaCam->findChild<QMessageBox *>()));
    for (QAbstractButton *button : alert->buttons()) {
        if (alert->buttonRole(button) == QMessageBox::DestructiveRole)
            button->click();
    }
    QTRY_COMPARE_WITH_TIMEOUT(shortcuts.calls().value(0), (QStringList{u"run"_s, u"Prusa aus"_s}),
                              20000);
    QCOMPARE(shortcuts.calls().size(), 1);

    QVERIFY(prusa.switchPower(false));
    const auto offline = [](const CameraWindow *window) {
        const auto *card = window->content()->findChild<SnapshotErrorCard *>();
        return card->isVisible() && card->title() == u"Raspberry Pi offline"_s;
    };
    QTRY_VERIFY_WITH_TIMEOUT(offline(prusaCam) && offline(windows.window(2, u"p2"_s)), 20000);
    QVERIFY(!offline(voronCam));
    QCOMPARE(recorder.shown.size(), 1);
    QVERIFY(daemon.unregisterService(u"org.freedesktop.Notifications"_s));
}

// Voron prints, and its host holds every control but the emergency stop back for a while, as
// while a heater warms up; Prusa's host takes every control and never answers. A pause from a
// camera window waits and then takes effect, and a resume comes from the main window. A cancel
// that is dismissed sends nothing, so the pause after it still finds the print. Questions left
// open stay open through "Fenster immer oben halten" and a printer added, whose card leaves the
// others as they were; a cancel question left open while its print ended and the next print of
// the same file began cancels nothing, and says so. The emergency stop shuts Klipper down until
// the firmware restart, and the heaters' last readings go with Klipper. Each control is offered
// only where it applies; what does not apply comes back with the host's reason, and a control
// without an answer says it waits, then fails in the window that asked, and only there.
void PrintStatusTest::controlsActFromEveryWindow()
{
    const QString demo = QStringLiteral(KESTREL_DEMO_PRINTER_PATH);
    const test::DemoPrinter voron(demo, {u"--boot-ms"_s, u"100"_s, u"--print-seconds"_s, u"600"_s,
                                         u"--rest-seconds"_s, u"1"_s, u"--control-delay-ms"_s,
                                         u"1500"_s});
    const test::DemoPrinter prusa(
        demo, {u"--boot-ms"_s, u"100"_s, u"--print-seconds"_s, u"600"_s, u"--fault"_s, u"deaf"_s});
    MemoryKeyValueStore store(
        QVariantMap{{u"printerName"_s, u"Voron"_s},
                    {u"printerIP"_s, voron.address()},
                    {u"selectedCameraIDs"_s, QVariantList{1}},
                    {AppSettings::additionalPrintersKey,
                     QVariantList{QVariantMap{{u"printerID"_s, u"p2"_s},
                                              {u"printerName"_s, u"Prusa"_s},
                                              {u"printerIP"_s, prusa.address()},
                                              {u"selectedCameraIDs"_s, QVariantList{1}}}}}});
    AppSettings settings(store);
    // A connection that a slow run drops between pings would fail a control for want of it.
    PrintStatusTimings steady = quick;
    steady.silence = 10s;
    PrinterList printers(settings, {}, nullptr, {.probeInterval = 100ms, .printStatus = steady});
    WindowCoordinator windows(printers, cameraWindowViews(settings));
    ContentView content(printers, windows, [] {});
    Printer &printer = printers.first();
    const QPointer<PrinterPanel> panel = content.panel();
    CameraWindow *camera = windows.window(1);
    const auto state = [&printer] { return printer.printStatus().status().state; };

    const QStringList printing{u"Druck pausieren"_s, u"Druck abbrechen…"_s, u"Not-Aus…"_s};
    QTRY_COMPARE_WITH_TIMEOUT(offered(camera), printing, 20000);
    QCOMPARE(offered(*panel), printing);
    QCOMPARE(outcome(printer.printStatus().send(PrintControl::resume)),
             u"Fortsetzen fehlgeschlagen: Print is not paused"_s);

    choose(camera, u"Druck pausieren"_s);
    QTRY_VERIFY_WITH_TIMEOUT(shows(camera, u"Wartet auf den Drucker …"_s), 20000);
    QVERIFY(!action(camera, u"Druck pausieren"_s)->isEnabled());
    QTRY_COMPARE_WITH_TIMEOUT(state(), State::paused, 20000);
    const QStringList paused{u"Druck fortsetzen"_s, u"Druck abbrechen…"_s, u"Not-Aus…"_s};
    QTRY_COMPARE(offered(camera), paused);
    QTRY_COMPARE(offered(*panel), paused);
    QVERIFY(!shows(camera, u"Wartet auf den Drucker …"_s));
    // Pressed with the keyboard's focus on it, the button waits, then goes; the focus it had
    // goes to a harmless one.
    content.show();
    content.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&content));
    QPushButton *resume = childWithText(panel, u"Druck fortsetzen"_s);
    resume->setFocus();
    QTest::keyClick(resume, Qt::Key_Space);
    // The windows offer what the state allows once it has reached them, a little after the
    // client heard of it.
    QTRY_COMPARE_WITH_TIMEOUT(offered(camera), printing, 20000);
    QVERIFY(QApplication::focusWidget() != childWithText(panel, u"Not-Aus…"_s));

    choose(camera, u"Druck abbrechen…"_s);
    const QStringList question = answer(camera, u"Weiterdrucken"_s);
    QCOMPARE(question.value(0), u"Druck auf Voron abbrechen?"_s);
    QVERIFY2(question.value(1).startsWith(u"„kestrel-benchy.gcode“ läuft seit "_s),
             qPrintable(question.value(1)));
    choose(camera, u"Druck pausieren"_s);
    QTRY_COMPARE_WITH_TIMEOUT(state(), State::paused, 20000);

    press(panel, u"Druck abbrechen…"_s);
    choose(camera, u"Not-Aus…"_s);
    settings.setAlwaysOnTop(!settings.alwaysOnTop());
    settings.addPrinter(u"Mini"_s);
    QVERIFY(content.panel(printers.printers().last()->id()));
    QVERIFY(panel); // Voron's card is the one it was
    // Ended elsewhere; a second of rest later the next print of the same file begins.
    QCOMPARE(outcome(printer.printStatus().send(PrintControl::cancel)), u"ok"_s);
    QTRY_COMPARE_WITH_TIMEOUT(state(), State::standby, 20000);
    QTRY_COMPARE_WITH_TIMEOUT(state(), State::printing, 20000);
    QCOMPARE(answer(&content, u"Druck abbrechen"_s).value(0), u"Druck auf Voron abbrechen?"_s);
    QTRY_VERIFY(shows(panel, u"Nicht abgebrochen: „kestrel-benchy.gcode“ läuft nicht mehr"_s));
    QCOMPARE(state(), State::printing);

    QVERIFY(camera->findChild<QMessageBox *>()->windowFlags() & Qt::WindowStaysOnTopHint);
    QCOMPARE(answer(camera, u"Not-Aus"_s).value(0), u"Not-Aus für Voron auslösen?"_s);
    QTRY_COMPARE_WITH_TIMEOUT(state(), State::shutdown, 20000);
    QVERIFY(printer.printStatus().stoppedHere());
    QCOMPARE(printer.printStatus().line().text(),
             u"Klipper gestoppt: Shutdown due to M112 command"_s);
    QVERIFY(temperatureText(printer.printStatus().status()).isEmpty());
    QTRY_COMPARE(offered(camera), (QStringList{u"Not-Aus…"_s, u"Firmware neu starten"_s}));
    choose(camera, u"Firmware neu starten"_s);
    // Back without the print it stopped, and a second later on to the next.
    QTRY_VERIFY_WITH_TIMEOUT(state() == State::standby || state() == State::printing, 20000);

    CameraWindow *prusaCam = windows.window(1, u"p2"_s);
    QTRY_COMPARE_WITH_TIMEOUT(offered(prusaCam), printing, 20000);
    choose(prusaCam, u"Druck pausieren"_s);
    QTRY_VERIFY_WITH_TIMEOUT(shows(prusaCam, u"Wartet auf den Drucker …"_s), 20000);
    const QString unanswered = u"Pausieren fehlgeschlagen: Der Drucker antwortet nicht"_s;
    QTRY_VERIFY_WITH_TIMEOUT(shows(prusaCam, unanswered), 20000);
    QVERIFY(!shows(content.panel(u"p2"_s), unanswered));
    QVERIFY(prusa.switchPower(false));
    QTRY_VERIFY_WITH_TIMEOUT(!printers.printer(u"p2"_s)->printStatus().isConnected(), 20000);
    QCOMPARE(outcome(printers.printer(u"p2"_s)->printStatus().send(PrintControl::pause)),
             u"Pausieren fehlgeschlagen: Keine Verbindung zum Drucker"_s);
}

// The host's web server answers, its API's websocket does not: the emergency stop goes as the
// API's HTTP call, with the key in its header, and follows no redirect to another host.
void PrintStatusTest::emergencyStopWithoutItsConnection()
{
    BrokenApiHost host(BrokenApiHost::Kind::badGateway);
    LoopbackHttpServer elsewhere;
    host.stop = HttpReply::content("application/json", R"({"result": "ok"})");
    MemoryKeyValueStore store({{u"printerIP"_s, host.address()}, {u"printerApiKey"_s, u"k3y"_s}});
    PrinterSettings settings(store);
    PiStatusMonitor monitor(settings, nullptr, 10s);
    PrintStatusClient client(settings, monitor, nullptr, quick);
    QTRY_COMPARE_WITH_TIMEOUT(client.status().state, State::apiUnavailable, 20000);
    QVERIFY(!client.isConnected());

    QCOMPARE(outcome(client.send(PrintControl::emergencyStop)), u"ok"_s);
    QCOMPARE(host.stops.size(), 1);
    QCOMPARE(host.stops[0].method, QByteArray("POST"));
    QCOMPARE(host.stops[0].headers.value("x-api-key"), QByteArray("k3y"));
    QVERIFY(client.stoppedHere());

    host.stop = HttpReply{.statusLine = "HTTP/1.1 307 Temporary Redirect",
                          .headers = "Location: http://" + elsewhere.address().toUtf8() +
                                     "/printer/emergency_stop\r\n"};
    QVERIFY(!outcome(client.send(PrintControl::emergencyStop)).isEmpty());
    QVERIFY(elsewhere.requests().isEmpty());
    host.stop = HttpReply{.statusLine = "HTTP/1.1 400 Bad Request",
                          .contentType = "application/json",
                          .body = R"({"error": {"code": 400, "message": "Klippy Disconnected"}})"};
    QCOMPARE(outcome(client.send(PrintControl::emergencyStop)),
             u"Not-Aus fehlgeschlagen: Klippy Disconnected"_s);
}

// A printer added the way a user adds one: "Drucker hinzufügen" in the settings, its API key,
// then its address, typed key by key. Nothing reaches for a half-typed address, neither a probe
// nor a picture nor the websocket with its key: a server at the address one key short hears
// nothing, and curl is never given such an address. Once typing rests, the new printer's window
// opens and its card shows the print. Its power offers nothing until its own scenes are named; a
// scene that another printer names is warned about on both printers' pages; no other printer's
// scene ever runs. Removing it asks first, by its name, and takes its window and its entry in
// the file with it.
void PrintStatusTest::aPrinterAddedInTheSettingsWorksAtOnce()
{
    const QString demo = QStringLiteral(KESTREL_DEMO_PRINTER_PATH);
    const test::DemoPrinter voron(demo, {u"--boot-ms"_s, u"100"_s, u"--print-seconds"_s, u"600"_s});
    const test::DemoPrinter prusa(demo, {u"--boot-ms"_s, u"100"_s, u"--print-seconds"_s, u"600"_s,
                                         u"--api-key"_s, u"geheim"_s});
    QTcpServer oneKeyShort;
    int heardOneKeyShort = 0;
    const int shortPort = QUrl(u"http://"_s + prusa.address()).port() / 10;
    if (shortPort < 1024 || !oneKeyShort.listen(QHostAddress::LocalHost, quint16(shortPort)))
        qWarning("nothing listens one key short of %s", qPrintable(prusa.address()));
    connect(&oneKeyShort, &QTcpServer::newConnection, this, [&] { ++heardOneKeyShort; });
    QTemporaryDir tools;
    const test::FakeTool curl(tools.path(), u"curl"_s, u"exec /usr/bin/curl \"$@\""_s);
    const test::FakeTool shortcuts(tools.path(), u"shortcuts"_s, u"echo ein"_s);
    MemoryKeyValueStore store(QVariantMap{{u"printerName"_s, u"Voron"_s},
                                          {u"printerIP"_s, voron.address()},
                                          {u"homeKitPowerOnSceneName"_s, u"Voron an"_s},
                                          {u"homeKitPowerOffSceneName"_s, u"Voron aus"_s},
                                          {u"homeKitStatusShortcutName"_s, u"Voron Status"_s}});
    AppSettings settings(store);
    PrinterList printers(settings,
                         {.curl = curl.path(), .shortcuts = shortcuts.path(), .sceneRunner = {}},
                         nullptr, {.probeInterval = 200ms, .printStatus = quick});
    WindowCoordinator windows(printers, cameraWindowViews(settings, curl.path()));
    ContentView content(printers, windows, [] {});
    SettingsView view(printers);
    view.show();
    view.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&view));

    childWithText(&view, u"Drucker hinzufügen"_s)->click();
    const QString id = printers.printers().last()->id();
    const auto field = [&view](const QString &name) {
        const QList<QLineEdit *> fields = view.findChildren<QLineEdit *>();
        return *std::find_if(fields.begin(), fields.end(), [&](const QLineEdit *field) {
            return field->accessibleName() == name && field->isVisibleTo(&view);
        });
    };
    const auto type = [](QLineEdit *into, const QString &text) {
        into->setFocus();
        for (const QChar key : text) {
            QTest::keyClicks(into, QString(key));
            QTest::qWait(20); // a quick typist; timers and answers come in between
        }
    };
    type(field(u"API-Schlüssel"_s), u"geheim"_s);
    type(field(u"IP-Adresse"_s), prusa.address());
    QVERIFY(!windows.window(1, id)); // typing has not rested yet
    QTRY_VERIFY_WITH_TIMEOUT(windows.window(1, id), 20000);
    QCOMPARE(windows.window(1, id)->windowTitle(), u"Drucker 2 · Übersichtscam"_s);
    const Printer &added = *printers.printer(id);
    QTRY_COMPARE_WITH_TIMEOUT(added.printStatus().status().state, State::printing, 20000);
    QVERIFY(!content.showsStartupInfo(id));
    QCOMPARE(heardOneKeyShort, 0);
    for (const QStringList &call : curl.calls()) {
        for (const QString &argument : call.filter(u"http://"_s)) {
            QVERIFY2(argument.startsWith(u"http://%1/"_s.arg(voron.address())) ||
                         argument.startsWith(u"http://%1/"_s.arg(prusa.address())),
                     qPrintable(argument));
        }
    }

    PrinterPanel *card = content.panel(id);
    QVERIFY(shows(card, u"HomeKit/Kurzbefehle: Für Drucker 2 sind noch keine Kurzbefehle "
                        "eingetragen"_s));
    QVERIFY(!childWithText(card, u"Drucker 2 ausschalten…"_s));
    const QString twice =
        u"Achtung: Auch %1 nutzt den Kurzbefehl „Voron aus“. Jeder Drucker braucht eigene "
        "Kurzbefehle."_s;
    type(field(u"Szene fuer Ausschalten"_s), u"Voron aus"_s);
    QVERIFY(shows(&view, twice.arg(u"Voron"_s)));
    auto *list = view.findChild<QListWidget *>();
    list->setCurrentRow(0);
    QVERIFY(shows(&view, twice.arg(u"Drucker 2"_s)));
    QCOMPARE(field(u"Szene fuer Ausschalten"_s)->text(), u"Voron aus"_s);
    view.grab().save(u"settings-window-printers.png"_s);
    list->setCurrentRow(1);
    field(u"Szene fuer Ausschalten"_s)->clear();
    type(field(u"Szene fuer Ausschalten"_s), u"Prusa aus"_s);
    QVERIFY(!shows(&view, twice.arg(u"Voron"_s)));

    content.resize(680, 900);
    content.grab().save(u"main-window-printers.png"_s);
    childWithText(card, u"Drucker 2 ausschalten…"_s)->click();
    QCOMPARE(answer(&content, u"Bis du sicher?"_s).value(1),
             u"Der Kurzbefehl schaltet Drucker 2 aus."_s);
    QTRY_VERIFY_WITH_TIMEOUT(shortcuts.calls().contains({u"run"_s, u"Prusa aus"_s}), 20000);
    for (const QStringList &call : shortcuts.calls())
        QVERIFY2(call.value(1) != u"Voron an"_s && call.value(1) != u"Voron aus"_s,
                 qPrintable(call.join(u' ')));

    childWithText(&view, u"Drucker entfernen…"_s)->click();
    QCOMPARE(answer(&view, u"Entfernen"_s).value(0), u"Drucker „Drucker 2“ entfernen?"_s);
    QTRY_VERIFY(!windows.window(1, id));
    QTRY_VERIFY(!content.panel(id));
    QTRY_COMPARE(windows.window(1)->windowTitle(), u"Übersichtscam"_s);
    QCOMPARE(store.value(AppSettings::additionalPrintersKey), QVariant(QVariantList{}));
}

// A print's end shows the camera's picture where the service shows pictures, and "Anzeigen" where
// it offers actions, which brings up the printer's camera; a camera that does not answer delays
// the notification by the short wait only.
void PrintStatusTest::notificationsShowTheCamera()
{
    NotificationRecorder recorder;
    recorder.capabilities << u"actions"_s;
    QDBusConnection daemon = QDBusConnection::connectToBus(m_busAddress, u"pictures"_s);
    QVERIFY(daemon.registerObject(u"/org/freedesktop/Notifications"_s, &recorder,
                                  QDBusConnection::ExportAllSlots));
    QVERIFY(daemon.registerService(u"org.freedesktop.Notifications"_s));
    LoopbackHttpServer camera;
    camera.setReply(HttpReply::content("image/jpeg", test::testJpeg({1280, 960})));
    MemoryKeyValueStore store(QVariantMap{{u"printerIP"_s, camera.address()}});
    AppSettings settings(store);
    PrinterList printers(settings, {});
    PrintNotifier notifier(settings);
    notifier.setPictureSupply([&](const PrinterSettings &, auto done) {
        printers.first().recentPicture().fetch(std::move(done));
    });
    QSignalSpy shown(&notifier.notifications(), &DesktopNotifications::showRequested);
    for (const State state : {State::printing, State::complete, State::printing})
        notifier.follow(settings.firstPrinter(), status(state));
    QTRY_COMPARE_WITH_TIMEOUT(recorder.shown.size(), 1, 20000);
    QCOMPARE(recorder.shown[0].title, u"Druck fertig"_s);
    QCOMPARE(recorder.shown[0].picture, QSize(360, 270));
    QCOMPARE(recorder.shown[0].actions, (QStringList{u"default"_s, u"Anzeigen"_s}));
    QDBusMessage invoked =
        QDBusMessage::createSignal(u"/org/freedesktop/Notifications"_s,
                                   u"org.freedesktop.Notifications"_s, u"ActionInvoked"_s);
    invoked << uint(1) << u"default"_s;
    QVERIFY(daemon.send(invoked));
    QVERIFY(shown.wait(20000));
    QCOMPARE(shown.first().first().toString(), QString()); // the first printer

    camera.setReply(HttpReply::with(HttpReply::Action::silent));
    recorder.capabilities = {u"body"_s};
    QTest::qWait(int(RecentPicture::freshFor.count())); // the last picture is stale by now
    QElapsedTimer waited;
    waited.start();
    notifier.follow(settings.firstPrinter(), status(State::paused));
    QTRY_COMPARE_WITH_TIMEOUT(recorder.shown.size(), 2, 20000);
    QVERIFY(waited.elapsed() < 4000);
    QCOMPARE(recorder.shown[1].picture, QSize());
    QVERIFY(recorder.shown[1].actions.isEmpty());
    daemon.unregisterService(u"org.freedesktop.Notifications"_s);
    QDBusConnection::disconnectFromBus(u"pictures"_s);
}

QTEST_MAIN(PrintStatusTest)
#include "tst_print_status.moc"
