// SPDX-License-Identifier: GPL-3.0-or-later
#include "DemoFrames.h"
#include "DemoKlipper.h"
#include "DemoPlug.h"
#include "LoopbackHttpServer.h"
#include "platform/CommandLine.h"
#include "settings/Camera.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

using kestrel::HttpReply;
using kestrel::HttpRequest;

namespace {

constexpr int framesPerCycle = 24;
constexpr int framesPerSecond = 6;
constexpr char streamBoundary[] = "kestreldemo";

// What a camera does instead of serving pictures, to show each error state in Kestrel. A stream
// without lengths is a fault only of streams: its parts do not say how long they are, as some
// streamers' do not.
enum class Fault
{
    none,
    notFound,
    html,
    truncated,
    stall,
    noLength
};

std::optional<Fault> faultNamed(const QString &name)
{
    if (name == u"404")
        return Fault::notFound;
    if (name == u"html")
        return Fault::html;
    if (name == u"truncated")
        return Fault::truncated;
    if (name == u"stall")
        return Fault::stall;
    if (name == u"nolength")
        return Fault::noLength;
    return std::nullopt;
}

struct DemoCamera
{
    QByteArray snapshotPath;
    QByteArray streamPath;
    QList<QByteArray> frames;
    Fault fault = Fault::none;
};

// The cameras as the printer host's API lists them, for "Vom Drucker übernehmen".
QByteArray webcamList()
{
    QJsonArray webcams;
    for (const kestrel::Camera &camera : kestrel::cameraCatalogue())
        webcams.append(QJsonObject{{QStringLiteral("name"), camera.name},
                                   {QStringLiteral("snapshot_url"), camera.snapshotPath},
                                   {QStringLiteral("stream_url"), camera.streamPath},
                                   {QStringLiteral("service"), QStringLiteral("mjpegstreamer")},
                                   {QStringLiteral("rotation"), 0},
                                   {QStringLiteral("flip_horizontal"), false},
                                   {QStringLiteral("flip_vertical"), false}});
    return QJsonDocument(QJsonObject{{QStringLiteral("result"),
                                      QJsonObject{{QStringLiteral("webcams"), webcams}}}})
        .toJson(QJsonDocument::Compact);
}

const QByteArray &frameAt(const DemoCamera &camera, qint64 elapsedMs, int perSecond)
{
    return camera.frames[(elapsedMs * perSecond / 1000) % framesPerCycle];
}

// A camera that answers no picture at all, as snapshots and as streams alike.
std::optional<HttpReply> failure(Fault fault)
{
    switch (fault) {
    case Fault::notFound:
        return HttpReply::status("HTTP/1.1 404 Not Found");
    case Fault::html:
        return HttpReply::content("text/html", "<html><body>Kamera nicht gefunden</body></html>");
    case Fault::stall:
        return HttpReply::with(HttpReply::Action::silent);
    default:
        return std::nullopt;
    }
}

// The camera's MJPEG stream, as a Crowsnest host's streamer sends it, at `perSecond` pictures.
HttpReply streamFor(const DemoCamera &camera, const QElapsedTimer &clock, int perSecond)
{
    if (const auto failed = failure(camera.fault))
        return *failed;
    return {.contentType = QByteArray("multipart/x-mixed-replace;boundary=") + streamBoundary,
            .pieces =
                [&camera, &clock, perSecond] {
                    QByteArray frame = frameAt(camera, clock.elapsed(), perSecond);
                    if (camera.fault == Fault::truncated)
                        frame.truncate(frame.size() / 2);
                    QByteArray part =
                        QByteArray("--") + streamBoundary + "\r\nContent-Type: image/jpeg\r\n";
                    if (camera.fault != Fault::noLength)
                        part += "Content-Length: " + QByteArray::number(frame.size()) + "\r\n";
                    return part + "\r\n" + frame + "\r\n";
                },
            .pieceInterval = std::chrono::milliseconds(1000 / perSecond)};
}

HttpReply replyFor(const DemoCamera &camera, qint64 elapsedMs)
{
    if (const auto failed = failure(camera.fault))
        return *failed;
    const QByteArray &frame = frameAt(camera, elapsedMs, framesPerSecond);
    return HttpReply::content(
        "image/jpeg", camera.fault == Fault::truncated ? frame.left(frame.size() / 2) : frame);
}

} // namespace

