// SPDX-License-Identifier: GPL-3.0-or-later
// The real kestrel binary, ended every way a user or a session ends it. It must quit in order,
// leaving no curl running and no picture file behind, and keep the user's camera windows for
// the next start.

#include "LoopbackHttpServer.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using kestrel::HttpReply;
using kestrel::LoopbackHttpServer;
using namespace Qt::StringLiterals;

namespace {

// Processes anywhere on the machine whose command line mentions `text`.
int processesMentioning(const QString &text)
{
    int count = 0;
    const QStringList entries = QDir(u"/proc"_s).entryList(QDir::Dirs);
    for (const QString &entry : entries) {
        QFile cmdline(u"/proc/"_s + entry + u"/cmdline"_s);
        if (cmdline.open(QIODevice::ReadOnly) && cmdline.readAll().contains(text.toUtf8()))
            ++count;
    }
    return count;
}

QStringList pictureFiles(const QString &folder)
{
    return QDir(folder).entryList({u"kestrel-*"_s}, QDir::Files);
}

QJsonObject readSettings(const QString &config)
{
    QFile file(config + u"/Kestrel/settings.json"_s);
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object()
                                          : QJsonObject();
}

// Drives the desktop as a user does, through xdotool and the window manager.
bool xdotool(const QStringList &arguments)
{
    QProcess xdotool;
    QSignalSpy finished(&xdotool, &QProcess::finished);
    xdotool.start(u"xdotool"_s, arguments);
    // Waits in the event loop: a loopback printer of the test's own must go on answering.
    return finished.wait(20000) && xdotool.exitCode() == 0;
}

bool windowShown(const QString &title)
{
    return xdotool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, title});
}

// Presses `keys` in the window whose title matches `title` until it is gone. Kestrel may still
// be raising its own windows when the test starts, so a press that went elsewhere is repeated.
bool closeWithKeys(const QString &title, const QString &keys)
{
    for (int attempt = 0; attempt < 10; ++attempt) {
        if (xdotool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, title, u"windowactivate"_s,
                     u"windowfocus"_s, u"--sync"_s}))
            xdotool({u"key"_s, keys});
        if (QTest::qWaitFor([&] { return !windowShown(title); }, 2000))
            return true;
    }
    return false;
}

} // namespace

class AppLifecycleTest : public QObject
{
    Q_OBJECT

private slots:
    void terminationMidTransferLeavesNothingBehind();
    void endingKestrelKeepsTheSelection_data();
    void endingKestrelKeepsTheSelection();
    void aSecondLaunchDefersToTheFirst();
};

void AppLifecycleTest::terminationMidTransferLeavesNothingBehind()
{
    kestrel::LoopbackHttpServer printer;
    printer.setHandler([](const kestrel::HttpRequest &request) {
        if (request.path == "/")
            return HttpReply{};
        // The start of a picture, then silence: curl holds a half-written file.
        return HttpReply{.contentType = "image/jpeg",
                         .body = QByteArray(4096, '\xff'),
                         .declaredLength = 1000000,
                         .stallAfterBody = true};
    });
    QTemporaryDir home;
    const QString config = home.filePath(u"config"_s);
    const QString temporary = home.filePath(u"tmp"_s);
    QVERIFY(QDir().mkpath(config + u"/Kestrel"_s));
    QVERIFY(QDir().mkpath(temporary));
    QFile settings(config + u"/Kestrel/settings.json"_s);
    QVERIFY(settings.open(QIODevice::WriteOnly));
    settings.write(QJsonDocument(QJsonObject{{u"printerIP"_s, printer.address()},
                                             {u"selectedCameraIDs"_s, QJsonArray{1, 2, 3}}})
                       .toJson());
    settings.close();

    QProcess kestrel;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_CONFIG_HOME"_s, config);
    environment.insert(u"TMPDIR"_s, temporary);
    environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    kestrel.setProcessEnvironment(environment);
    kestrel.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    kestrel.start(QStringLiteral(KESTREL_BINARY), {});
    QVERIFY(kestrel.waitForStarted());
    QTRY_COMPARE_WITH_TIMEOUT(pictureFiles(temporary).size(), 3, 20000);

    kestrel.terminate(); // SIGTERM
    QVERIFY(kestrel.waitForFinished(20000));
    QCOMPARE(kestrel.exitStatus(), QProcess::NormalExit);
    QCOMPARE(kestrel.exitCode(), 0);
    QCOMPARE(pictureFiles(temporary), QStringList());
    QCOMPARE(processesMentioning(temporary), 0);
    // The settings were not touched by quitting.
    QVERIFY(!QFile::exists(config + u"/Kestrel/settings.json.corrupt"_s));
}

