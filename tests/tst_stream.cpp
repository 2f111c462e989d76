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
#include <QElapsedTimer>
#include <QImage>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace kestrel;
using test::writePng;
using namespace std::chrono_literals;
using test::HttpReply;
using test::LoopbackHttpServer;

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
    void initTestCase();
    void init();
    void cleanup();

    void pictureIsPublishedAndClearsTheError();
    void failuresBecomeTextsWithTheUrl_data();
    void failuresBecomeTextsWithTheUrl();
    void deadHostsTimeOutAndLeaveNoPartialFile();
    void firstPictureOfTheRoundWins();
    void lastFailureOfTheRoundWins();
    void equalListKeepsTheLoopOtherOrderRestarts();
    void stoppedLoopFinishesItsRoundOnly();
    void destroyedLoaderKillsCurlAndRemovesItsFile();
    void argumentsAreExactlyTheTransfer();
    void hostileAddressesStayOneArgument_data();
    void hostileAddressesStayOneArgument();
    void picturesAreDecodedToTheShownSize();
    void pauseFollowsTheRate();

    void viewShowsSpinnerPictureAndCard();
    void viewNamesTheHostWhileItIsUnreachable();
    void viewFetchesOnlyWhileShownAndRateAloneKeepsTheLoop();

private:
    std::unique_ptr<SnapshotLoader>
    makeLoader(const QString &curl = QStringLiteral("/usr/bin/curl"));
    QString m_systemTemporary;
    std::unique_ptr<QTemporaryDir> m_temporary;
};

void StreamTest::initTestCase()
{
    m_systemTemporary = QDir::tempPath();
}

void StreamTest::init()
{
    m_temporary.reset();
    m_temporary =
        std::make_unique<QTemporaryDir>(m_systemTemporary + QStringLiteral("/tst_stream-XXXXXX"));
    // The view's loaders use the system temporary folder; point it here too.
    qputenv("TMPDIR", m_temporary->path().toLocal8Bit());
}

// After every test: no curl still running, and no picture file left behind.
void StreamTest::cleanup()
{
    QTRY_VERIFY_WITH_TIMEOUT(test::childProcessNames().isEmpty(), 20000);
    QCoreApplication::processEvents();
    QTRY_COMPARE_WITH_TIMEOUT(
        QDir(m_temporary->path()).entryList({QStringLiteral("kestrel-*")}, QDir::Files),
        QStringList(), 10000);
}

std::unique_ptr<SnapshotLoader> StreamTest::makeLoader(const QString &curl)
{
    return std::make_unique<SnapshotLoader>(nullptr, curl, m_temporary->path());
}

void StreamTest::pictureIsPublishedAndClearsTheError()
{
    LoopbackHttpServer server;
    int served = 0;
    server.setHandler([&](const test::HttpRequest &) {
        return served++ == 0 ? HttpReply::status("HTTP/1.1 503 Service Unavailable") : jpegReply();
    });
    auto loader = makeLoader();
    QSignalSpy pictures(loader.get(), &SnapshotLoader::imageChanged);
    loader->start({urlOf(server, "/webcam/?action=snapshot")}, 1000);

    QTRY_VERIFY_WITH_TIMEOUT(loader->errorText().has_value(), 20000);
    QVERIFY(pictures.wait(20000));
    QCOMPARE(loader->errorText(), std::nullopt);
    QCOMPARE(loader->image().size(), QSize(640, 480));
    QCOMPARE(server.requests().value(1).path, QByteArray("/webcam/?action=snapshot"));
    loader->stop();
}

