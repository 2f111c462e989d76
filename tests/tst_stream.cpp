// SPDX-License-Identifier: GPL-3.0-or-later
#include "ChildProcesses.h"
#include "FakeTool.h"
#include "LoopbackHttpServer.h"
#include "Screenshots.h"
#include "TestPictures.h"
#include "monitor/PiStatusMonitor.h"
#include "platform/MemoryKeyValueStore.h"
#include "settings/AppSettings.h"
#include "settings/SnapshotUrls.h"
#include "stream/SnapshotErrorCard.h"
#include "stream/SnapshotLoader.h"
#include "stream/SnapshotStreamView.h"

#include <QDir>
#include <QImage>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace kestrel;
using test::writePng;
using namespace std::chrono_literals;

namespace {

HttpReply jpegReply(QSize size = {640, 480})
{
    return HttpReply::content("image/jpeg", test::testJpeg(size));
}

// Sends the start of a picture, then nothing more: curl has written part of its file.
HttpReply stallingMidPicture()
{
    return {.contentType = "image/jpeg",
            .body = test::testJpeg({64, 48}).left(200),
            .declaredLength = 100000,
            .stallAfterBody = true};
}

QUrl urlOf(const LoopbackHttpServer &server, const char *path)
{
    return QUrl(QStringLiteral("http://") + server.address() + QString::fromLatin1(path));
}

QString absolute(const QUrl &url)
{
    return url.toString(QUrl::FullyEncoded);
}

} // namespace

class StreamTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void pictureIsPublishedAndClearsTheError();
    void failuresBecomeTextsWithTheUrl_data();
    void failuresBecomeTextsWithTheUrl();
    void stalledTransferTimesOut();
    void roundShowsItsFirstPictureOrItsLastFailure();
    void equalListKeepsTheLoopOtherOrderRestarts();
    void stoppedLoopFinishesItsRoundOnly();
    void destroyedLoaderKillsCurlAndRemovesItsFile();
    void curlGetsExactlyEightArguments_data();
    void curlGetsExactlyEightArguments();
    void picturesAreDecodedToTheShownSize();
    void viewShowsSpinnerPictureAndCard();
    void viewFetchesOnlyWhileShownAndRateAloneKeepsTheLoop();

private:
    std::unique_ptr<SnapshotLoader>
    makeLoader(const QString &curl = QStringLiteral("/usr/bin/curl"))
    {
        return std::make_unique<SnapshotLoader>(nullptr, curl, m_temporary->path());
    }
    QStringList leftFiles() const
    {
        return QDir(m_temporary->path()).entryList({QStringLiteral("kestrel-*")}, QDir::Files);
    }
    const QString m_systemTemporary = QDir::tempPath();
    std::unique_ptr<QTemporaryDir> m_temporary;
};

void StreamTest::init()
{
    m_temporary =
        std::make_unique<QTemporaryDir>(m_systemTemporary + QStringLiteral("/tst_stream-XXXXXX"));
    // The view's loaders use the system temporary folder; point it here too.
    qputenv("TMPDIR", m_temporary->path().toLocal8Bit());
}

// After every test: no curl still running, and no picture file left behind.
void StreamTest::cleanup()
{
    QTRY_VERIFY_WITH_TIMEOUT(test::childProcessNames().isEmpty(), 20000);
    QTRY_COMPARE_WITH_TIMEOUT(leftFiles(), QStringList(), 10000);
}

void StreamTest::pictureIsPublishedAndClearsTheError()
{
    LoopbackHttpServer server;
    int served = 0;
    server.setHandler([&](const HttpRequest &) {
        return served++ == 0 ? HttpReply::status("HTTP/1.1 503 Service Unavailable") : jpegReply();
    });
    auto loader = makeLoader();
    QSignalSpy pictures(loader.get(), &SnapshotLoader::imageChanged);
    loader->start({urlOf(server, "/webcam/?action=snapshot")}, 1000);
    QTRY_VERIFY_WITH_TIMEOUT(loader->errorText().has_value(), 20000);
    QVERIFY(pictures.wait(20000));
    QCOMPARE(loader->errorText(), std::nullopt);
    QCOMPARE(loader->image().size(), QSize(640, 480));
    loader->stop();
}

