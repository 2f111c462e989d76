// The real kestrel binary, ended the way a session ends it: SIGTERM in the middle of a
// transfer. It must quit in order, leaving no curl running and no picture file behind.

#include "LoopbackHttpServer.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using kestrel::test::HttpReply;

namespace {

// Processes anywhere on the machine whose command line mentions `text`.
int processesMentioning(const QString &text)
{
    int count = 0;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString &entry : entries) {
        QFile cmdline(QStringLiteral("/proc/") + entry + QStringLiteral("/cmdline"));
        if (cmdline.open(QIODevice::ReadOnly) && cmdline.readAll().contains(text.toUtf8()))
            ++count;
    }
    return count;
}

QStringList pictureFiles(const QString &folder)
{
    return QDir(folder).entryList({QStringLiteral("kestrel-*")}, QDir::Files);
}

} // namespace

class AppLifecycleTest : public QObject
{
    Q_OBJECT

private slots:
    void terminationMidTransferLeavesNothingBehind();
    void aSecondLaunchDefersToTheFirst();
};

void AppLifecycleTest::terminationMidTransferLeavesNothingBehind()
{
    kestrel::test::LoopbackHttpServer printer;
    printer.setHandler([](const kestrel::test::HttpRequest &request) {
        if (request.path == "/")
            return HttpReply{};
        // The start of a picture, then silence: curl holds a half-written file.
        return HttpReply{.contentType = "image/jpeg",
                         .body = QByteArray(4096, '\xff'),
                         .declaredLength = 1000000,
                         .stallAfterBody = true};
    });
    QTemporaryDir home;
    const QString config = home.filePath(QStringLiteral("config"));
    const QString temporary = home.filePath(QStringLiteral("tmp"));
    QVERIFY(QDir().mkpath(config + QStringLiteral("/Kestrel")));
    QVERIFY(QDir().mkpath(temporary));
    QFile settings(config + QStringLiteral("/Kestrel/settings.json"));
    QVERIFY(settings.open(QIODevice::WriteOnly));
    settings.write(
        QJsonDocument(QJsonObject{{QStringLiteral("printerIP"), printer.address()},
                                  {QStringLiteral("selectedCameraIDs"), QJsonArray{1, 2, 3}}})
            .toJson());
    settings.close();

    QProcess kestrel;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), config);
    environment.insert(QStringLiteral("TMPDIR"), temporary);
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
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
    QVERIFY(!QFile::exists(config + QStringLiteral("/Kestrel/settings.json.corrupt")));
}

void AppLifecycleTest::aSecondLaunchDefersToTheFirst()
{
    QTemporaryDir home;
    auto launch = [&](QProcess &process, const QString &config) {
        QDir().mkpath(config + QStringLiteral("/Kestrel"));
        QFile settings(config + QStringLiteral("/Kestrel/settings.json"));
        settings.open(QIODevice::WriteOnly);
        settings.write(R"({"printerIP": "kein host", "selectedCameraIDs": [1]})");
        settings.close();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), config);
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(KESTREL_BINARY), {});
        return process.waitForStarted();
    };
    const QString config = home.filePath(QStringLiteral("config"));
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
    QVERIFY(launch(other, home.filePath(QStringLiteral("other"))));
    QVERIFY(!other.waitForFinished(3000));

    for (QProcess *process : {&first, &other}) {
        process->terminate();
        QVERIFY(process->waitForFinished(20000));
        QCOMPARE(process->exitCode(), 0);
    }
}

QTEST_GUILESS_MAIN(AppLifecycleTest)
#include "tst_app_lifecycle.moc"
