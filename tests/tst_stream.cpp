// SPDX-License-Identifier: GPL-3.0-or-later
// One camera's pictures, fetched with the real curl from a loopback host: what shows, what the
// user reads when it fails, and that no curl and no picture file outlives its loop.
#include "FakeTool.h"
#include "Helpers.h"
#include "LoopbackHttpServer.h"
#include "settings/SnapshotUrls.h"
#include "stream/JpegPicture.h"
#include "stream/KeepAliveSnapshotSource.h"
#include "stream/NewestFirstDecoder.h"
#include "stream/PictureDecoder.h"
#include "stream/SnapshotFetch.h"
#include "stream/SnapshotLoader.h"

#include <QBuffer>
#include <QDir>
#include <QImage>
#include <QImageWriter>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace kestrel;
using namespace Qt::StringLiterals;

namespace {

HttpReply jpegReply(QSize size = {640, 480})
{
    return HttpReply::content("image/jpeg", test::testJpeg(size));
}

// The start of a picture, then nothing more: curl has written part of its file.
const HttpReply stallingMidPicture{.contentType = "image/jpeg",
                                   .body = QByteArray(200, '\xff'),
                                   .declaredLength = 100000,
                                   .stallAfterBody = true};

QUrl urlOf(const LoopbackHttpServer &server, const char *path)
{
    return QUrl(u"http://"_s + server.address() + QString::fromLatin1(path));
}

QString absolute(const QUrl &url)
{
    return url.toString(QUrl::FullyEncoded);
}

// The test picture with its frame header's size replaced, as a broken camera might send it.
QByteArray claimingSize(QByteArray jpeg, QSize size)
{
    const qsizetype frame = jpeg.indexOf("\xff\xc0");
    jpeg[frame + 5] = char(size.height() >> 8);
    jpeg[frame + 6] = char(size.height());
    jpeg[frame + 7] = char(size.width() >> 8);
    jpeg[frame + 8] = char(size.width());
    return jpeg;
}

QByteArray progressiveJpeg(QSize size)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setProgressiveScanWrite(true);
    writer.write(QImage::fromData(test::testJpeg(size)));
    return bytes;
}

} // namespace

class StreamTest : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();
    void failuresBecomeTextsWithTheUrl_data();
    void failuresBecomeTextsWithTheUrl();
    void roundShowsItsFirstPictureOrItsLastFailure();
    void loopRestartsOnlyForNewAddressesAndEndsClean();
    void curlGetsExactlyEightArguments_data();
    void curlGetsExactlyEightArguments();
    void picturesArriveTurnedAndMirrored_data();
    void picturesArriveTurnedAndMirrored();
    void picturesDecodeAtTheScaleTheWindowNeeds_data();
    void picturesDecodeAtTheScaleTheWindowNeeds();
    void wallPicturesShareOneConnectionAndStopWhenUnseen();
    void theNewestPictureWins();

private:
    std::unique_ptr<SnapshotLoader> makeLoader(const QString &curl = u"/usr/bin/curl"_s)
    {
        return std::make_unique<SnapshotLoader>(nullptr, curl, m_temporary.path());
    }
    QStringList leftFiles() const
    {
        return QDir(m_temporary.path()).entryList({u"kestrel-*"_s}, QDir::Files);
    }
    QTemporaryDir m_temporary;
};

// After every test: no curl still running, and no picture file left behind.
void StreamTest::cleanup()
{
    QTRY_VERIFY_WITH_TIMEOUT(test::childProcessNames().isEmpty(), 20000);
    QTRY_COMPARE_WITH_TIMEOUT(leftFiles(), QStringList(), 10000);
}

