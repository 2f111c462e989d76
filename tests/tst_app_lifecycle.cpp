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

// The real binary in a home of its own: its settings folder, its temporary folder, and settings
// written there before it starts. Without `x11` it runs offscreen.
struct Kestrel
{
    QTemporaryDir home;
    QProcess process;
    QString config = home.filePath(u"config"_s);
    QString temporary = home.filePath(u"tmp"_s);

    bool start(const QJsonObject &settings, bool x11 = false)
    {
        QDir().mkpath(config + u"/Kestrel"_s);
        QDir().mkpath(temporary);
        QFile file(config + u"/Kestrel/settings.json"_s);
        if (!file.exists() &&
            (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(settings).toJson()) < 0))
            return false;
        file.close();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"XDG_CONFIG_HOME"_s, config);
        environment.insert(u"TMPDIR"_s, temporary);
        if (x11)
            environment.remove(u"QT_QPA_PLATFORM"_s);
        else
            environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral(KESTREL_PATH), {});
        return process.waitForStarted();
    }
    QJsonArray selected() const
    {
        QFile file(config + u"/Kestrel/settings.json"_s);
        return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll())
                                                    .object()
                                                    .value(u"selectedCameraIDs"_s)
                                                    .toArray()
                                              : QJsonArray();
    }
};

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
    void endingKestrelKeepsTheSelection_data();
    void endingKestrelKeepsTheSelection();
    void aSecondLaunchDefersToTheFirst();
};

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

// However it ends, Kestrel quits in order: status 0, no curl left running and no half-written
// picture left behind, and the selection kept for the next start.
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
    printer.setHandler([](const kestrel::HttpRequest &request) {
        if (request.path == "/")
            return HttpReply{};
        // The start of a picture, then silence: curl holds a half-written file.
        return HttpReply{.contentType = "image/jpeg",
                         .body = QByteArray(4096, '\xff'),
                         .declaredLength = 1000000,
                         .stallAfterBody = true};
    });
    Kestrel kestrel;
    const QString address = hostAnswers ? printer.address() : LoopbackHttpServer::closedAddress();
    QVERIFY(kestrel.start({{u"printerIP"_s, address}, {u"selectedCameraIDs"_s, QJsonArray{2, 3}}},
                          true));
    QTRY_VERIFY_WITH_TIMEOUT(windowShown(u"Filamentcam"_s), 20000); // everything is up
    if (hostAnswers)
        QTRY_COMPARE_WITH_TIMEOUT(pictureFiles(kestrel.temporary).size(), 2, 20000);
    else
        QTRY_VERIFY_WITH_TIMEOUT(windowShown(u"antwortet nicht"_s), 20000);

    if (!keys.isEmpty())
        QVERIFY(closeWithKeys(window, keys));
    QTRY_COMPARE_WITH_TIMEOUT(kestrel.selected(), selectedAfterwards, 20000);
    if (signal != 0)
        ::kill(pid_t(kestrel.process.processId()), signal);
    QTRY_COMPARE_WITH_TIMEOUT(kestrel.process.state(), QProcess::NotRunning, 20000);
    QCOMPARE(kestrel.process.exitCode(), 0);
    QCOMPARE(kestrel.selected(), selectedAfterwards);
    QCOMPARE(pictureFiles(kestrel.temporary), QStringList());
    QCOMPARE(processesMentioning(kestrel.temporary), 0);
    QVERIFY(!QFile::exists(kestrel.config + u"/Kestrel/settings.json.corrupt"_s));
}

void AppLifecycleTest::aSecondLaunchDefersToTheFirst()
{
    const QJsonObject settings{{u"printerIP"_s, u"kein host"_s},
                               {u"selectedCameraIDs"_s, QJsonArray{1}}};
    Kestrel first;
    QVERIFY(first.start(settings));
    QVERIFY(!first.process.waitForFinished(3000)); // up and running

    Kestrel second;
    second.config = first.config;
    second.temporary = first.temporary; // where the single-instance socket is
    QVERIFY(second.start(settings));
    QVERIFY(second.process.waitForFinished(20000));
    QCOMPARE(second.process.exitCode(), 0);
    QCOMPARE(first.process.state(), QProcess::Running);

    // Another settings folder is another Kestrel.
    Kestrel other;
    QVERIFY(other.start(settings));
    QVERIFY(!other.process.waitForFinished(3000));

    for (QProcess *process : {&first.process, &other.process}) {
        process->terminate();
        QVERIFY(process->waitForFinished(20000));
        QCOMPARE(process->exitCode(), 0);
    }
}

QTEST_GUILESS_MAIN(AppLifecycleTest)
#include "tst_app_lifecycle.moc"
