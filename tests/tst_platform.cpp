// SPDX-License-Identifier: GPL-3.0-or-later
#include "ChildProcesses.h"
#include "FakeTool.h"
#include "platform/FrameText.h"
#include "platform/JsonFileKeyValueStore.h"
#include "platform/ProcessRunner.h"

#include <QDir>
#include <QFile>
#include <QFutureWatcher>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <limits>

using namespace kestrel;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using kestrel::test::FakeTool;

namespace {

// Waits, with the event loop running, for a run to report.
ProcessResult awaitResult(QFuture<ProcessResult> future)
{
    QFutureWatcher<ProcessResult> watcher;
    QSignalSpy finished(&watcher, &QFutureWatcherBase::finished);
    watcher.setFuture(future);
    if (!future.isFinished() && !finished.wait(30000))
        qFatal("process did not report");
    return future.result();
}

QByteArray readBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeBytes(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

} // namespace

class PlatformTest : public QObject
{
    Q_OBJECT

private slots:
    void jsonStoreStartsEmptyWithoutFileAndCreatesItsFolder();
    void jsonStoreKeepsUnusableFileAsideBeforeFirstWrite_data();
    void jsonStoreKeepsUnusableFileAsideBeforeFirstWrite();
    void jsonStoreFileIsWholeWhenWriterIsKilled();

    void processReportsExitOutputsAndCrashes();

    void frameTextReaderIsLenient_data();
    void frameTextReaderIsLenient();
};

void PlatformTest::jsonStoreStartsEmptyWithoutFileAndCreatesItsFolder()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"Kestrel/settings.json"_s);
    JsonFileKeyValueStore store(path, 50ms);
    QVERIFY(!store.value(u"printerIP"_s).isValid());
    QVERIFY(!QFile::exists(path)); // reading alone writes nothing

    // The value holds at once; the file follows shortly, with the latest of a burst of changes.
    for (const QString &address : {u"127.0.0.2"_s, u"127.0.0.1"_s})
        store.setValue(u"printerIP"_s, address);
    QCOMPARE(store.value(u"printerIP"_s).toString(), u"127.0.0.1"_s);
    QVERIFY(!QFile::exists(path));
    QTRY_COMPARE_WITH_TIMEOUT(
        QJsonDocument::fromJson(readBytes(path)).object().value(u"printerIP").toString(),
        u"127.0.0.1"_s, 20000);
    QVERIFY(!QFile::exists(path + u".corrupt"_s));
}

void PlatformTest::jsonStoreKeepsUnusableFileAsideBeforeFirstWrite_data()
{
    QTest::addColumn<QByteArray>("contents");
    // Files that do not parse are the fuzz test's; these are the ones it does not make.
    QTest::newRow("truncated") << QByteArray(R"({"printerIP": "10.0)");
    // Larger than any settings file we write; it is not even read.
    QTest::newRow("oversized") << (QByteArray(R"({"a": ")") + QByteArray(17 * 1024 * 1024, 'x') +
                                   QByteArray(R"("})"));
}

void PlatformTest::jsonStoreKeepsUnusableFileAsideBeforeFirstWrite()
{
    QFETCH(QByteArray, contents);
    QTemporaryDir dir;
    const QString path = dir.filePath(u"settings.json"_s);
    const QString aside = path + u".corrupt"_s;
    writeBytes(path, contents);

    JsonFileKeyValueStore store(path);
    QVERIFY(!store.value(u"printerIP"_s).isValid());
    QCOMPARE(readBytes(path), contents); // untouched until something is written

    store.setValue(u"alwaysOnTop"_s, false);
    store.flush();
    QCOMPARE(readBytes(aside), contents);
    const QJsonObject written = QJsonDocument::fromJson(readBytes(path)).object();
    QCOMPARE(written.keys(), QStringList{u"alwaysOnTop"_s});

    // Only the first write moves a file aside; later ones leave the kept copy alone.
    store.setValue(u"alwaysOnTop"_s, true);
    store.flush();
    QCOMPARE(readBytes(aside), contents);
}