void StreamTest::failuresBecomeTextsWithTheUrl_data()
{
    QTest::addColumn<HttpReply>("reply");
    QTest::addColumn<QString>("textStart"); // then the URL

    const QString invalid = u"JPEG ungültig: "_s;
    const QByteArray jpeg = test::testJpeg();
    QTest::newRow("404") << HttpReply::status("HTTP/1.1 404 Not Found")
                         << u"curl: (22) The requested URL returned error: 404: "_s;
    QTest::newRow("HTML at 200") << HttpReply::content("text/html", "<html>Fehler</html>")
                                 << invalid;
    QTest::newRow("cut short") << HttpReply{.contentType = "image/jpeg",
                                            .body = jpeg.left(100),
                                            .declaredLength = 5000}
                               << QStringLiteral("curl: (18) transfer closed with 4900 bytes "
                                                 "remaining to read: ");
    // Whole as far as HTTP goes, but the picture stops in the middle.
    QTest::newRow("picture cut short")
        << HttpReply::content("image/jpeg", jpeg.left(jpeg.size() / 2)) << invalid;
    // A broken Huffman table is no picture, however whole the file looks.
    QByteArray brokenTable = jpeg;
    brokenTable[brokenTable.indexOf("\xff\xc4") + 4] = '\x7f';
    QTest::newRow("broken JPEG") << HttpReply::content("image/jpeg", brokenTable) << invalid;
    // A header that claims more pixels than any camera has must not make Kestrel ask for them.
    QTest::newRow("60000 x 60000 claimed")
        << HttpReply::content("image/jpeg", claimingSize(jpeg, {60000, 60000})) << invalid;
    // Over 64 MB is no camera picture: counted as not one, without reading a byte of it.
    QTest::newRow("70 MB body") << HttpReply::content("image/jpeg", QByteArray(70 << 20, '\xff'))
                                << invalid;
    QTest::newRow("closed without a word")
        << HttpReply::with(HttpReply::Action::close) << u"curl: (52) Empty reply from server: "_s;
    // curl's 5 seconds run out with part of the picture written; the file must still go.
    QTest::newRow("stalls mid picture")
        << stallingMidPicture << u"curl: (28) Operation timed out after 5"_s;
}

// The wall's in-process source words each failure as curl does, so a tile and a camera window
// say the same about one camera; and a camera that failed shows its next good picture.
void StreamTest::failuresBecomeTextsWithTheUrl()
{
    QFETCH(HttpReply, reply);
    QFETCH(QString, textStart);
    LoopbackHttpServer server;
    server.setKeepAlive(true);
    server.setReply(reply);
    const QUrl url = urlOf(server, "/webcam2/?action=snapshot");
    std::unique_ptr<PictureSource> sources[] = {makeLoader(),
                                                std::make_unique<KeepAliveSnapshotSource>()};
    for (const auto &source : sources) {
        source->start({url}, 1);
        QTRY_VERIFY_WITH_TIMEOUT(source->errorText(), 20000);
        source->stop();
        const QString text = *source->errorText();
        QVERIFY2(text.startsWith(textStart) && text.endsWith(u": "_s + absolute(url)),
                 qPrintable(text));
        QVERIFY(source->image().isNull());
    }
    // Whatever came before, the camera's next good picture shows.
    server.setReply(jpegReply());
    for (const auto &source : sources) {
        source->start({url}, 1);
        QTRY_VERIFY_WITH_TIMEOUT(!source->image().isNull(), 20000);
        source->stop();
    }
}

