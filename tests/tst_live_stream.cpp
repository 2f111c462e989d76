// SPDX-License-Identifier: GPL-3.0-or-later
// A camera's live MJPEG stream: the parts cut from the bytes however they arrive and however the
// streamer writes them, what the user reads when a stream breaks, that a stream comes back by
// itself and never holds more than a part and a picture, and a camera window against the demo
// printer through a power cut and back.
#include "CameraApp.h"
#include "DemoPrinter.h"
#include "Helpers.h"
#include "LoopbackHttpServer.h"
#include "camera/CameraWindowView.h"
#include "camera/SnapshotErrorCard.h"
#include "camera/SnapshotStreamView.h"
#include "stream/MjpegStreamReader.h"
#include "windows/CameraWindow.h"

#include <QBuffer>
#include <QLabel>
#include <QPainter>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

using namespace kestrel;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Every part of a body, fed one byte at a time, so that none hides behind a newer one.
QList<QByteArray> partsByteByByte(const QByteArray &boundary, const QByteArray &body,
                                  qsizetype largest = 1 << 20)
{
    MjpegPartReader reader(boundary, largest);
    QList<QByteArray> parts;
    for (const char byte : body) {
        if (const auto part = reader.feed(QByteArrayView(&byte, 1)))
            parts << *part;
    }
    return parts;
}

QByteArray part(const QByteArray &picture, bool withLength = true)
{
    QByteArray head = "--frame\r\nContent-Type: image/jpeg\r\n";
    if (withLength)
        head += "Content-Length: " + QByteArray::number(picture.size()) + "\r\n";
    return head + "\r\n" + picture + "\r\n";
}

// A loopback stream of test pictures, as fast as the reader takes them or at a set pace.
HttpReply streamOf(const QByteArray &picture, std::chrono::milliseconds every = 0ms,
                   bool withLength = true)
{
    return {.contentType = "multipart/x-mixed-replace; boundary=frame",
            .pieces = [=] { return part(picture, withLength); },
            .pieceInterval = every};
}

const StreamTimings quick{.stall = 300ms, .retries = {50ms}};

} // namespace

class LiveStreamTest : public QObject
{
    Q_OBJECT

private slots:
    void boundaryIsReadAsStreamersWriteIt_data();
    void boundaryIsReadAsStreamersWriteIt();
    void partsAreCutHoweverTheBytesArrive_data();
    void partsAreCutHoweverTheBytesArrive();
    void brokenStreamsSayWhyAndComeBack_data();
    void brokenStreamsSayWhyAndComeBack();
    void newestPictureWinsAndNothingPilesUp();
    void cameraWindowThroughAPowerCut();
};

void LiveStreamTest::boundaryIsReadAsStreamersWriteIt_data()
{
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<QByteArray>("boundary"); // empty: no stream
    for (const QStringList &row : test::tableRows(uR"(
        mjpg-streamer   | multipart/x-mixed-replace;boundary=boundarydonotcross | boundarydonotcross
        blank, quotes   | multipart/x-mixed-replace; boundary="frame"            | frame
        dashes          | Multipart/X-Mixed-Replace; charset=x; BOUNDARY=--frame | frame
        no boundary     | multipart/x-mixed-replace                              | -
        empty boundary  | multipart/x-mixed-replace; boundary=""                 | -
        a picture       | image/jpeg                                             | -
    )"_s))
        QTest::newRow(qPrintable(row[0])) << row[1].toUtf8() << row[2].toUtf8();
}

void LiveStreamTest::boundaryIsReadAsStreamersWriteIt()
{
    QFETCH(QByteArray, contentType);
    QFETCH(QByteArray, boundary);
    QCOMPARE(mjpegBoundary(contentType).value_or(QByteArray()), boundary);
}

void LiveStreamTest::partsAreCutHoweverTheBytesArrive_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QList<QByteArray>>("parts");
    const QByteArray a = "AAA--fram", b = "B\r\nB";
    QTest::newRow("with lengths") << part(a) + part(b) << QList<QByteArray>{a, b};
    QTest::newRow("without lengths") << part(a, false) + part(b, false) + "--frame--\r\n"
                                     << QList<QByteArray>{a, b};
    QTest::newRow("mixed, bare line feeds, a preamble")
        << "preamble\n--frame\nContent-Length: 9\n\n" + a + "\n--frame\n\n" + b + "\n--frame\n"
        << QList<QByteArray>{a, b};
    QTest::newRow("no headers at all")
        << QByteArray("--frame\r\n\r\n" + a + "\r\n--frame\r\n") << QList<QByteArray>{a};
    QTest::newRow("the boundary inside a picture")
        << part("AB--frameCD\r\nE", false) + part(b, false) + "--frame--\r\n"
        << QList<QByteArray>{"AB--frameCD\r\nE", b};
    QTest::newRow("declared with its dashes, written with four")
        << "----frame\r\n\r\n" + a + "\r\n----frame\r\nContent-Length: 4\r\n\r\n" + b +
               "----frame--\r\n"
        << QList<QByteArray>{a, b};
}