void PlatformTest::jsonStoreFileIsWholeWhenWriterIsKilled()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"settings.json"_s);

    for (int attempt = 0; attempt < 5; ++attempt) {
        QProcess writer;
        writer.start(QStringLiteral(STORE_WRITER_PATH), {path});
        QVERIFY(writer.waitForStarted());
        // Let it finish a few writes (more each time), then kill it wherever it is.
        int finishedWrites = 0;
        while (finishedWrites < 3 + attempt * 7) {
            QVERIFY(writer.waitForReadyRead(30000));
            finishedWrites += writer.readAll().count('\n');
        }
        writer.kill();
        QVERIFY(writer.waitForFinished(30000));

        QJsonParseError error;
        const QJsonObject object = QJsonDocument::fromJson(readBytes(path), &error).object();
        QCOMPARE(error.error, QJsonParseError::NoError);
        QCOMPARE(object.value(u"payload").toString().size(), 512 * 1024);
        QVERIFY(object.value(u"round").toInteger() >= finishedWrites - 1);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{u"settings.json"_s});
    }
}

void PlatformTest::processReportsExitOutputsAndCrashes()
{
    QTemporaryDir dir;
    QObject owner;
    auto run = [&](const QString &body) {
        FakeTool tool(dir.path(), u"tool"_s, body);
        return awaitResult(runProcess({tool.path(), {u"-x"_s}, true}, &owner));
    };

    ProcessResult result = run(u"echo ' Grüße '; echo oops >&2; exit 3"_s);
    QVERIFY(result.launched && !result.succeeded());
    QCOMPARE(result.exitStatus, 3);
    QCOMPARE(result.standardOutput, u" Grüße \n"_s);
    QCOMPARE(result.standardError, u"oops\n"_s);

    // Invalid UTF-8 is refused, not repaired.
    result = run(u"printf 'ok\\377'; printf 'ok\\300' >&2"_s);
    QVERIFY(result.succeeded());
    QCOMPARE(result.standardOutput, QString());
    QCOMPARE(result.standardError, QString());

    // A crash is a failure whose status is the signal.
    result = run(u"kill -TERM $$"_s);
    QVERIFY(result.crashed && !result.succeeded());
    QCOMPARE(result.exitStatus, 15);

    // Standard input is empty, so a program that reads it ends instead of hanging.
    result = run(u"cat; echo read-all"_s);
    QVERIFY(result.succeeded());
    QCOMPARE(result.standardOutput, u"read-all\n"_s);

    // A program that cannot start is named, with the reason, in German.
    const QString missing = dir.filePath(u"missing"_s);
    result = awaitResult(runProcess({missing, {}}, &owner));
    QVERIFY(!result.launched && !result.succeeded());
    QCOMPARE(result.launchError,
             u"„"_s + missing + u"“ konnte nicht gestartet werden: Datei nicht gefunden"_s);
    const QString plain = dir.filePath(u"plain"_s);
    writeBytes(plain, "echo never");
    QCOMPARE(awaitResult(runProcess({plain, {}}, &owner)).launchError,
             u"„"_s + plain +
                 u"“ konnte nicht gestartet werden: keine Berechtigung zum Ausführen"_s);
}

void PlatformTest::frameTextReaderIsLenient_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QRectF>("expected");
    QTest::newRow("canonical") << u"{{1, 2}, {3, 4}}"_s << QRectF(1, 2, 3, 4);
    QTest::newRow("two numbers") << u"{{7, 8}}"_s << QRectF(7, 8, 0, 0);
    QTest::newRow("junk around numbers") << u"x=5; w:6 !"_s << QRectF(5, 6, 0, 0);
    QTest::newRow("out of range is 0") << u"1e999 5 -1e999 6"_s << QRectF(0, 5, 0, 6);
    QTest::newRow("signs and bare fractions") << u"+.5 -.25 1. --3"_s << QRectF(0.5, -0.25, 1, -3);
    QTest::newRow("non-ASCII digits ignored") << u"٣ 4"_s << QRectF(4, 0, 0, 0);
}

void PlatformTest::frameTextReaderIsLenient()
{
    QFETCH(QString, text);
    QFETCH(QRectF, expected);
    const QRectF read = rectFromString(text);
    QCOMPARE(read.x(), expected.x());
    QCOMPARE(read.y(), expected.y());
    QCOMPARE(read.width(), expected.width());
    QCOMPARE(read.height(), expected.height());
}

QTEST_GUILESS_MAIN(PlatformTest)
#include "tst_platform.moc"