// Addresses are tried in order each round: the first picture ends the round and clears the
// failure before it; a round without one shows the last failure.
void StreamTest::roundShowsItsFirstPictureOrItsLastFailure()
{
    LoopbackHttpServer server;
    server.setHandler([](const HttpRequest &request) {
        return request.path == "/good"   ? jpegReply()
               : request.path == "/html" ? HttpReply::content("text/html", "<p>no</p>")
                                         : HttpReply::status("HTTP/1.1 404 Not Found");
    });
    auto loader = makeLoader();
    QStringList failuresSeen;
    connect(loader.get(), &SnapshotLoader::errorTextChanged, this,
            [&] { failuresSeen << loader->errorText().value_or(QString()); });
    QSignalSpy rounds(loader.get(), &SnapshotLoader::roundFinished);
    loader->start({urlOf(server, "/bad"), urlOf(server, "/good")}, 1000);
    QTRY_VERIFY_WITH_TIMEOUT(rounds.count() >= 3, 20000);
    loader->stop(); // the round under way still ends with its picture
    QTRY_COMPARE_WITH_TIMEOUT(loader->errorText(), std::nullopt, 20000);
    QCOMPARE(loader->image().size(), QSize(640, 480));
    for (qsizetype i = 0; i + 1 < server.requests().size(); i += 2)
        QCOMPARE(server.requests()[i].path + server.requests()[i + 1].path, "/bad/good");
    QVERIFY(failuresSeen.count(QStringLiteral("curl: (22) The requested URL returned error: "
                                              "404: ") +
                               absolute(urlOf(server, "/bad"))) >= 3);

    auto failing = makeLoader();
    QSignalSpy failingRounds(failing.get(), &SnapshotLoader::roundFinished);
    failing->start({urlOf(server, "/missing"), urlOf(server, "/html")}, 1);
    QVERIFY(failingRounds.wait(20000));
    failing->stop();
    QCOMPARE(failing->errorText(), u"JPEG ungültig: "_s + absolute(urlOf(server, "/html")));
}

// The same addresses again keep the loop and its curl; another order starts over at once. A round
// under way when the loop stops still shows its picture, and no round follows. A loader that goes
// while curl is stuck mid-picture takes curl and its file with it.
void StreamTest::loopRestartsOnlyForNewAddressesAndEndsClean()
{
    LoopbackHttpServer server;
    server.setReply(HttpReply::with(HttpReply::Action::hold));
    const QList<QUrl> ab{urlOf(server, "/a"), urlOf(server, "/b")};
    auto loader = makeLoader();
    QSignalSpy rounds(loader.get(), &SnapshotLoader::roundFinished);
    loader->start(ab, 1000); // a 1 ms pause: a next round would come at once
    loader->start(ab, 1000);
    QCoreApplication::processEvents(); // both starts have had their chance to fetch
    QTRY_COMPARE_WITH_TIMEOUT(server.heldCount(), 1, 10000);
    QCOMPARE(test::childProcessNames(), QStringList{u"curl"_s});
    loader->start({ab[1], ab[0]}, 1000);
    QTRY_COMPARE_WITH_TIMEOUT(server.heldCount(), 2, 10000);
    QCOMPARE(server.requests()[1].path, QByteArray("/b"));

    loader->stop();
    server.releaseHeld(jpegReply());
    QVERIFY(rounds.wait(20000));
    QVERIFY(!loader->image().isNull());
    QTest::qWait(100); // a hundred pauses' worth
    QCOMPARE(server.requests().size(), 2);

    server.setReply(stallingMidPicture);
    loader->start(ab, 1);
    QTRY_COMPARE_WITH_TIMEOUT(leftFiles().size(), 1, 10000);
    loader.reset();
    QVERIFY(test::childProcessNames().isEmpty());
    QCOMPARE(leftFiles(), QStringList());
}

