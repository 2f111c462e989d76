// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/WebcamImport.h"

#include "platform/ProcessRunner.h"
#include "settings/AppSettings.h"
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

// An address may name another host; only its path and query mean something on ours.
QString pathOnHost(const QString &snapshotUrl)
{
    const QUrl url(snapshotUrl);
    const QString path = url.path(QUrl::FullyEncoded);
    return url.hasQuery() ? path + u'?' + url.query(QUrl::FullyEncoded) : path;
}

QString describe(const CameraOrientation &orientation)
{
    QStringList parts{QString::number(orientation.rotation) + u'°'};
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
             pathOnHost(snapshot),
             {rotation % 90 == 0 && rotation >= 0 && rotation < 360 ? rotation : 0,
              webcam.value(u"flip_horizontal").toBool(), webcam.value(u"flip_vertical").toBool()}});
    }
    if (webcams.isEmpty())
        return tr("Auf dem Drucker ist keine Kamera eingetragen");
    return webcams;
}

QStringList takeOverWebcams(AppSettings &settings, const QList<ListedWebcam> &webcams)
{
    QStringList changes;
    for (qsizetype i = 0; i < std::min<qsizetype>(webcams.size(), cameraCatalogue().size()); ++i) {
        const Camera &camera = cameraCatalogue()[i];
        const ListedWebcam &webcam = webcams[i];
        const Camera before = settings.resolvedCamera(camera);
        const CameraOrientation turnedBefore = settings.orientation(camera.id);
        if (!webcam.name.isEmpty())
            settings.setCustomName(webcam.name, camera.id);
        settings.setCustomSnapshotPath(webcam.snapshotPath, camera.id);
        settings.setOrientation(webcam.orientation, camera.id);
        const Camera after = settings.resolvedCamera(camera);
        if (before != after || turnedBefore != webcam.orientation)
            changes << tr("%1: „%2“, %3, %4")
                           .arg(camera.name, after.name, after.snapshotPath,
                                describe(webcam.orientation));
    }
    return changes;
}

QFuture<QString> importWebcams(AppSettings &settings, const QString &curlPath, QObject *owner)
{
    const auto url = strictHttpUrl(QStringLiteral("http://") + settings.printerIP().trimmed() +
                                   QStringLiteral("/server/webcams/list"));
    if (!url)
        return QtFuture::makeReadyFuture(tr("Keine gültige Drucker-IP eingetragen"));
    const ProcessCommand command{curlPath,
                                 {QStringLiteral("-sS"), QStringLiteral("--max-time"),
                                  QStringLiteral("5"), QStringLiteral("--fail"),
                                  QStringLiteral("--http1.1"), url->toString(QUrl::FullyEncoded)},
                                 true};
    return runProcess(command, owner).then(owner, [&settings](const ProcessResult &result) {
        if (!result.launched)
            return result.launchError;
        if (!result.succeeded()) {
            const QString error = result.standardError.trimmed();
            return error.isEmpty() ? tr("curl-Fehler ") + QString::number(result.exitStatus)
                                   : error;
        }
        const auto parsed = parseWebcamList(result.standardOutput.toUtf8());
        if (const auto *problem = std::get_if<QString>(&parsed))
            return *problem;
        const QStringList changes = takeOverWebcams(settings, std::get<0>(parsed));
        return changes.isEmpty()
                   ? tr("Die Kameras stimmen schon mit dem Drucker überein")
                   : tr("Vom Drucker übernommen: ") + changes.join(QStringLiteral("; "));
    });
}

} // namespace kestrel