int main(int argc, char *argv[])
{
    kestrel::CommandLine commandLine(
        QStringLiteral("kestrel-demo-printer"),
        QStringLiteral(
            "Ein Crowsnest-Host zum Ausprobieren von Kestrel: beantwortet / und liefert\n"
            "für die drei Kameras bewegte Testbilder, als Einzelbilder und als MJPEG-Stream,\n"
            "nur auf 127.0.0.1. Über /websocket meldet er einen simulierten Druck, wie es\n"
            "die API eines Drucker-Hosts tut. Eine Steckdose mit Tasmota-Befehlen auf einem\n"
            "eigenen Port schaltet ihn aus und wieder ein."),
        QStringLiteral(
            "Rückgabewerte:\n"
            "  0  Beendet, oder Hilfe oder Version gezeigt.\n"
            "  2  Unbekannte Option, ungültiger Port, ungültige Bildrate, Druckdauer unter\n"
            "     10 Sekunden, Pause unter 1 Sekunde oder unbekannter Fehlerfall."));
    const QCommandLineOption portOption(
        QStringLiteral("port"),
        QStringLiteral("Port auf 127.0.0.1 (Vorgabe 8080, 0 für einen freien)."),
        QStringLiteral("port"), QStringLiteral("8080"));
    const QCommandLineOption faultOption(
        QStringLiteral("fault"),
        QStringLiteral("Lässt eine Kamera scheitern, z. B. 2=404 (404, html, truncated, stall,"
                       " nolength), oder den Druck: klippy-restart, shutdown, print-error, idle,\n"
                       "deaf (nimmt Pause, Abbruch und Not-Aus an und antwortet nie), api-drops\n"
                       "(die API trennt jede Minute ihre Verbindungen und ist 20 s lang weg)."),
        QStringLiteral("kamera=fehler"));
    const QCommandLineOption printOption(
        QStringLiteral("print-seconds"),
        QStringLiteral("So lange dauert ein simulierter Druck (Vorgabe 180)."),
        QStringLiteral("sekunden"), QStringLiteral("180"));
    const QCommandLineOption bootOption(
        QStringLiteral("boot-ms"),
        QStringLiteral("So lange braucht der Drucker nach dem Einschalten (Vorgabe 3000)."),
        QStringLiteral("ms"), QStringLiteral("3000"));
    commandLine.addOption(portOption);
    commandLine.addOption(faultOption);
    const QCommandLineOption fpsOption(
        QStringLiteral("fps"),
        QStringLiteral("Bilder pro Sekunde der MJPEG-Streams (Vorgabe 15, höchstens 60)."),
        QStringLiteral("bilder"), QStringLiteral("15"));
    const QCommandLineOption keyOption(
        QStringLiteral("api-key"),
        QStringLiteral("Die API verlangt diesen Schlüssel (X-Api-Key), wie ein Drucker-Host\n"
                       "von Rechnern außerhalb seiner vertrauten Netze."),
        QStringLiteral("schlüssel"));
    commandLine.addOption(keyOption);
    const QCommandLineOption delayOption(
        QStringLiteral("control-delay-ms"),
        QStringLiteral("So lange hält Klipper Pause, Fortsetzen und Abbruch zurück, wie beim\n"
                       "Aufheizen (Vorgabe 0)."),
        QStringLiteral("ms"), QStringLiteral("0"));
    commandLine.addOption(delayOption);
    const QCommandLineOption restOption(
        QStringLiteral("rest-seconds"),
        QStringLiteral("So lange steht ein beendeter Druck, und danach der Drucker, bis zum\n"
                       "nächsten Druck derselben Datei (Vorgabe 10)."),
        QStringLiteral("sekunden"), QStringLiteral("10"));
    commandLine.addOption(restOption);
    const QCommandLineOption aheadOption(
        QStringLiteral("head-start-seconds"),
        QStringLiteral("So lange läuft der erste Druck beim Start schon (Vorgabe 0)."),
        QStringLiteral("sekunden"), QStringLiteral("0"));
    commandLine.addOption(aheadOption);
    commandLine.addOption(bootOption);
    commandLine.addOption(fpsOption);
    commandLine.addOption(printOption);
    if (const auto status = commandLine.parse(argc, argv))
        return *status;

    // Pictures are drawn off screen; the demo printer needs no display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("kestrel-demo-printer"));

    bool portOk = false;
    const uint port = commandLine.value(portOption).toUInt(&portOk);
    if (!portOk || port > 65535) {
        std::fprintf(stderr, "kestrel-demo-printer: ungültiger Port „%s“\n",
                     qPrintable(commandLine.value(portOption)));
        return 2;
    }

    const int fps = commandLine.value(fpsOption).toInt();
    if (fps < 1 || fps > 60) {
        std::fprintf(stderr, "kestrel-demo-printer: ungültige Bildrate „%s“\n",
                     qPrintable(commandLine.value(fpsOption)));
        return 2;
    }

    QList<DemoCamera> cameras;
    for (const kestrel::Camera &camera : kestrel::cameraCatalogue())
        cameras.append({camera.snapshotPath.toUtf8(), camera.streamPath.toUtf8(),
                        kestrel::demo::renderCycle(camera, framesPerCycle)});
    auto klipperFault = kestrel::demo::KlipperFault::none;
    kestrel::demo::DemoHost host{
        .apiKey = commandLine.value(keyOption).toUtf8(),
        .controlDelay = std::chrono::milliseconds(commandLine.value(delayOption).toInt())};
    for (const QString &text : commandLine.values(faultOption)) {
        if (text == u"api-drops") {
            host.dropsApi = true;
            continue;
        }
        static const QHash<QString, kestrel::demo::KlipperFault> klipperFaults{
            {QStringLiteral("klippy-restart"), kestrel::demo::KlipperFault::restart},
            {QStringLiteral("print-error"), kestrel::demo::KlipperFault::printError},
            {QStringLiteral("idle"), kestrel::demo::KlipperFault::idle},
            {QStringLiteral("shutdown"), kestrel::demo::KlipperFault::shutdown},
            {QStringLiteral("deaf"), kestrel::demo::KlipperFault::deaf}};
        if (klipperFaults.contains(text)) {
            klipperFault = klipperFaults.value(text);
            continue;
        }
        const QStringList parts = text.split(u'=');
        const int id = parts.value(0).toInt();
        const auto fault = faultNamed(parts.value(1));
        if (parts.size() != 2 || id < 1 || id > cameras.size() || !fault) {
            std::fprintf(stderr, "Unbekannter Fehlerfall: %s\n", qPrintable(text));
            return 2;
        }
        cameras[id - 1].fault = *fault;
    }

    QElapsedTimer clock;
    clock.start();
    const int printSeconds = commandLine.value(printOption).toInt();
    if (printSeconds < 10) {
        std::fprintf(stderr, "kestrel-demo-printer: ungültige Druckdauer „%s“\n",
                     qPrintable(commandLine.value(printOption)));
        return 2;
    }
    kestrel::LoopbackHttpServer server(nullptr, quint16(port));
    server.setKeepAlive(true); // as a camera's web server does
    const int restSeconds = commandLine.value(restOption).toInt();
    if (restSeconds < 1) {
        std::fprintf(stderr, "kestrel-demo-printer: ungültige Pause „%s“\n",
                     qPrintable(commandLine.value(restOption)));
        return 2;
    }
    kestrel::demo::DemoKlipper klipper(server, std::chrono::seconds(printSeconds),
                                       std::chrono::seconds(restSeconds), klipperFault, host);
    klipper.startAhead(std::chrono::seconds(std::max(commandLine.value(aheadOption).toInt(), 0)));
    server.setHandler([&](const HttpRequest &request) {
        if (request.path.startsWith("/server/") || request.path.startsWith("/printer/")) {
            if (const auto refused = klipper.refusal(request))
                return *refused;
        }
        if (request.method == "POST" && request.path == "/printer/emergency_stop")
            return klipper.emergencyStop();
        if (request.path.startsWith("/server/files/metadata?"))
            return klipper.metadata(request);
        if (request.path == "/")
            return HttpReply::content("text/html",
                                      "<html><body>Kestrel Demo-Drucker</body></html>");
        if (request.path == "/server/webcams/list")
            return HttpReply::content("application/json", webcamList());
        for (const DemoCamera &camera : std::as_const(cameras)) {
            // Further parameters are ignored, as streamers do: dashboards add one against caches.
            if (request.path == camera.snapshotPath ||
                request.path.startsWith(camera.snapshotPath + '&'))
                return replyFor(camera, clock.elapsed());
            if (request.path == camera.streamPath)
                return streamFor(camera, clock, fps);
        }
        return HttpReply::status("HTTP/1.1 404 Not Found");
    });
    kestrel::demo::DemoPlug plug(server,
                                 std::chrono::milliseconds(commandLine.value(bootOption).toInt()));
    std::printf("Demo-Drucker laeuft auf http://%s/\n", qPrintable(server.address()));
    std::printf("Steckdose (Tasmota) laeuft auf http://%s/\n", qPrintable(plug.address()));
    std::fflush(stdout);
    return QGuiApplication::exec();
}