void StreamTest::curlGetsExactlyEightArguments_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("url"); // empty: none forms
    auto row = [](const char *name, const char *host, const char *path, const char *url) {
        QTest::newRow(name) << QString::fromUtf8(host) << QString::fromUtf8(path)
                            << QString::fromUtf8(url);
    };
    row("plain", "127.0.0.1:8080", "/webcam/?action=snapshot",
        "http://127.0.0.1:8080/webcam/?action=snapshot");
    row("missing slash", "h", "snap.jpg", "http://h/snap.jpg");
    row("empty path", "h", "", "http://h/");
    row("double slash kept", "h", "//a//b", "http://h//a//b");
    row("IPv6", "[::1]:80", "/x", "http://[::1]:80/x");
    row("broken IPv6", "[::1", "/x", "");
    row("option in the address", "127.0.0.1 -o /tmp/x", "", "");
    row("option as the address", "-K/etc/passwd", "", "");
    row("trailing newline", "127.0.0.1\n", "/x", "");
    row("blank in the path", "h", "/a b", "");
    row("shell in the path", "127.0.0.1", "$(id);id", "http://127.0.0.1/$(id);id");
    row("option as the path", "127.0.0.1", "-o/tmp/x", "http://127.0.0.1/-o/tmp/x");
    QTest::newRow("NUL") << u"127.0.0.1"_s << u"/a\0-o/tmp/x"_s << QString();
    row("non-ASCII", "drucker.local", "/bild/äö", "http://drucker.local/bild/%C3%A4%C3%B6");
}

// Whatever a person types as address or path, curl gets the same eight arguments: the text
// ends up inside the one URL, percent-encoded, or no URL forms and curl never runs.
void StreamTest::curlGetsExactlyEightArguments()
{
    QFETCH(QString, host);
    QFETCH(QString, path);
    QFETCH(QString, url);
    QTemporaryDir dir;
    test::FakeTool curl(dir.path(), u"curl"_s, u"exit 22"_s);
    const QList<QUrl> urls = makeSnapshotURLs(host, path);
    QCOMPARE(urls.isEmpty() ? QString() : absolute(urls[0]), url);
    auto loader = makeLoader(curl.path());
    QSignalSpy rounds(loader.get(), &SnapshotLoader::roundFinished);
    loader->start(urls, 1);
    QVERIFY(rounds.wait(20000));
    loader->stop();

    QCOMPARE(curl.calls().size(), urls.isEmpty() ? 0 : 1);
    for (const QStringList &arguments : curl.calls()) {
        QCOMPARE(arguments.mid(0, 6), (QStringList{u"-sS"_s, u"--max-time"_s, u"5"_s, u"--fail"_s,
                                                   u"--http1.1"_s, u"-o"_s}));
        QCOMPARE(QFileInfo(arguments[6]).absolutePath(), m_temporary.path());
        QVERIFY(QRegularExpression(u"^kestrel-[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\\.jpg$"_s)
                    .match(QFileInfo(arguments[6]).fileName())
                    .hasMatch());
        QCOMPARE(arguments.mid(7), QStringList{absolute(urls[0])});
        QCOMPARE(loader->errorText(), u"curl-Fehler 22: "_s + absolute(urls[0]));
    }
    QStringList written = QDir(dir.path()).entryList(QDir::Files);
    written.removeAll(u"curl.calls"_s);
    QCOMPARE(written, QStringList{u"curl"_s}); // nothing run made a file
    QVERIFY(!QFile::exists(u"/tmp/x"_s));
}

void StreamTest::picturesArriveTurnedAndMirrored_data()
{
    QTest::addColumn<int>("rotation");
    QTest::addColumn<bool>("horizontal");
    QTest::addColumn<bool>("vertical");
    QTest::addColumn<QPoint>(
        "corner"); // where the top-left marker lands: 0 left/top, 1 right/bottom
    QTest::newRow("as sent") << 0 << false << false << QPoint(0, 0);
    QTest::newRow("90°") << 90 << false << false << QPoint(1, 0);
    QTest::newRow("180°") << 180 << false << false << QPoint(1, 1);
    QTest::newRow("270°") << 270 << false << false << QPoint(0, 1);
    QTest::newRow("mirrored left to right") << 0 << true << false << QPoint(1, 0);
    QTest::newRow("mirrored top to bottom") << 0 << false << true << QPoint(0, 1);
    QTest::newRow("90°, then left to right") << 90 << true << false << QPoint(0, 0);
    QTest::newRow("270°, mirrored both ways") << 270 << true << true << QPoint(1, 0);
}