// Fed whole, one byte at a time, or cut in two at every byte: the same pictures, the newest
// last.
void LiveStreamTest::partsAreCutHoweverTheBytesArrive()
{
    QFETCH(QByteArray, body);
    QFETCH(QList<QByteArray>, parts);
    QCOMPARE(partsByteByByte("frame", body), parts);
    QCOMPARE(MjpegPartReader("frame", 1 << 20).feed(body), parts.last());
    for (qsizetype cut = 0; cut <= body.size(); ++cut) {
        MjpegPartReader reader("frame", 1 << 20);
        std::optional<QByteArray> newest = reader.feed(QByteArrayView(body).first(cut));
        if (const auto later = reader.feed(QByteArrayView(body).sliced(cut)))
            newest = later;
        QCOMPARE(newest, parts.last());
    }
}

void LiveStreamTest::brokenStreamsSayWhyAndComeBack_data()
{
    QTest::addColumn<HttpReply>("reply");
    QTest::addColumn<QString>("shown");   // before ": " and the address
    QTest::addColumn<bool>("reconnects"); // a stream of bad pictures is still a stream
    const QByteArray jpeg = test::testJpeg();
    QTest::newRow("404") << HttpReply::status("HTTP/1.1 404 Not Found") << u"HTTP-Status 404"_s
                         << true;
    QTest::newRow("redirect to another host")
        << HttpReply{.statusLine = "HTTP/1.1 302 Found",
                     .headers = "Location: http://127.0.0.1:9/webcam/?action=stream\r\n"}
        << u"HTTP-Status 302"_s << true;
    QTest::newRow("a web page") << HttpReply::content("text/html", "<html>")
                                << u"Kein MJPEG-Stream (text/html)"_s << true;
    QTest::newRow("silent") << HttpReply::with(HttpReply::Action::silent)
                            << u"Kein Bild seit 0.3 Sekunden"_s << true;
    QTest::newRow("closed mid-part")
        << HttpReply{.contentType = "multipart/x-mixed-replace;boundary=frame",
                     .body = part(jpeg).left(500)}
        << u"Stream vom Host beendet"_s << true;
    QTest::newRow("no picture") << streamOf(part("kein JPEG"), 20ms) << u"JPEG ungültig"_s << false;
    // Announced, not sent: building 70 MB takes longer than the stall time on a slow machine.
    QTest::newRow("part too large")
        << HttpReply{.contentType = "multipart/x-mixed-replace;boundary=frame",
                     .body = "--frame\r\nContent-Length: 73400320\r\n\r\n" + QByteArray(65536, 'x'),
                     .stallAfterBody = true}
        << u"Bild im Stream zu groß"_s << true;
    QTest::newRow("headers without end")
        << HttpReply{.contentType = "multipart/x-mixed-replace;boundary=frame",
                     .pieces = [] { return QByteArray("--frame\r\n") + QByteArray(4096, 'h'); }}
        << u"Kopfzeilen im Stream zu lang"_s << true;
}

// Each failure shows with the stream's address, and a broken stream connects again by itself.
void LiveStreamTest::brokenStreamsSayWhyAndComeBack()
{
    QFETCH(HttpReply, reply);
    QFETCH(QString, shown);
    QFETCH(bool, reconnects);
    LoopbackHttpServer host;
    host.setReply(reply);
    const QUrl url(u"http://"_s + host.address() + u"/webcam/?action=stream"_s);
    MjpegStreamReader reader(nullptr, quick);
    reader.start({url}, 15);
    QTRY_COMPARE_WITH_TIMEOUT(reader.errorText().value_or(QString()),
                              shown + u": "_s + url.toString(), 20000);
    if (reconnects)
        QTRY_VERIFY_WITH_TIMEOUT(host.requests().size() >= 2, 20000);
    else
        QCOMPARE(host.requests().size(), 1);
    QVERIFY(reader.heldBytes() <= 16 * 1024 + 4096);
}