void StreamTest::failuresBecomeTextsWithTheUrl_data()
{
    QTest::addColumn<HttpReply>("reply");
    QTest::addColumn<QString>("textStart"); // then ": " or " " and the URL

    const QString invalid = QStringLiteral("JPEG ungültig: ");
    const QByteArray jpeg = test::testJpeg();
    QTest::newRow("404") << HttpReply::status("HTTP/1.1 404 Not Found")
                         << QStringLiteral("curl: (22) The requested URL returned error: 404: ");
    QTest::newRow("HTML at 200") << HttpReply::content("text/html", "<html>Fehler</html>")
                                 << invalid;
    QTest::newRow("empty body") << HttpReply::content("image/jpeg", {}) << invalid;
    QTest::newRow("cut short") << HttpReply{.contentType = "image/jpeg",
                                            .body = jpeg.left(100),
                                            .declaredLength = 5000}
                               << QStringLiteral("curl: (18) transfer closed with 4900 bytes "
                                                 "remaining to read: ");
    // Whole as far as HTTP goes, but the picture stops in the middle.
    QTest::newRow("picture cut short")
        << HttpReply::content("image/jpeg", jpeg.left(jpeg.size() / 2)) << invalid;
    // Over 64 MB is no camera picture: counted as not one, without reading a byte of it.
    QTest::newRow("70 MB body") << HttpReply::content("image/jpeg", QByteArray(70 << 20, '\xff'))
                                << invalid;
    QTest::newRow("closed without a word")
        << HttpReply::with(HttpReply::Action::close)
        << QStringLiteral("curl: (52) Empty reply from server: ");
}

void StreamTest::failuresBecomeTextsWithTheUrl()
{
    QFETCH(HttpReply, reply);
    QFETCH(QString, textStart);
    LoopbackHttpServer server;
    server.setReply(reply);
    const QUrl url = urlOf(server, "/webcam2/?action=snapshot");
    auto loader = makeLoader();
    QSignalSpy rounds(loader.get(), &SnapshotLoader::roundFinished);
    loader->start({url}, 1);
    QVERIFY(rounds.wait(20000));
    loader->stop();
    QCOMPARE(loader->errorText(), textStart + absolute(url));
    QVERIFY(loader->image().isNull());
}

// curl has written part of the picture when its 5 seconds run out; the file must still go.
void StreamTest::stalledTransferTimesOut()
{
    LoopbackHttpServer stalling;
    stalling.setReply(stallingMidPicture());
    auto loader = makeLoader();
    QSignalSpy done(loader.get(), &SnapshotLoader::roundFinished);
    loader->start({urlOf(stalling, "/b")}, 1);
    QTRY_COMPARE_WITH_TIMEOUT(leftFiles().size(), 1, 10000);
    QVERIFY(done.wait(30000));
    loader->stop();
    QVERIFY2(loader->errorText()->startsWith(u"curl: (28) Operation timed out after 5"),
             qPrintable(*loader->errorText()));
    QVERIFY(loader->errorText()->endsWith(QStringLiteral(": ") + absolute(urlOf(stalling, "/b"))));
}

// Addresses are tried in order each round: the first picture ends the round and clears any
// text; a round without one shows the last failure.
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
    loader->stop();
    QTRY_VERIFY_WITH_TIMEOUT(test::childProcessNames().isEmpty(), 20000);
    QVERIFY(!loader->image().isNull());
    QCOMPARE(loader->errorText(), std::nullopt);
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
    QCOMPARE(failing->errorText(),
             QStringLiteral("JPEG ungültig: ") + absolute(urlOf(server, "/html")));
}

void StreamTest::equalListKeepsTheLoopOtherOrderRestarts()
{
    LoopbackHttpServer server;
    server.setReply(HttpReply::with(HttpReply::Action::hold));
    const QList<QUrl> ab{urlOf(server, "/a"), urlOf(server, "/b")};
    auto loader = makeLoader();
    loader->start(ab, 1);
    loader->start(ab, 1);
    QCoreApplication::processEvents(); // both starts have had their chance to fetch
    QTRY_COMPARE_WITH_TIMEOUT(server.heldCount(), 1, 10000);
    QCOMPARE(test::childProcessNames(), QStringList{QStringLiteral("curl")});

    loader->start({ab[1], ab[0]}, 1);
    QTRY_COMPARE_WITH_TIMEOUT(server.heldCount(), 2, 10000);
    QCOMPARE(server.requests()[1].path, QByteArray("/b")); // the new loop begins at once
    loader->stop();
    server.releaseHeld(HttpReply::status("HTTP/1.1 404 Not Found"));
}

// A round under way when the loop stops still shows its picture, and no next round follows.
void StreamTest::stoppedLoopFinishesItsRoundOnly()
{
    LoopbackHttpServer server;
    server.setReply(HttpReply::with(HttpReply::Action::hold));
    auto loader = makeLoader();
    QSignalSpy rounds(loader.get(), &SnapshotLoader::roundFinished);
    loader->start({urlOf(server, "/a")}, 1000); // a 1 ms pause: a next round would come at once
    QTRY_COMPARE_WITH_TIMEOUT(server.heldCount(), 1, 10000);
    loader->stop();
    server.releaseHeld(jpegReply());
    QVERIFY(rounds.wait(20000));
    QVERIFY(!loader->image().isNull());
    QTest::qWait(100); // a hundred pauses' worth
    QCOMPARE(server.requests().size(), 1);
}