// A picture with a red marker in its top-left corner, decoded as a camera of each orientation.
void StreamTest::picturesArriveTurnedAndMirrored()
{
    QFETCH(int, rotation);
    QFETCH(bool, horizontal);
    QFETCH(bool, vertical);
    QFETCH(QPoint, corner);
    QImage sent(160, 90, QImage::Format_RGB32);
    sent.fill(Qt::darkGray);
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 30; ++x)
            sent.setPixelColor(x, y, Qt::red);
    const QString path = m_temporary.filePath(u"kestrel-marker.jpg"_s);
    QVERIFY(sent.save(path, "JPEG", 95));
    const CameraOrientation orientation{rotation, horizontal, vertical};

    const QImage shown = *SnapshotFetch::decodeAndRemove(path, {{}, 1.0, orientation});
    QCOMPARE(shown.size(), orientation.isSideways() ? QSize(90, 160) : QSize(160, 90));
    const QPoint marker(corner.x() ? shown.width() - 10 : 10,
                        corner.y() ? shown.height() - 10 : 10);
    QVERIFY2(shown.pixelColor(marker).red() > 200 && shown.pixelColor(marker).green() < 60,
             qPrintable(shown.pixelColor(marker).name()));

    // Decoded to fit a window, a sideways camera fits its upright shape; on a HiDPI screen the
    // same window decodes twice the pixels, drawn at the same size.
    QVERIFY(sent.scaled(1920, 1080).save(path, "JPEG"));
    const QImage fitted = *SnapshotFetch::decodeAndRemove(path, {{420, 280}, 1.0, orientation});
    QCOMPARE(fitted.size(), orientation.isSideways() ? QSize(157, 280) : QSize(420, 236));
    QVERIFY(sent.scaled(1920, 1080).save(path, "JPEG"));
    const QImage sharp = *SnapshotFetch::decodeAndRemove(path, {{840, 560}, 2.0, orientation});
    QCOMPARE(sharp.size(), orientation.isSideways() ? QSize(315, 560) : QSize(840, 472));
    QCOMPARE(sharp.deviceIndependentSize(), QSizeF(sharp.size()) / 2);
}

// Each picture is decoded at the cheapest DCT scale that still fills the window, straight into
// the pixels a window paints, and scaled once only where that scale misses the window by more
// than a pixel or two. Progressive JPEGs, which some cameras send, alike.
void StreamTest::picturesDecodeAtTheScaleTheWindowNeeds_data()
{
    QTest::addColumn<QSize>("sent");
    QTest::addColumn<bool>("progressive");
    QTest::addColumn<QSize>("window");
    QTest::addColumn<QSize>("decoded"); // by the DCT alone
    QTest::addColumn<QSize>("shown");
    QTest::newRow("a quarter fits exactly")
        << QSize(1280, 960) << false << QSize(320, 240) << QSize(320, 240) << QSize(320, 240);
    QTest::newRow("an eighth, a pixel over: shown as decoded")
        << QSize(1920, 1080) << false << QSize(238, 178) << QSize(240, 135) << QSize(240, 135);
    QTest::newRow("a quarter, then scaled once")
        << QSize(1920, 1080) << false << QSize(400, 300) << QSize(480, 270) << QSize(400, 225);
    QTest::newRow("a window a pixel larger than the eighth takes the quarter")
        << QSize(1280, 960) << false << QSize(161, 121) << QSize(320, 240) << QSize(161, 121);
    QTest::newRow("never enlarged")
        << QSize(640, 480) << false << QSize(1280, 960) << QSize(640, 480) << QSize(640, 480);
    QTest::newRow("full size") << QSize(1280, 960) << false << QSize() << QSize(1280, 960)
                               << QSize(1280, 960);
    QTest::newRow("progressive, a half")
        << QSize(1280, 720) << true << QSize(640, 360) << QSize(640, 360) << QSize(640, 360);
    QTest::newRow("progressive, scaled once")
        << QSize(1920, 1080) << true << QSize(420, 280) << QSize(480, 270) << QSize(420, 236);
}

