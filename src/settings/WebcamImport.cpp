// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/WebcamImport.h"

#include "platform/ProcessRunner.h"
#include "settings/PrinterApi.h"
#include "settings/PrinterSettings.h"
#include "settings/SnapshotUrls.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

namespace kestrel {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("WebcamImport", text);
}

// A listed address as a path on the printer address: a path as it stands, a whole address
// only when it names the printer address's own host and port.
struct PrinterPath
{
    QString path;
    QString otherHost; // the host and port named instead of the printer address's, if any
};

PrinterPath pathOnPrinter(const QString &listed, const QString &printerIP)
{
    const QUrl url(listed);
    const QString path = url.path(QUrl::FullyEncoded);
    const QString pathAndQuery =
        url.hasQuery() ? path + u'?' + url.query(QUrl::FullyEncoded) : path;
    const QUrl printer(QStringLiteral("http://") + printerIP.trimmed());
    if (url.host().isEmpty() || (url.host() == printer.host() && url.port(80) == printer.port(80)))
        return {pathAndQuery, {}};
    return {{}, url.port() < 0 ? url.host() : url.host() + u':' + QString::number(url.port())};
}

// camera-streamer serves its MJPEG stream as "stream" beside "webrtc", at the same address.
QString mjpegBesideWebRtc(const QString &listed)
{
    QUrl url(listed);
    const QString path = url.path();
    url.setPath(path.left(path.lastIndexOf(u'/') + 1) + QStringLiteral("stream"));
    url.setQuery(QString());
    return url.toString();
}

// The stream path a listed webcam is to show, or none for snapshots, and why not where the
// user should know. Only MJPEG streams are streams Kestrel reads: the plain streamers', and the
// one camera-streamer serves beside its WebRTC. The adaptive streamer is polled as snapshots by
// every front-end, and HLS and the like are no MJPEG at all. A host that names no service leaves
// the camera as it is.
std::optional<std::optional<QString>> streamPathOf(const ListedWebcam &webcam,
                                                   const QString &printerIP, const Camera &camera,
                                                   QStringList &notes)
{
    if (webcam.service.isEmpty())
        return std::nullopt;
    const bool mjpeg = webcam.service == u"mjpegstreamer" || webcam.service == u"uv4l-mjpeg";
    const bool cameraStreamer = webcam.service == u"webrtc-camerastreamer";
    if (!(mjpeg || cameraStreamer) || webcam.streamUrl.isEmpty()) {
        if (!mjpeg && webcam.service != u"mjpegstreamer-adaptive")
            notes << tr("%1: Dienst %2, zeigt Einzelbilder").arg(camera.name, webcam.service);
        return std::optional<QString>();
    }
    const PrinterPath stream = pathOnPrinter(
        cameraStreamer ? mjpegBesideWebRtc(webcam.streamUrl) : webcam.streamUrl, printerIP);
    if (!stream.otherHost.isEmpty()) {
        notes << tr("%1: Stream auf einem anderen Host (%2), zeigt Einzelbilder")
                     .arg(camera.name, stream.otherHost);
        return std::optional<QString>();
    }
    return std::optional(stream.path);
}

QString describe(const CameraOrientation &orientation, bool streaming)
{
    QStringList parts{QString::number(orientation.rotation) + u'°'};
    if (streaming)
        parts.prepend(tr("Live-Stream"));
    if (orientation.mirrorHorizontal)
        parts << tr("horizontal gespiegelt");
    if (orientation.mirrorVertical)
        parts << tr("vertikal gespiegelt");
    return parts.join(QStringLiteral(", "));
}

} // namespace

std::variant<QList<ListedWebcam>, QString> parseWebcamList(const QByteArray &body)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError)
        return tr("Die Antwort des Druckers ist kein JSON, also keine Kameraliste");
    const QJsonValue list = document.object().value(u"result").toObject().value(u"webcams");
    if (!list.isArray())
        return tr("Die Antwort des Druckers enthält keine Kameraliste (result.webcams)");
    QList<ListedWebcam> webcams;
    for (const QJsonValue &entry : list.toArray()) {
        const QJsonObject webcam = entry.toObject();
        const QString snapshot = webcam.value(u"snapshot_url").toString();
        if (!entry.isObject() || snapshot.isEmpty())
            return tr("Ein Eintrag der Kameraliste hat keine snapshot_url");
        const int rotation = webcam.value(u"rotation").toInt();
        webcams.append(
            {webcam.value(u"name").toString(),
             snapshot,
             {rotation % 90 == 0 && rotation >= 0 && rotation < 360 ? rotation : 0,
              webcam.value(u"flip_horizontal").toBool(), webcam.value(u"flip_vertical").toBool()},
             webcam.value(u"stream_url").toString(),
             webcam.value(u"service").toString()});
    }
    if (webcams.isEmpty())
        return tr("Auf dem Drucker ist keine Kamera eingetragen");
    return webcams;
}