void StreamTest::destroyedLoaderKillsCurlAndRemovesItsFile()
{
    LoopbackHttpServer server;
    server.setReply(stallingMidPicture());
    auto loader = makeLoader();
    loader->start({urlOf(server, "/a")}, 1);
    QTRY_COMPARE_WITH_TIMEOUT(leftFiles().size(), 1, 10000);
    loader.reset();
    QVERIFY(test::childProcessNames().isEmpty());
    QCOMPARE(leftFiles(), QStringList());
}

void StreamTest::curlGetsExactlyEightArguments_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("path");
    QTest::newRow("plain") << QStringLiteral("127.0.0.1:8080")
                           << QStringLiteral("/webcam/?action=snapshot");
    QTest::newRow("option in the address") << QStringLiteral("127.0.0.1 -o /tmp/x") << QString();
    QTest::newRow("option as the address") << QStringLiteral("-K/etc/passwd") << QString();
    QTest::newRow("shell in the path")
        << QStringLiteral("127.0.0.1") << QStringLiteral("$(touch x)");
    QTest::newRow("separator in the path") << QStringLiteral("127.0.0.1") << QStringLiteral(";id");
    QTest::newRow("option as the path")
        << QStringLiteral("127.0.0.1") << QStringLiteral("-o/tmp/x");
    QTest::newRow("newline") << QStringLiteral("127.0.0.1\n--output=/tmp/x")
                             << QStringLiteral("/a");
    QTest::newRow("NUL") << QStringLiteral("127.0.0.1") << QStringLiteral("/a\0-o/tmp/x");
    QTest::newRow("very long") << QStringLiteral("127.0.0.1") << QString(100000, u'a');
    QTest::newRow("non-ASCII") << QStringLiteral("drucker.local") << QStringLiteral("/bild/ä ö");
    QTest::newRow("user-info and port")
        << QStringLiteral("a:b@127.0.0.1:80") << QStringLiteral("x");
}

// Whatever a person types as address or path, curl gets the same eight arguments: the text
// ends up inside the one URL, percent-encoded, or no URL forms and curl never runs.
void StreamTest::curlGetsExactlyEightArguments()
{
    QFETCH(QString, host);
    QFETCH(QString, path);
    QTemporaryDir dir;
    test::FakeTool curl(dir.path(), QStringLiteral("curl"), QStringLiteral("exit 22"));
    const QList<QUrl> urls = makeSnapshotURLs(host, path);
    auto loader = makeLoader(curl.path());
    QSignalSpy rounds(loader.get(), &SnapshotLoader::roundFinished);
    loader->start(urls, 1);
    QVERIFY(rounds.wait(20000));
    loader->stop();

    QCOMPARE(curl.calls().size(), urls.isEmpty() ? 0 : 1);
    for (const QStringList &arguments : curl.calls()) {
        QCOMPARE(arguments.mid(0, 6),
                 (QStringList{QStringLiteral("-sS"), QStringLiteral("--max-time"),
                              QStringLiteral("5"), QStringLiteral("--fail"),
                              QStringLiteral("--http1.1"), QStringLiteral("-o")}));
        QCOMPARE(QFileInfo(arguments[6]).absolutePath(), m_temporary->path());
        QVERIFY(QRegularExpression(
                    QStringLiteral("^kestrel-[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\\.jpg$"))
                    .match(QFileInfo(arguments[6]).fileName())
                    .hasMatch());
        QCOMPARE(arguments.mid(7), QStringList{absolute(urls[0])});
        QCOMPARE(loader->errorText(), QStringLiteral("curl-Fehler 22: ") + absolute(urls[0]));
    }
    QStringList written = QDir(dir.path()).entryList(QDir::Files);
    written.removeAll(QStringLiteral("curl.calls"));
    QCOMPARE(written, QStringList{QStringLiteral("curl")}); // nothing run made a file
    QVERIFY(!QFile::exists(QStringLiteral("/tmp/x")));
}

void StreamTest::picturesAreDecodedToTheShownSize()
{
    LoopbackHttpServer server;
    server.setReply(jpegReply({1920, 1080}));
    auto loader = makeLoader();
    QSignalSpy pictures(loader.get(), &SnapshotLoader::imageChanged);
    loader->setDecodeSize({420, 280}, 1.0);
    loader->start({urlOf(server, "/a")}, 1);
    QVERIFY(pictures.wait(20000));
    QCOMPARE(loader->image().size(), QSize(420, 236)); // fitted, aspect kept
    // On a HiDPI screen the same window decodes twice the pixels, drawn at the same size.
    loader->setDecodeSize({840, 560}, 2.0);
    QVERIFY(pictures.wait(20000));
    QCOMPARE(loader->image().size(), QSize(840, 472));
    QCOMPARE(loader->image().deviceIndependentSize(), QSizeF(420, 236));
    // Never larger than the source.
    loader->setDecodeSize({4000, 4000}, 1.0);
    QVERIFY(pictures.wait(20000));
    QCOMPARE(loader->image().size(), QSize(1920, 1080));
    loader->stop();
}