void AppLifecycleTest::endingKestrelKeepsTheSelection_data()
{
    QTest::addColumn<QString>("keys"); // pressed in `window`, if any
    QTest::addColumn<QString>("window");
    QTest::addColumn<int>("signal"); // sent afterwards, if any
    QTest::addColumn<QJsonArray>("selectedAfterwards");
    QTest::addColumn<bool>("hostAnswers"); // if not, the start-up prompt is open meanwhile
    const QJsonArray both{2, 3};
    QTest::newRow("SIGTERM") << QString() << QString() << SIGTERM << both << true;
    QTest::newRow("SIGINT") << QString() << QString() << SIGINT << both << true;
    QTest::newRow("main window closed") << u"alt+F4"_s << u"^Kestrel$"_s << 0 << both << true;
    QTest::newRow("Ctrl+Q") << u"ctrl+q"_s << u"^Kestrel$"_s << 0 << both << true;
    QTest::newRow("Ctrl+Q, prompt open") << u"ctrl+q"_s << u"^Kestrel$"_s << 0 << both << false;
    // Only a user's close of one camera window gives up that camera.
    QTest::newRow("camera window closed")
        << u"alt+F4"_s << u"Filamentcam"_s << SIGTERM << QJsonArray{2} << true;
}

void AppLifecycleTest::endingKestrelKeepsTheSelection()
{
    QFETCH(QString, keys);
    QFETCH(QString, window);
    QFETCH(int, signal);
    QFETCH(QJsonArray, selectedAfterwards);
    QFETCH(bool, hostAnswers);
    if (qEnvironmentVariableIsEmpty("DISPLAY") ||
        QStandardPaths::findExecutable(u"xdotool"_s).isEmpty())
        QSKIP("needs an X display with a window manager, and xdotool");

    LoopbackHttpServer printer;
    QTemporaryDir home;
    const QString config = home.filePath(u"config"_s);
    QVERIFY(QDir().mkpath(config + u"/Kestrel"_s));
    QFile settings(config + u"/Kestrel/settings.json"_s);
    QVERIFY(settings.open(QIODevice::WriteOnly));
    const QString address = hostAnswers ? printer.address() : LoopbackHttpServer::closedAddress();
    settings.write(QJsonDocument(QJsonObject{{u"printerIP"_s, address},
                                             {u"selectedCameraIDs"_s, QJsonArray{2, 3}}})
                       .toJson());
    settings.close();

    QProcess kestrel;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_CONFIG_HOME"_s, config);
    environment.remove(u"QT_QPA_PLATFORM"_s); // real windows on the X display
    kestrel.setProcessEnvironment(environment);
    kestrel.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    kestrel.start(QStringLiteral(KESTREL_BINARY), {});
    QVERIFY(kestrel.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(windowShown(u"Filamentcam"_s), 20000); // everything is up
    if (!hostAnswers)
        QTRY_VERIFY_WITH_TIMEOUT(windowShown(u"antwortet nicht"_s), 20000);

    if (!keys.isEmpty())
        QVERIFY(closeWithKeys(window, keys));
    const auto selected = [&] {
        return readSettings(config).value(u"selectedCameraIDs"_s).toArray();
    };
    QTRY_COMPARE_WITH_TIMEOUT(selected(), selectedAfterwards, 20000);
    if (signal != 0)
        ::kill(pid_t(kestrel.processId()), signal);
    QTRY_COMPARE_WITH_TIMEOUT(kestrel.state(), QProcess::NotRunning, 20000);
    QCOMPARE(kestrel.exitCode(), 0);
    QCOMPARE(selected(), selectedAfterwards);
}

void AppLifecycleTest::aSecondLaunchDefersToTheFirst()
{
    QTemporaryDir home;
    auto launch = [&](QProcess &process, const QString &config) {
        QDir().mkpath(config + u"/Kestrel"_s);
        QFile settings(config + u"/Kestrel/settings.json"_s);
        settings.open(QIODevice::WriteOnly);
        settings.write(R"({"printerIP": "kein host", "selectedCameraIDs": [1]})");
        settings.close();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"XDG_CONFIG_HOME"_s, config);
        environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(KESTREL_BINARY), {});
        return process.waitForStarted();
    };
    const QString config = home.filePath(u"config"_s);
    QProcess first;
    QVERIFY(launch(first, config));
    QVERIFY(!first.waitForFinished(3000)); // up and running

    QProcess second;
    QVERIFY(launch(second, config));
    QVERIFY(second.waitForFinished(20000));
    QCOMPARE(second.exitCode(), 0);
    QCOMPARE(first.state(), QProcess::Running);

    // Another settings folder is another Kestrel.
    QProcess other;
    QVERIFY(launch(other, home.filePath(u"other"_s)));
    QVERIFY(!other.waitForFinished(3000));

    for (QProcess *process : {&first, &other}) {
        process->terminate();
        QVERIFY(process->waitForFinished(20000));
        QCOMPARE(process->exitCode(), 0);
    }
}

QTEST_GUILESS_MAIN(AppLifecycleTest)
#include "tst_app_lifecycle.moc"