void StreamTest::picturesDecodeAtTheScaleTheWindowNeeds()
{
    QFETCH(QSize, sent);
    QFETCH(bool, progressive);
    QFETCH(QSize, window);
    QFETCH(QSize, decoded);
    QFETCH(QSize, shown);
    const QByteArray bytes = progressive ? progressiveJpeg(sent) : test::testJpeg(sent);
    QCOMPARE(bytes.contains("\xff\xc2"), progressive); // the progressive frame header
    QCOMPARE(JpegPicture(bytes).size(), sent);
    const QSize wanted = window.isValid() ? sent.scaled(window, Qt::KeepAspectRatio) : QSize();
    QCOMPARE(JpegPicture::decodedSize(sent, wanted), decoded);

    const QImage picture = *decodePicture(bytes, {window, 1.0, {}});
    QCOMPARE(picture.size(), shown);
    QCOMPARE(picture.format(), QImage::Format_RGB32);
    // The test picture: red on the left, blue on the right, a white band across the middle.
    const QColor left = picture.pixelColor(2, shown.height() / 4);
    const QColor right = picture.pixelColor(shown.width() - 3, shown.height() / 4);
    QVERIFY2(left.red() > 150 && left.blue() < 80, qPrintable(left.name()));
    QVERIFY2(right.blue() > 150 && right.red() < 80, qPrintable(right.name()));
    QVERIFY(qGray(picture.pixel(shown.width() / 2, shown.height() / 2)) > 200);
}

// One connection serves every picture, each decoded at the tile's size; a source that is paused
// (its tile out of sight) asks for nothing until it resumes with what it showed.
void StreamTest::wallPicturesShareOneConnectionAndStopWhenUnseen()
{
    LoopbackHttpServer server;
    server.setKeepAlive(true);
    server.setReply(jpegReply({1280, 960}));
    KeepAliveSnapshotSource source;
    source.setDecodeSize({320, 240}, 1.0);
    QSignalSpy pictures(&source, &PictureSource::imageChanged);
    source.start({urlOf(server, "/snap")}, 50);
    QTRY_VERIFY_WITH_TIMEOUT(pictures.count() >= 6, 20000);
    QCOMPARE(source.image().size(), QSize(320, 240));
    QCOMPARE(server.connectionCount(), 1);

    source.pause();
    const qsizetype asked = server.requests().size();
    QTest::qWait(200); // ten pictures' worth
    QCOMPARE(server.requests().size(), asked);
    QVERIFY(!source.image().isNull());
    source.resume({urlOf(server, "/snap")}, 50);
    QTRY_VERIFY_WITH_TIMEOUT(server.requests().size() > asked, 20000);

    // A host slower than the rate gets one request at a time, never a queue.
    server.setReply(HttpReply::with(HttpReply::Action::hold));
    QTRY_COMPARE_WITH_TIMEOUT(server.heldCount(), 1, 20000);
    QTest::qWait(200);
    QCOMPARE(server.heldCount(), 1);
    source.stop();
}

// Pictures that come while one is decoded wait, and only the newest of them is decoded next.
void StreamTest::theNewestPictureWins()
{
    QList<QSize> decoded;
    NewestFirstDecoder decoder([&](std::optional<QImage> image) { decoded << image->size(); },
                               nullptr);
    for (const QSize size : {QSize(640, 480), QSize(320, 240), QSize(160, 120)})
        decoder.decode(test::testJpeg(size), {});
    QTRY_COMPARE_WITH_TIMEOUT(decoded, (QList<QSize>{{640, 480}, {160, 120}}), 20000);

    decoder.decode(test::testJpeg({640, 480}), {});
    decoder.forget(); // stopped: what was on its way is never shown
    QTest::qWait(100);
    QCOMPARE(decoded.size(), 2);
}

QTEST_MAIN(StreamTest)
#include "tst_stream.moc"