QString WebcamTakeOver::message() const
{
    QStringList lines = notes;
    if (!changes.isEmpty())
        lines.prepend(tr("Vom Drucker übernommen: ") + changes.join(QStringLiteral("; ")));
    if (lines.isEmpty())
        return tr("Die Kameras stimmen schon mit dem Drucker überein");
    return lines.join(u'\n');
}

WebcamTakeOver takeOverWebcams(PrinterSettings &settings, const QList<ListedWebcam> &webcams)
{
    WebcamTakeOver outcome;
    for (qsizetype i = 0; i < std::min<qsizetype>(webcams.size(), cameraCatalogue().size()); ++i) {
        const Camera &camera = cameraCatalogue()[i];
        const ListedWebcam &webcam = webcams[i];
        const PrinterPath snapshot = pathOnPrinter(webcam.snapshotUrl, settings.settledPrinterIP());
        if (!snapshot.otherHost.isEmpty()) {
            outcome.notes << tr("%1: Adresse auf einem anderen Host (%2), nicht übernommen")
                                 .arg(camera.name, snapshot.otherHost);
            continue;
        }
        const Camera before = settings.resolvedCamera(camera);
        const CameraOrientation turnedBefore = settings.orientation(camera.id);
        const QString streamBefore = settings.cameraStreamPaths().value(camera.id);
        if (!webcam.name.isEmpty())
            settings.setCustomName(webcam.name, camera.id);
        settings.setCustomSnapshotPath(snapshot.path, camera.id);
        settings.setOrientation(webcam.orientation, camera.id);
        if (const auto stream =
                streamPathOf(webcam, settings.settledPrinterIP(), camera, outcome.notes))
            settings.setStreamPath(*stream, camera.id);
        const Camera after = settings.resolvedCamera(camera);
        const QString streamAfter = settings.cameraStreamPaths().value(camera.id);
        if (before != after || turnedBefore != webcam.orientation || streamBefore != streamAfter)
            outcome.changes << tr("%1: „%2“, %3, %4")
                                   .arg(camera.name, after.name,
                                        streamAfter.isEmpty() ? after.snapshotPath : streamAfter,
                                        describe(webcam.orientation, !streamAfter.isEmpty()));
    }
    return outcome;
}

QFuture<WebcamTakeOver> importWebcams(PrinterSettings &settings, const QString &curlPath,
                                      QObject *owner)
{
    const auto failed = [](const QString &why) { return WebcamTakeOver{.notes = {why}}; };
    const auto url = printerApi::url(settings, QStringLiteral("/server/webcams/list"));
    if (!url)
        return QtFuture::makeReadyFuture(failed(tr("Keine gültige Drucker-IP eingetragen")));
    // curl refuses a list that announces its size as too large; the runner stops one that
    // does not announce it. The API key, if any, comes on standard input.
    const QByteArray keyConfig = printerApi::curlKeyConfig(settings.printerApiKey());
    QStringList arguments{QStringLiteral("-sS"),
                          QStringLiteral("--max-time"),
                          QStringLiteral("5"),
                          QStringLiteral("--max-filesize"),
                          QString::number(largestProcessOutput),
                          QStringLiteral("--fail"),
                          QStringLiteral("--http1.1")};
    if (!keyConfig.isEmpty())
        arguments << QStringLiteral("--config") << QStringLiteral("-");
    arguments << url->toString(QUrl::FullyEncoded);
    const ProcessCommand command{curlPath, arguments, true, keyConfig};
    return runProcess(command, owner).then(owner, [&settings, failed](const ProcessResult &result) {
        // curl --fail names the status it failed on; a 401 is the key, not the network.
        if (!result.failure && result.exitStatus == 22 &&
            result.standardError.contains(QStringLiteral(" 401")))
            return failed(printerApi::unauthorizedText());
        if (!result.succeeded())
            return failed(curlFailureText(result));
        const auto parsed = parseWebcamList(result.standardOutput.toUtf8());
        if (const auto *problem = std::get_if<QString>(&parsed))
            return failed(*problem);
        return takeOverWebcams(settings, std::get<0>(parsed));
    });
}

} // namespace kestrel