void StreamTest::viewShowsSpinnerPictureAndCard()
{
    LoopbackHttpServer printer;
    printer.setHandler([](const HttpRequest &request) {
        if (request.path == "/")
            return HttpReply{};
        if (request.path == "/held")
            return HttpReply::with(HttpReply::Action::hold);
        if (request.path == "/missing")
            return HttpReply::status("HTTP/1.1 404 Not Found");
        return jpegReply({1280, 960});
    });
    MemoryKeyValueStore store({{QStringLiteral("printerIP"), printer.address()}});
    AppSettings settings(store);
    PiStatusMonitor monitor(settings, nullptr, 60s);
    QTRY_COMPARE_WITH_TIMEOUT(monitor.reachability(), PiReachability::reachable(), 20000);

    SnapshotStreamView view(monitor);
    view.resize(420, 280);
    view.setTargetFPS(30);
    view.setSnapshotURLs({urlOf(printer, "/held")});
    view.show();
    QTRY_COMPARE_WITH_TIMEOUT(printer.heldCount(), 1, 10000);
    const auto *card = view.findChild<SnapshotErrorCard *>();
    QVERIFY(card && card->isHidden());
    writePng(view, QStringLiteral("stream-spinner"));
    QImage frame = view.grab().toImage();
    QCOMPARE(frame.pixelColor(10, 10), QColor(Qt::black));
    QVERIFY(frame.pixelColor(210, 140 - 12).lightness() > 100); // a spoke of the spinner

    QSignalSpy pictures(&view.loader(), &SnapshotLoader::imageChanged);
    view.setSnapshotURLs({urlOf(printer, "/webcam/?action=snapshot")});
    QVERIFY(pictures.wait(20000));
    writePng(view, QStringLiteral("stream-picture"));
    frame = view.grab().toImage();
    // A 4:3 picture in a 3:2 area: black bars left and right, the picture in the middle.
    QCOMPARE(frame.pixelColor(5, 140), QColor(Qt::black));
    QVERIFY(frame.pixelColor(210, 140).lightness() > 200); // the white bar
    QVERIFY(frame.pixelColor(60, 60).red() > 120);         // the red end of the gradient

    view.setSnapshotURLs({urlOf(printer, "/missing")});
    QTRY_VERIFY_WITH_TIMEOUT(card->isVisible(), 20000);
    QCOMPARE(card->title(), QStringLiteral("Kamera nicht erreichbar"));
    QCOMPARE(card->detail(), *view.loader().errorText());
    QVERIFY(card->detail().startsWith(u"curl: (22)"));
    writePng(view, QStringLiteral("stream-error-over-picture"));
    // The last good picture stays under the card.
    QVERIFY(view.grab().toImage().pixelColor(60, 60).red() > 120);
    view.hide();
    printer.releaseHeld(HttpReply::status("HTTP/1.1 404 Not Found"));
}

void StreamTest::viewFetchesOnlyWhileShownAndRateAloneKeepsTheLoop()
{
    LoopbackHttpServer camera;
    camera.setReply(HttpReply::status("HTTP/1.1 404 Not Found"));
    MemoryKeyValueStore store({{QStringLiteral("printerIP"), camera.address()}});
    AppSettings settings(store);
    PiStatusMonitor monitor(settings, nullptr, 60s);

    SnapshotStreamView view(monitor);
    view.setSnapshotURLs({urlOf(camera, "/a")});
    QVERIFY(!view.loader().isRunning()); // not shown yet
    view.show();
    QVERIFY(view.loader().isRunning());
    QTRY_VERIFY_WITH_TIMEOUT(view.loader().errorText().has_value(), 20000);

    // A restart would clear the text; neither the rate nor the same list restarts.
    view.setTargetFPS(2);
    view.setSnapshotURLs({urlOf(camera, "/a")});
    QVERIFY(view.loader().errorText().has_value());

    // Minimised and shown again: the error stays in view until the next round has news.
    view.hide();
    QVERIFY(!view.loader().isRunning());
    view.show();
    QVERIFY(view.loader().isRunning());
    QCOMPARE(view.loader().currentURLs(), QList<QUrl>{urlOf(camera, "/a")});
    QVERIFY(view.findChild<SnapshotErrorCard *>()->isVisible());
    view.hide();
}

QTEST_MAIN(StreamTest)
#include "tst_stream.moc"