// A streamer far faster than decoding, behind a redirect: pictures are dropped, never queued, and
// the reader holds at most the part in progress and one picture. Hidden, the connection closes
// and the picture stays; shown again, it reconnects.
void LiveStreamTest::newestPictureWinsAndNothingPilesUp()
{
    // A picture slow to decode, then many at once, then the last: each newer one replaces the
    // one that waited, and the last one sent is the one that stays.
    const auto jpegOf = [](const QImage &picture) {
        QBuffer bytes;
        bytes.open(QIODevice::WriteOnly);
        picture.save(&bytes, "JPEG");
        return part(bytes.data());
    };
    QImage noise(4000, 3000, QImage::Format_RGB32);
    QRandomGenerator::global()->fillRange(reinterpret_cast<quint32 *>(noise.bits()),
                                          noise.sizeInBytes() / 4);
    const auto shade = [&](int level) {
        QImage picture(640, 360, QImage::Format_RGB32);
        picture.fill(QColor(level, level, level));
        return jpegOf(picture);
    };
    QList<QByteArray> pieces{jpegOf(noise), shade(100) + shade(150), shade(200)};
    LoopbackHttpServer camera;
    camera.setReply({.contentType = "multipart/x-mixed-replace;boundary=frame",
                     .pieces = [&pieces] { return pieces.isEmpty() ? "\r\n" : pieces.takeFirst(); },
                     .pieceInterval = 100ms});
    MjpegStreamReader newest(nullptr, {.stall = 20s});
    newest.start({QUrl(u"http://"_s + camera.address() + u"/s"_s)}, 15);
    QTRY_VERIFY_WITH_TIMEOUT(newest.image().size() == QSize(640, 360) &&
                                 std::abs(qGray(newest.image().pixel(320, 180)) - 200) <= 2,
                             20000);

    const QByteArray jpeg = test::testJpeg({1920, 1080});
    qint64 sent = 0;
    LoopbackHttpServer host;
    // The web server sends the path on to where the streamer is, as many do.
    host.setHandler([&](const HttpRequest &request) {
        if (request.path == "/s")
            return HttpReply{.statusLine = "HTTP/1.1 301 Moved Permanently",
                             .headers = "Location: /s/?action=stream\r\n"};
        return HttpReply{.contentType = "multipart/x-mixed-replace;boundary=frame",
                         .pieces = [&] { return ++sent, part(jpeg); }};
    });
    MjpegStreamReader reader(nullptr, quick);
    reader.setDecodeSize({64, 36}, 1);
    QSignalSpy pictures(&reader, &PictureSource::imageChanged);
    reader.start({QUrl(u"http://"_s + host.address() + u"/s"_s)}, 15);
    qsizetype held = 0;
    while (pictures.count() < 5 && pictures.wait(20000))
        held = std::max(held, reader.heldBytes());
    QVERIFY(pictures.count() >= 5);
    QVERIFY2(held <= 2 * part(jpeg).size(), qPrintable(QString::number(held)));
    QVERIFY(sent > pictures.count());
    QCOMPARE(reader.image().size(), QSize(64, 36));

    reader.pause();
    QVERIFY(!reader.isRunning() && !reader.image().isNull());
    const qsizetype requests = host.requests().size();
    reader.resume({QUrl(u"http://"_s + host.address() + u"/s"_s)}, 15);
    QVERIFY(pictures.wait(20000));
    QCOMPARE(host.requests().size(), requests + 2);
}

// The demo printer streams all three cameras; its plug switched off, every window names the
// failure over its last picture, and switched on, the pictures come back. A camera switched to
// snapshots in the settings changes at once.
void LiveStreamTest::cameraWindowThroughAPowerCut()
{
    const test::DemoPrinter printer(QStringLiteral(KESTREL_DEMO_PRINTER_PATH),
                                    {u"--boot-ms"_s, u"100"_s});
    QVERIFY(!printer.address().isEmpty());
    QVariantMap streams;
    for (const Camera &camera : cameraCatalogue())
        streams.insert(QString::number(camera.id), camera.streamPath);
    test::CameraApp app({{u"selectedCameraIDs"_s, test::idList({1, 2, 3})},
                         {u"printerIP"_s, printer.address()},
                         {u"cameraStreamPaths"_s, streams}});
    auto coordinator = app.start();
    const auto streamOf = [&](CameraId id) {
        return coordinator->window(id)->findChild<SnapshotStreamView *>();
    };
    for (const CameraId id : {1, 2, 3})
        QTRY_VERIFY_WITH_TIMEOUT(!streamOf(id)->source().image().isNull(), 20000);
    QCOMPARE(streamOf(1)->feed(), PictureFeed::stream);

    QVERIFY(printer.switchPower(false));
    QList<std::shared_ptr<QSignalSpy>> pictures;
    for (const CameraId id : {1, 2, 3}) {
        const PictureSource &source = streamOf(id)->source();
        QTRY_VERIFY_WITH_TIMEOUT(streamOf(id)->findChild<SnapshotErrorCard *>()->isVisible(),
                                 20000);
        pictures << std::make_shared<QSignalSpy>(&source, &PictureSource::imageChanged);
        // The connection lost, then a later try refused: no picture from before clears it.
        QTRY_VERIFY_WITH_TIMEOUT(
            !source.errorText().value_or(QString()).startsWith(u"Stream vom Host beendet"_s),
            20000);
        QVERIFY(source.errorText() && !source.image().isNull());
        QCOMPARE(pictures.last()->count(), 0);
    }
    QVERIFY(printer.switchPower(true));
    for (const CameraId id : {1, 2, 3}) {
        QTRY_VERIFY_WITH_TIMEOUT(pictures[id - 1]->count() > 0, 20000);
        QVERIFY(!streamOf(id)->source().errorText());
    }

    app.printer.setStreamPath(std::nullopt, 2);
    QCOMPARE(streamOf(2)->feed(), PictureFeed::snapshots);
    const QStringList captions = [&] {
        QStringList texts;
        for (const QLabel *label : coordinator->window(2)->findChildren<QLabel *>())
            texts << label->text();
        return texts;
    }();
    QVERIFY(captions.contains(u"1920x1080 • Aktualisierung bis 6 FPS"_s));
    QTRY_VERIFY_WITH_TIMEOUT(!streamOf(2)->source().image().isNull(), 20000);
}

QTEST_MAIN(LiveStreamTest)
#include "tst_live_stream.moc"