void StreamTest::failuresBecomeTextsWithTheUrl_data()
{
    QTest::addColumn<HttpReply>("reply");
    QTest::addColumn<QString>("textStart"); // then ": " or " " and the URL

    QTest::newRow("404") << HttpReply::status("HTTP/1.1 404 Not Found")
                         << QStringLiteral("curl: (22) The requested URL returned error: 404: ");
    QTest::newRow("HTML at 200") << HttpReply::content("text/html", "<html>Fehler</html>")
                                 << QStringLiteral("JPEG ungültig: ");
    QTest::newRow("empty body") << HttpReply::content("image/jpeg", {})
                                << QStringLiteral("JPEG ungültig: ");
    QTest::newRow("cut short") << HttpReply{.contentType = "image/jpeg",
                                            .body = test::testJpeg({64, 48}).left(100),
                                            .declaredLength = 5000}
                               << QStringLiteral("curl: (18) transfer closed with 4900 bytes "
                                                 "remaining to read: ");
    // Whole as far as HTTP goes, but the picture stops in the middle.
    const QByteArray jpeg = test::testJpeg();
    QTest::newRow("picture cut short")
        << HttpReply::content("image/jpeg", jpeg.left(jpeg.size() / 2))
        << QStringLiteral("JPEG ungültig: ");
    // Over 64 MB is no camera picture: counted as not one, without reading a byte of it.
    QTest::newRow("70 MB body") << HttpReply::content("image/jpeg", QByteArray(70 << 20, '\xff'))
                                << QStringLiteral("JPEG ungültig: ");
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

void StreamTest::deadHostsTimeOutAndLeaveNoPartialFile()
{
    // Both at once, to wait out curl's 5 seconds only once.
    LoopbackHttpServer silent;
    silent.setReply(HttpReply::with(HttpReply::Action::silent));
    LoopbackHttpServer stalling;
    stalling.setReply(stallingMidPicture());
    auto first = makeLoader();
    auto second = makeLoader();
    QSignalSpy firstDone(first.get(), &SnapshotLoader::roundFinished);
    QSignalSpy secondDone(second.get(), &SnapshotLoader::roundFinished);
    QElapsedTimer clock;
    clock.start();
    first->start({urlOf(silent, "/a")}, 1);
    second->start({urlOf(stalling, "/b")}, 1);

    // curl has written part of the picture by now; the file must still go.
    QTRY_COMPARE_WITH_TIMEOUT(
        QDir(m_temporary->path()).entryList({QStringLiteral("kestrel-*.jpg")}, QDir::Files).size(),
        1, 10000);
    QTRY_VERIFY_WITH_TIMEOUT(firstDone.count() == 1 && secondDone.count() == 1, 30000);
    QVERIFY(clock.elapsed() >= 4900);
    first->stop();
    second->stop();
    QVERIFY2(first->errorText()->startsWith(u"curl: (28) Operation timed out after 5"),
             qPrintable(*first->errorText()));
    QVERIFY(first->errorText()->endsWith(QStringLiteral(": ") + absolute(urlOf(silent, "/a"))));
    QVERIFY2(second->errorText()->startsWith(u"curl: (28) Operation timed out after 5"),
             qPrintable(*second->errorText()));
}

void StreamTest::firstPictureOfTheRoundWins()
{
    LoopbackHttpServer server;
    server.setHandler([](const test::HttpRequest &request) {
        return request.path == "/bad" ? HttpReply::status("HTTP/1.1 404 Not Found") : jpegReply();
    });
    auto loader = makeLoader();
    int rounds = 0;
    QStringList failuresSeen;
    connect(loader.get(), &SnapshotLoader::errorTextChanged, this,
            [&] { failuresSeen << loader->errorText().value_or(QString()); });
    connect(loader.get(), &SnapshotLoader::roundFinished, this, [&] {
        ++rounds;
        // Every round ends with the picture and without a text.
        QVERIFY(!loader->image().isNull());
        QCOMPARE(loader->errorText().value_or(QStringLiteral("(none)")), QStringLiteral("(none)"));
    });
    loader->start({urlOf(server, "/bad"), urlOf(server, "/good")}, 1000);
    QTRY_VERIFY_WITH_TIMEOUT(rounds >= 3, 20000);
    loader->stop();
    QTRY_VERIFY_WITH_TIMEOUT(test::childProcessNames().isEmpty(), 20000);

    // ... and the failing URL is tried first again each round, its text shown in between.
    QList<QByteArray> paths;
    for (const test::HttpRequest &request : server.requests())
        paths << request.path;
    for (qsizetype i = 0; i + 1 < paths.size(); i += 2)
        QCOMPARE(paths.mid(i, 2), (QList<QByteArray>{"/bad", "/good"}));
    QVERIFY(
        failuresSeen.count(QStringLiteral("curl: (22) The requested URL returned error: 404: ") +
                           absolute(urlOf(server, "/bad"))) >= 3);
}

void StreamTest::lastFailureOfTheRoundWins()
{
    LoopbackHttpServer server;
    server.setHandler([](const test::HttpRequest &request) {
        return request.path == "/missing" ? HttpReply::status("HTTP/1.1 404 Not Found")
                                          : HttpReply::content("text/html", "<p>no</p>");
    });
    auto loader = makeLoader();
    QSignalSpy rounds(loader.get(), &SnapshotLoader::roundFinished);
    loader->start({urlOf(server, "/missing"), urlOf(server, "/html")}, 1);
    QVERIFY(rounds.wait(20000));
    loader->stop();
    QCOMPARE(loader->errorText(),
             QStringLiteral("JPEG ungültig: ") + absolute(urlOf(server, "/html")));

    // A round with nothing to show and no text of its own names the first URL.
    QTemporaryDir dir;
    test::FakeTool quietCurl(dir.path(), QStringLiteral("curl"), QStringLiteral("exit 0"));
    auto quiet = makeLoader(quietCurl.path());
    QSignalSpy quietRounds(quiet.get(), &SnapshotLoader::roundFinished);
    quiet->start({urlOf(server, "/x")}, 1);
    QVERIFY(quietRounds.wait(20000));
    quiet->stop();
    QCOMPARE(quiet->errorText(), QStringLiteral("JPEG ungültig: ") + absolute(urlOf(server, "/x")));
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
    QCOMPARE(loader->currentURLs(), (QList<QUrl>{ab[1], ab[0]}));
    QTRY_COMPARE_WITH_TIMEOUT(server.heldCount(), 2, 10000);
    QCOMPARE(server.requests()[1].path, QByteArray("/b")); // the new loop begins at once
    loader->stop();
    server.releaseHeld(HttpReply::status("HTTP/1.1 404 Not Found"));
}

void StreamTest::stoppedLoopFinishesItsRoundOnly()
{
    LoopbackHttpServer server;
    server.setReply(HttpReply::with(HttpReply::Action::hold));
    auto loader = makeLoader();
    QSignalSpy rounds(loader.get(), &SnapshotLoader::roundFinished);
    loader->start({urlOf(server, "/a")}, 1000); // a 1 ms pause: a next round would come at once
    QTRY_COMPARE_WITH_TIMEOUT(server.heldCount(), 1, 10000);

    loader->stop();
    QVERIFY(!loader->isRunning());
    QCOMPARE(loader->currentURLs(), QList<QUrl>());
    server.releaseHeld(jpegReply());
    QVERIFY(rounds.wait(20000));
    QVERIFY(!loader->image().isNull()); // published although stopped

    QTest::qWait(100); // a hundred pauses' worth
    QCOMPARE(server.requests().size(), 1);
    QVERIFY(test::childProcessNames().isEmpty());
}

void StreamTest::destroyedLoaderKillsCurlAndRemovesItsFile()
{
    LoopbackHttpServer server;
    server.setReply(stallingMidPicture());
    auto loader = makeLoader();
    loader->start({urlOf(server, "/a")}, 1);
    QTRY_COMPARE_WITH_TIMEOUT(
        QDir(m_temporary->path()).entryList({QStringLiteral("kestrel-*.jpg")}, QDir::Files).size(),
        1, 10000);
    loader.reset();
    QVERIFY(test::childProcessNames().isEmpty());
    QCOMPARE(QDir(m_temporary->path()).entryList({QStringLiteral("kestrel-*")}, QDir::Files),
             QStringList());
}

void StreamTest::argumentsAreExactlyTheTransfer()
{
    QTemporaryDir dir;
    test::FakeTool curl(dir.path(), QStringLiteral("curl"), QStringLiteral("exit 22"));
    auto loader = makeLoader(curl.path());
    QSignalSpy rounds(loader.get(), &SnapshotLoader::roundFinished);
    const QUrl url(QStringLiteral("http://127.0.0.1:8080/webcam/?action=snapshot"));
    loader->start({url}, 1);
    QVERIFY(rounds.wait(20000));
    loader->stop();

    QCOMPARE(curl.calls().size(), 1);
    const QStringList arguments = curl.calls()[0];
    QCOMPARE(arguments.size(), 8);
    QCOMPARE(arguments.mid(0, 6), (QStringList{QStringLiteral("-sS"), QStringLiteral("--max-time"),
                                               QStringLiteral("5"), QStringLiteral("--fail"),
                                               QStringLiteral("--http1.1"), QStringLiteral("-o")}));
    QCOMPARE(QFileInfo(arguments[6]).absolutePath(), m_temporary->path());
    QVERIFY2(QRegularExpression(
                 QStringLiteral("^kestrel-[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\\.jpg$"))
                 .match(QFileInfo(arguments[6]).fileName())
                 .hasMatch(),
             qPrintable(arguments[6]));
    QCOMPARE(arguments[7], absolute(url));
    QCOMPARE(loader->errorText(), QStringLiteral("curl-Fehler 22: ") + absolute(url));
}

void StreamTest::hostileAddressesStayOneArgument_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("path");
    const QString longText(100000, u'a');
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
    QTest::newRow("very long") << QStringLiteral("127.0.0.1") << longText;
    QTest::newRow("non-ASCII") << QStringLiteral("drucker.local") << QStringLiteral("/bild/ä ö");
    QTest::newRow("user-info and port")
        << QStringLiteral("a:b@127.0.0.1:80") << QStringLiteral("x");
}

