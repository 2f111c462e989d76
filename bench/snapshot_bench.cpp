// How much one picture costs. Runs the snapshot loader against a loopback server that serves a
// camera-like 1920x1080 JPEG and prints medians; it asserts nothing.
//
// The round time is the loader's own, start to published picture. Next to it, in the same run,
// the same curl command alone and the same decode alone show where the time goes; what remains
// is the hand-over between process, worker thread and event loop, and the publish.
//
// The server runs as a separate process (this program with --serve), so its work is not
// counted as Kestrel's: a child that is still running does not show in RUSAGE_CHILDREN.

#include "LoopbackHttpServer.h"
#include "platform/ProcessRunner.h"
#include "stream/SnapshotFetch.h"
#include "stream/SnapshotLoader.h"

#include <QBuffer>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QFile>
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

namespace {

// Gradient, shapes and sensor-like noise: compresses like a real camera picture, not like a
// flat test card.
QByteArray cameraLikeJpeg(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient gradient(0, 0, size.width(), size.height());
    gradient.setColorAt(0, QColor(70, 80, 95));
    gradient.setColorAt(1, QColor(20, 22, 25));
    painter.fillRect(image.rect(), gradient);
    painter.fillRect(
        QRect(size.width() / 4, size.height() / 2, size.width() / 2, size.height() / 3),
        QColor(90, 90, 96));
    painter.end();
    QRandomGenerator random(42);
    for (int y = 0; y < size.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            const int noise = int(random.bounded(13)) - 6;
            const QRgb p = line[x];
            line[x] =
                qRgb(std::clamp(qRed(p) + noise, 0, 255), std::clamp(qGreen(p) + noise, 0, 255),
                     std::clamp(qBlue(p) + noise, 0, 255));
        }
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "JPEG", 85);
    return bytes;
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0.0 : values[values.size() / 2];
}

double cpuMilliseconds(int who)
{
    rusage usage{};
    getrusage(who, &usage);
    auto ms = [](const timeval &t) { return t.tv_sec * 1000.0 + t.tv_usec / 1000.0; };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

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
    const QCommandLineOption serveOption(QStringLiteral("serve"),
                                         QStringLiteral("Serve the test picture (internal)."));
    parser.addOptions({roundsOption, serveOption});
    parser.addHelpOption();
    parser.process(app);
    const int rounds = std::max(1, parser.value(roundsOption).toInt());
    const QSize shown(420, 280);
    const QByteArray jpeg = cameraLikeJpeg({1920, 1080});

    if (parser.isSet(serveOption)) {
        test::LoopbackHttpServer server;
        server.setReply(test::HttpReply::content("image/jpeg", jpeg));
        std::printf("%s\n", qPrintable(server.address()));
        std::fflush(stdout);
        return QGuiApplication::exec();
    }

    QProcess serverProcess;
    serverProcess.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--serve")});
    if (!serverProcess.waitForReadyRead(30000)) {
        std::fprintf(stderr, "the picture server did not start\n");
        return 1;
    }
    const QString address = QString::fromLatin1(serverProcess.readLine().trimmed());
    QTemporaryDir temporary;
    const QUrl url(QStringLiteral("http://%1/webcam2/?action=snapshot").arg(address));

    // The loader, round by round: start, published picture, stop.
    SnapshotLoader loader(nullptr, QStringLiteral("/usr/bin/curl"), temporary.path());
    loader.setDecodeSize(shown, 1.0);
    QSignalSpy finished(&loader, &SnapshotLoader::roundFinished);
    QList<double> roundMs;
    const double selfBefore = cpuMilliseconds(RUSAGE_SELF);
    const double childrenBefore = cpuMilliseconds(RUSAGE_CHILDREN);
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer clock;
        clock.start();
        loader.start({url}, 1);
        finished.wait(60000);
        roundMs << clock.nsecsElapsed() / 1e6;
        loader.stop();
        if (loader.errorText())
            std::fprintf(stderr, "round %d failed: %s\n", i, qPrintable(*loader.errorText()));
    }
    const double selfCpu = (cpuMilliseconds(RUSAGE_SELF) - selfBefore) / rounds;
    const double curlCpu = (cpuMilliseconds(RUSAGE_CHILDREN) - childrenBefore) / rounds;

    // The same transfer alone, and the same decode alone.
    QList<double> curlMs;
    QList<double> decodeShownMs;
    QList<double> decodeFullMs;
    QObject owner;
    const QString file = temporary.filePath(QStringLiteral("bench.jpg"));
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer clock;
        clock.start();
        await(runProcess({QStringLiteral("/usr/bin/curl"),
                          {QStringLiteral("-sS"), QStringLiteral("--max-time"), QStringLiteral("5"),
                           QStringLiteral("--fail"), QStringLiteral("--http1.1"),
                           QStringLiteral("-o"), file, url.toString()}},
                         &owner));
        curlMs << clock.nsecsElapsed() / 1e6;
        QFile::copy(file, file + QStringLiteral(".full"));

        clock.restart();
        SnapshotFetch::decodeAndRemove(file, shown, 1.0);
        decodeShownMs << clock.nsecsElapsed() / 1e6;
        clock.restart();
        SnapshotFetch::decodeAndRemove(file + QStringLiteral(".full"), {}, 1.0);
        decodeFullMs << clock.nsecsElapsed() / 1e6;
    }

    const double round = median(roundMs);
    const double curl = median(curlMs);
    const double decode = median(decodeShownMs);
    std::printf("Snapshot loader, %d rounds, %lld-byte 1920x1080 JPEG shown at %dx%d\n", rounds,
                static_cast<long long>(jpeg.size()), shown.width(), shown.height());
    std::printf("  round (start to published)     median %7.2f ms\n", round);
    std::printf("    curl alone                   median %7.2f ms\n", curl);
    std::printf("    read + decode alone          median %7.2f ms\n", decode);
    std::printf("    hand-offs and publish (rest)        %7.2f ms\n", round - curl - decode);
    std::printf("  CPU per picture                Kestrel %6.2f ms, curl %6.2f ms\n", selfCpu,
                curlCpu);
    std::printf("  decode at full size            median %7.2f ms\n", median(decodeFullMs));
    std::printf("  decode at %dx%d               median %7.2f ms\n", shown.width(), shown.height(),
                decode);
    serverProcess.kill();
    serverProcess.waitForFinished();
    return 0;
}
