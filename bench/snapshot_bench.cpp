// SPDX-License-Identifier: GPL-3.0-or-later
// How much one picture costs. Runs the snapshot loader against a snapshot URL (--url, e.g. the
// nginx of bench/run.sh; without it, a loopback server of its own serving a camera-like
// 1920x1080 JPEG) and prints medians and 90th percentiles; it asserts nothing.
//
// The round time is the loader's own, start to published picture. In the same run it measures
// the floor, what nobody can avoid when every picture is a curl run: the same curl command
// alone, and the same file decoded alone at the shown size. What remains is the hand-over
// between process, worker thread and event loop, and the publish.
//
// The server runs as a separate process (nginx, or this program with --serve), so its work is
// not counted: a child that is still running does not show in RUSAGE_CHILDREN.

#include "BenchFigures.h"
#include "CameraPictures.h"
#include "LoopbackHttpServer.h"
#include "platform/ProcessRunner.h"
#include "stream/SnapshotFetch.h"
#include "stream/SnapshotLoader.h"

#include <QBuffer>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QFutureWatcher>
#include <QGuiApplication>
#include <QPainter>
#include <QProcess>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>

using namespace kestrel;
using bench::cpuMilliseconds;
using bench::percentile;
using bench::spread;

namespace {

template <typename T> T await(QFuture<T> future)
{
    QFutureWatcher<T> watcher;
    QSignalSpy done(&watcher, &QFutureWatcherBase::finished);
    watcher.setFuture(future);
    if (!future.isFinished())
        done.wait(60000);
    return future.result();
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption roundsOption(QStringLiteral("rounds"), QStringLiteral("Rounds."),
                                          QStringLiteral("n"), QStringLiteral("100"));
    const QCommandLineOption urlOption(QStringLiteral("url"),
                                       QStringLiteral("Snapshot URL on 127.0.0.1 to measure."),
                                       QStringLiteral("url"));
    const QCommandLineOption serveOption(QStringLiteral("serve"),
                                         QStringLiteral("Serve the test picture (internal)."));
    parser.addOptions({roundsOption, urlOption, serveOption});
    parser.addHelpOption();
    parser.process(app);
    const int rounds = std::max(1, parser.value(roundsOption).toInt());
    const QSize shown(420, 280);

    if (parser.isSet(serveOption)) {
        LoopbackHttpServer server;
        server.setReply(HttpReply::content(
            "image/jpeg", bench::cameraLikeJpeg({1920, 1080}, QColor(70, 80, 95), 42)));
        std::printf("%s\n", qPrintable(server.address()));
        std::fflush(stdout);
        return QGuiApplication::exec();
    }

    QProcess serverProcess;
    QUrl url(parser.value(urlOption));
    if (!parser.isSet(urlOption)) {
        serverProcess.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--serve")});
        if (!serverProcess.waitForReadyRead(30000)) {
            std::fprintf(stderr, "the picture server did not start\n");
            return 1;
        }
        url = QUrl(QStringLiteral("http://%1/webcam2/?action=snapshot")
                       .arg(QString::fromLatin1(serverProcess.readLine().trimmed())));
    }
    if (url.host() != u"127.0.0.1") {
        std::fprintf(stderr, "only 127.0.0.1 is measured\n");
        return 2;
    }
    QTemporaryDir temporary;

    // Interleaved, so that both see the same machine: one loader round (start, published
    // picture, stop), then the floor, the same transfer alone and the same file decoded alone.
    SnapshotLoader loader(nullptr, QStringLiteral("/usr/bin/curl"), temporary.path());
    loader.setDecodeSize(shown, 1.0);
    QSignalSpy finished(&loader, &SnapshotLoader::roundFinished);
    QObject owner;
    const QString file = temporary.filePath(QStringLiteral("floor.jpg"));
    QList<double> roundMs;
    QList<double> curlMs;
    QList<double> decodeShownMs;
    QList<double> decodeFullMs;
    double kestrelCpu = 0;
    double kestrelCurlCpu = 0;
    double floorCurlCpu = 0;
    double floorDecodeCpu = 0;
    double turnedDecodeCpu = 0;
    qint64 bytes = 0;
    for (int i = 0; i < rounds; ++i) {
        double self = cpuMilliseconds(RUSAGE_SELF);
        double children = cpuMilliseconds(RUSAGE_CHILDREN);
        QElapsedTimer clock;
        clock.start();
        loader.start({url}, 1);
        finished.wait(60000);
        roundMs << clock.nsecsElapsed() / 1e6;
        loader.stop();
        kestrelCpu += cpuMilliseconds(RUSAGE_SELF) - self;
        kestrelCurlCpu += cpuMilliseconds(RUSAGE_CHILDREN) - children;
        if (loader.errorText())
            std::fprintf(stderr, "round %d failed: %s\n", i, qPrintable(*loader.errorText()));

        children = cpuMilliseconds(RUSAGE_CHILDREN);
        clock.restart();
        await(runProcess({QStringLiteral("/usr/bin/curl"),
                          {QStringLiteral("-sS"), QStringLiteral("--max-time"), QStringLiteral("5"),
                           QStringLiteral("--fail"), QStringLiteral("--http1.1"),
                           QStringLiteral("-o"), file, url.toString(QUrl::FullyEncoded)}},
                         &owner));
        curlMs << clock.nsecsElapsed() / 1e6;
        floorCurlCpu += cpuMilliseconds(RUSAGE_CHILDREN) - children;
        bytes = QFileInfo(file).size();
        QFile::copy(file, file + QStringLiteral(".full"));
        QFile::copy(file, file + QStringLiteral(".turned"));

        self = cpuMilliseconds(RUSAGE_SELF);
        clock.restart();
        SnapshotFetch::decodeAndRemove(file, {shown});
        decodeShownMs << clock.nsecsElapsed() / 1e6;
        floorDecodeCpu += cpuMilliseconds(RUSAGE_SELF) - self;
        // A camera mounted sideways: turned a quarter and mirrored, the dearest orientation.
        self = cpuMilliseconds(RUSAGE_SELF);
        SnapshotFetch::decodeAndRemove(file + QStringLiteral(".turned"),
                                       {shown, 1.0, {90, true, false}});
        turnedDecodeCpu += cpuMilliseconds(RUSAGE_SELF) - self;
        clock.restart();
        SnapshotFetch::decodeAndRemove(file + QStringLiteral(".full"), {});
        decodeFullMs << clock.nsecsElapsed() / 1e6;
    }
    kestrelCpu /= rounds;
    kestrelCurlCpu /= rounds;
    floorCurlCpu /= rounds;
    floorDecodeCpu /= rounds;
    turnedDecodeCpu /= rounds;

    const double round = percentile(roundMs, 0.5);
    const double curl = percentile(curlMs, 0.5);
    const double decode = percentile(decodeShownMs, 0.5);
    const double kestrelTotal = kestrelCpu + kestrelCurlCpu;
    const double floorTotal = floorCurlCpu + floorDecodeCpu;
    std::printf("Snapshot pipeline: %d rounds of %s (%lld bytes), shown at %dx%d\n", rounds,
                qPrintable(url.toString()), static_cast<long long>(bytes), shown.width(),
                shown.height());
    std::printf("  round, start to published      %s\n", qPrintable(spread(roundMs)));
    std::printf("    curl's share (curl alone)    %s\n", qPrintable(spread(curlMs)));
    std::printf("    read + decode (alone)        %s\n", qPrintable(spread(decodeShownMs)));
    std::printf("    hand-offs and publish        %7.2f ms (round - curl - decode, medians)\n",
                round - curl - decode);
    std::printf("  CPU per picture, Kestrel       %7.2f ms = %.2f in Kestrel + %.2f in curl\n",
                kestrelTotal, kestrelCpu, kestrelCurlCpu);
    std::printf("  CPU per picture, floor         %7.2f ms = %.2f decode + %.2f curl\n", floorTotal,
                floorDecodeCpu, floorCurlCpu);
    std::printf("  Kestrel / floor                %7.2f\n", kestrelTotal / floorTotal);
    std::printf("  decode, turned 90° + mirrored  %7.2f ms CPU, %+.1f %% of the plain decode\n",
                turnedDecodeCpu, 100.0 * (turnedDecodeCpu - floorDecodeCpu) / floorDecodeCpu);
    std::printf("  decode at full size            %s\n", qPrintable(spread(decodeFullMs)));
    std::printf("ROUND_MEDIAN_MS=%.2f\n", round);
    if (serverProcess.state() != QProcess::NotRunning) {
        serverProcess.kill();
        serverProcess.waitForFinished();
    }
    return 0;
}
