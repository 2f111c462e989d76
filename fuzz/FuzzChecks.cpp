// SPDX-License-Identifier: GPL-3.0-or-later
#include "FuzzChecks.h"

#include "monitor/PrintControl.h"
#include "monitor/PrintStatusProtocol.h"
#include "platform/FrameText.h"
#include "platform/MemoryKeyValueStore.h"
#include "settings/AppSettings.h"
#include "settings/WebcamImport.h"
#include "stream/JpegPicture.h"
#include "stream/MjpegPartReader.h"
#include "stream/PictureDecoder.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

#include <cmath>

namespace kestrel::fuzz {

namespace {

void require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

} // namespace

namespace {

void checkPrinter(const PrinterSettings &settings)
{
    for (const QString &name : settings.customCameraNames())
        require(!name.isEmpty());
    for (const QString &path : settings.customSnapshotPaths())
        require(!path.isEmpty());
    for (const QString &path : settings.cameraStreamPaths())
        require(!path.isEmpty());
    for (const CameraId id : settings.cameraPlacements().keys())
        require(id >= 1 && id <= 3);
    require(!settings.selectedCameraIDs().empty());
    const OrientationMap orientations = settings.cameraOrientations();
    for (auto it = orientations.cbegin(); it != orientations.cend(); ++it)
        require(it.key() >= 1 && it.key() <= 3 && !it.value().isUnchanged() &&
                it.value().rotation % 90 == 0 && it.value().rotation / 90 < 4 &&
                it.value().rotation >= 0);
    for (const CameraId id : settings.cameraWindowFrames().keys())
        settings.frame(id);
    const CameraId onWall = settings.resolvedWallCamera().id;
    require(onWall >= 1 && onWall <= 3);
}

// The further printers' array, without the ids given to entries that had none.
QVariantList entriesWithoutIDs(const QVariant &stored)
{
    QVariantList entries = stored.toList();
    for (QVariant &entry : entries) {
        if (entry.metaType().id() == QMetaType::QVariantMap) {
            QVariantMap object = entry.toMap();
            object.remove(QStringLiteral("printerID"));
            entry = object;
        }
    }
    return entries;
}

} // namespace

void checkSettingsDocument(const QByteArray &bytes)
{
    // A file that does not parse as an object is an empty store, which the file backend's own
    // tests cover; everything that parses is loaded as the app loads it.
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    const QVariantMap stored = document.object().toVariantMap();
    MemoryKeyValueStore store(stored);
    AppSettings settings(store);
    const WallSettings &wall = settings.wall();
    require(WallSettings::offeredRates.contains(wall.picturesPerSecond()));
    if (const auto frame = wall.frame())
        require(frame->width() > 0 && frame->height() > 0);
    const QList<PrinterSettings *> printers = settings.printers();
    QStringList ids;
    for (const PrinterSettings *printer : printers) {
        checkPrinter(*printer);
        require(!ids.contains(printer->printerID()));
        ids.append(printer->printerID());
    }
    // Writing a further printer's key changes that key and nothing the user wrote elsewhere.
    const QString key = settings.additionalPrintersKey;
    const QVariantList before = entriesWithoutIDs(store.value(key));
    require(!stored.contains(key) || before == entriesWithoutIDs(stored.value(key)));
    if (printers.size() > 1) {
        printers.last()->setPrinterName(QStringLiteral("fuzz"));
        const QVariantList after = entriesWithoutIDs(store.value(key));
        require(after.size() == before.size());
        for (qsizetype i = 0; i < after.size(); ++i) {
            QVariantMap object = after.at(i).toMap();
            object.remove(QStringLiteral("printerName"));
            QVariantMap was = before.at(i).toMap();
            was.remove(QStringLiteral("printerName"));
            require(after.at(i).metaType() == before.at(i).metaType() && object == was);
        }
    }
}

void checkMjpegStream(const QByteArray &bytes)
{
    constexpr qsizetype largestPart = 4096; // small, so that fuzzing reaches the limits
    const qsizetype largestHeld = std::max(largestPart + 2, MjpegPartReader::largestHeaders);
    if (bytes.isEmpty())
        return;
    const qsizetype piece = 1 + uchar(bytes.front());
    const QByteArrayView body = QByteArrayView(bytes).sliced(1);
    MjpegPartReader whole("frame", largestPart);
    MjpegPartReader pieces("frame", largestPart);
    const std::optional<QByteArray> newest = whole.feed(body);
    std::optional<QByteArray> last;
    for (qsizetype at = 0; at < body.size(); at += piece) {
        if (auto part = pieces.feed(body.sliced(at, std::min(piece, body.size() - at))))
            last = std::move(part);
        require(pieces.held() <= largestHeld);
        require(!last || last->size() <= largestPart);
    }
    require(whole.held() <= largestHeld && (!newest || newest->size() <= largestPart));
    if (whole.problem() == MjpegPartReader::Problem::none &&
        pieces.problem() == MjpegPartReader::Problem::none)
        require(newest == last);
}

void checkPicture(const QByteArray &bytes)
{
    if (bytes.size() < 2)
        return;
    const QSize window(8 + 40 * (uchar(bytes[0]) & 0xf), 8 + 40 * (uchar(bytes[0]) >> 4));
    const CameraOrientation orientation{90 * (uchar(bytes[1]) & 3), bool(bytes[1] & 4),
                                        bool(bytes[1] & 8)};
    const QByteArrayView picture = QByteArrayView(bytes).sliced(2);
    const std::optional<QImage> shown = decodePicture(picture, {window, 1.0, orientation});
    if (!shown)
        return;
    require(!shown->isNull());
    const QSize slack(JpegPicture::unscaledSlack, JpegPicture::unscaledSlack);
    const JpegPicture jpeg(picture);
    if (jpeg.size().isValid()) {
        require(shown->format() == QImage::Format_RGB32);
        require(qint64(shown->width()) * shown->height() <=
                qint64(jpeg.size().width()) * jpeg.size().height());
    }
    require(shown->width() <= window.width() + slack.width() &&
            shown->height() <= window.height() + slack.height());
}

void checkPrintStatusFrames(const QByteArray &bytes)
{
    PrintStatusProtocol protocol(QStringLiteral("1"), QStringLiteral("https://example.org"));
    protocol.opening(bytes.startsWith('k') ? QByteArrayLiteral("key") : QByteArray());
    // Waiting under the numbers that follow the opening's: 3 to 7.
    QSet<qint64> controls;
    for (const PrintControl control :
         {PrintControl::pause, PrintControl::resume, PrintControl::cancel,
          PrintControl::emergencyStop, PrintControl::firmwareRestart})
        controls.insert(protocol.control(control).first);
    for (const QByteArray &frame : bytes.split('\n')) {
        const PrintStatusProtocol::Step step = protocol.handle(frame);
        if (const auto &answer = step.controlAnswer) {
            require(controls.remove(answer->id)); // only what was asked, and only once
            require(!answer->error || (!answer->error->isEmpty() && answer->error->size() <= 200 &&
                                       !answer->error->contains(u'\n')));
        }
        require(step.send.size() <= 1);
        const PrintStatus &status = protocol.status();
        require(std::isfinite(status.printDuration) && status.printDuration >= 0);
        require(status.progress >= 0 && status.progress <= 1);
        require(status.displayProgress >= 0 && status.displayProgress <= 1);
        require(!status.totalLayers || (*status.totalLayers >= 0 && *status.totalLayers <= 1e6));
        require(!step.refused || status.state == PrintStatus::State::unauthorized);
        require(status.state != PrintStatus::State::shutdown || !status.message.contains(u'\n'));
        if (const auto left = secondsLeft(status, 100.0))
            require(std::isfinite(*left) && *left >= 0);
        printStatusLine(status, 100.0);
        for (const auto &heater : {status.nozzle, status.secondNozzle, status.bed})
            require(!heater || (std::isfinite(heater->temperature) &&
                                std::isfinite(heater->target) && heater->target >= 0));
        temperatureText(status);
        if (step.send.size() == 1)
            require(protocol.handle(step.send.first()).send.isEmpty());
    }
}

void checkWebcamList(const QByteArray &bytes)
{
    const auto parsed = parseWebcamList(bytes);
    if (const auto *problem = std::get_if<QString>(&parsed)) {
        require(!problem->isEmpty());
        return;
    }
    MemoryKeyValueStore store({{QStringLiteral("printerIP"), QStringLiteral("127.0.0.1:7125")}});
    AppSettings app(store);
    PrinterSettings &settings = app.firstPrinter();
    require(!takeOverWebcams(settings, std::get<0>(parsed)).message().isEmpty());
    for (const CameraTextMap &texts : {settings.customCameraNames(), settings.customSnapshotPaths(),
                                       settings.cameraStreamPaths()}) {
        for (auto it = texts.cbegin(); it != texts.cend(); ++it)
            require(it.key() >= 1 && it.key() <= 3 && !it.value().isEmpty());
    }
    for (const CameraOrientation &orientation : settings.cameraOrientations())
        require(orientation.rotation % 90 == 0 && orientation.rotation >= 0 &&
                orientation.rotation < 360);
}

void checkFrameText(const QByteArray &bytes)
{
    const QRectF read = rectFromString(QString::fromUtf8(bytes));
    for (const qreal value : {read.x(), read.y(), read.width(), read.height()})
        require(std::isfinite(value));
    const QRectF again = rectFromString(stringFromRect(read));
    require(again.x() == read.x() && again.y() == read.y() && again.width() == read.width() &&
            again.height() == read.height());
}

} // namespace kestrel::fuzz