// Whatever a person types as address or path, curl gets the same eight arguments: the text
// ends up inside the one URL, percent-encoded, or no URL forms and curl never runs.
void StreamTest::hostileAddressesStayOneArgument()
{
    QFETCH(QString, host);
    QFETCH(QString, path);
    QTemporaryDir dir;
    test::FakeTool curl(dir.path(), QStringLiteral("curl"), QStringLiteral("exit 7"));
    const QList<QUrl> urls = makeSnapshotURLs(host, path);
    auto loader = makeLoader(curl.path());
    QSignalSpy rounds(loader.get(), &SnapshotLoader::roundFinished);
    loader->start(urls, 1);
    QVERIFY(rounds.wait(20000));
    loader->stop();

    const QList<QStringList> calls = curl.calls();
    QCOMPARE(calls.size(), urls.isEmpty() ? 0 : 1);
    for (const QStringList &arguments : calls) {
        QCOMPARE(arguments.size(), 8);
        QCOMPARE(arguments[5], QStringLiteral("-o"));
        QCOMPARE(QFileInfo(arguments[6]).absolutePath(), m_temporary->path());
        QVERIFY(arguments[7].startsWith(u"http://"));
        QVERIFY(!arguments[7].contains(u' ') && !arguments[7].contains(u'\n'));
    }
    for (const QString &file : QDir(dir.path()).entryList(QDir::Files))
        QVERIFY2(file == u"curl" || file == u"curl.calls", qPrintable(file));
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

void StreamTest::pauseFollowsTheRate()
{
    QCOMPARE(SnapshotLoader::pauseFor(6), 167ms); // 166,666,666 ns, never shorter
    QCOMPARE(SnapshotLoader::pauseFor(1), 1000ms);
    QCOMPARE(SnapshotLoader::pauseFor(0), 1000ms);
    QCOMPARE(SnapshotLoader::pauseFor(-5), 1000ms);
    QCOMPARE(SnapshotLoader::pauseFor(4), 250ms);
}

void StreamTest::viewShowsSpinnerPictureAndCard()
{
    LoopbackHttpServer printer;
    printer.setHandler([](const test::HttpRequest &request) {
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

void StreamTest::viewNamesTheHostWhileItIsUnreachable()
{
    LoopbackHttpServer camera;
    camera.setReply(HttpReply::status("HTTP/1.1 404 Not Found"));
    MemoryKeyValueStore store({{QStringLiteral("printerIP"), QString()}});
    AppSettings settings(store);
    PiStatusMonitor monitor(settings, nullptr, 60s);
    QTRY_VERIFY_WITH_TIMEOUT(monitor.reachability().isUnreachable(), 20000);

    SnapshotStreamView view(monitor);
    view.resize(420, 280);
    view.setSnapshotURLs({urlOf(camera, "/a")});
    view.show();
    const auto *card = view.findChild<SnapshotErrorCard *>();
    QTRY_VERIFY_WITH_TIMEOUT(card->isVisible(), 20000);
    QCOMPARE(card->title(), QStringLiteral("Raspberry Pi offline"));
    QCOMPARE(card->detail(), QStringLiteral("Keine Drucker-IP eingetragen"));
    writePng(view, QStringLiteral("stream-host-offline"));
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
