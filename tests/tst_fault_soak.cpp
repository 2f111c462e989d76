// SPDX-License-Identifier: GPL-3.0-or-later
// Three camera windows and the main window against a printer host that cycles through its
// failures: up, port closed, silent, 404 on one camera, HTML at 200, a truncated JPEG, random
// bytes, a 70 MB body, an HTTP/1.0 host, and up again. In every state the screens must show
// that state's text; afterwards no curl may run, no picture file may remain, and neither
// descriptors nor memory may have grown. KESTREL_SOAK_SECONDS sets the length (20 by default;
// bench/soak.sh runs it for as long as wanted).

#include "CameraApp.h"
#include "Helpers.h"
#include "camera/SnapshotErrorCard.h"
#include "camera/SnapshotStreamView.h"
#include "screens/ContentView.h"
#include "stream/SnapshotLoader.h"
#include "windows/CameraWindow.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace kestrel;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

// What this process's descriptors point at: files, pipes, sockets.
QStringList openDescriptors()
{
    QStringList targets;
    const QDir folder(u"/proc/self/fd"_s);
    for (const QString &entry : folder.entryList(QDir::NoDotAndDotDot | QDir::System))
        targets << QFile::symLinkTarget(folder.filePath(entry)).section(u'[', 0, 0);
    targets.sort();
    return targets;
}

qint64 residentKb()
{
    QFile status(u"/proc/self/status"_s);
    status.open(QIODevice::ReadOnly);
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toLongLong();
    }
    return 0;
}

} // namespace

class FaultSoakTest : public QObject
{
    Q_OBJECT

private slots:
    void screensFollowEveryFaultAndNothingIsLost();
};

void FaultSoakTest::screensFollowEveryFaultAndNothingIsLost()
{
    const int wanted = qEnvironmentVariableIntValue("KESTREL_SOAK_SECONDS");
    const int seconds = wanted > 0 ? wanted : 20;
    QTemporaryDir temporary;
    qputenv("TMPDIR", temporary.path().toLocal8Bit());

    QProcess host;
    host.start(QStringLiteral(FAULT_HOST_PATH), {});
    QVERIFY(host.waitForReadyRead(30000));
    const QString address = QString::fromLatin1(host.readLine().trimmed());

    test::CameraApp app(
        {{u"printerIP"_s, address}, {u"selectedCameraIDs"_s, test::idList({1, 2, 3})}}, {}, 1s);
    auto coordinator = app.start();
    ContentView mainWindow(app.printers, *coordinator, [] {});
    mainWindow.show();

    // What the main window and each camera window show, in words.
    auto shown = [&] {
        const PiReachability reachability = app.monitor.reachability();
        const QList<QLabel *> labels = mainWindow.findChildren<QLabel *>();
        QString text =
            std::any_of(labels.cbegin(), labels.cend(),
                        [&](const QLabel *label) { return label->text() == reachability.reason(); })
                ? reachability.reason()
            : reachability.isUnreachable() ? u"unlabelled"_s
                                           : QString();
        for (const CameraId id : {1, 2, 3}) {
            const auto &loader =
                coordinator->window(id)->findChild<SnapshotStreamView *>()->source();
            const auto *card = coordinator->window(id)->findChild<SnapshotErrorCard *>();
            text += u" | "_s + (card->isVisible() ? card->title() + u": "_s : QString()) +
                    loader.errorText().value_or(loader.image().isNull() ? u"nothing"_s : QString());
        }
        return text;
    };
    // Per state, how the host's reason and each camera's text begin; "-" is a live picture and
    // no card, "*" anything (how much of a cut picture shows is the decoder's).
    const QList<QStringList> states = test::tableRows(uR"(
up        | -          | -                                        | -                                        | -
closed    | curl: (7)  | Raspberry Pi offline: curl: (7)          | Raspberry Pi offline: curl: (7)          | Raspberry Pi offline: curl: (7)
silent    | curl: (28) | Raspberry Pi offline: curl: (28)         | Raspberry Pi offline: curl: (28)         | Raspberry Pi offline: curl: (28)
404       | -          | -                                        | Kamera nicht erreichbar: curl: (22) The requested URL returned error: 404 | -
html      | -          | Kamera nicht erreichbar: JPEG ungültig:  | Kamera nicht erreichbar: JPEG ungültig:  | Kamera nicht erreichbar: JPEG ungültig:
truncated | -          | *                                        | *                                        | *
random    | -          | Kamera nicht erreichbar: JPEG ungültig:  | Kamera nicht erreichbar: JPEG ungültig:  | Kamera nicht erreichbar: JPEG ungültig:
huge      | -          | -                                        | -                                        | Kamera nicht erreichbar: JPEG ungültig:
http10    | Keine gueltige HTTP-Antwort vom Pi | -              | -                                        | -
up        | -          | -                                        | -                                        | -
    )"_s);
    auto shows = [&](const QStringList &state) {
        const QStringList parts = shown().split(u" | "_s);
        for (qsizetype i = 0; i < parts.size(); ++i) {
            const QString &start = state[i + 1];
            if (start != u"*" &&
                (start.isEmpty() ? !parts[i].isEmpty() : !parts[i].startsWith(start)))
                return false;
        }
        return true;
    };

    // Quiet moments to compare: every window closed and no curl running.
    auto quiesce = [&] {
        coordinator->closeAllWindows();
        QTRY_VERIFY_WITH_TIMEOUT(test::childProcessNames() == QStringList{u"fault_host"_s}, 30000);
        QCoreApplication::processEvents();
    };

    const int stateMs = seconds * 1000 / int(states.size());
    QStringList descriptorsBefore;
    [[maybe_unused]] qint64 residentBefore = 0;
    for (qsizetype i = 0; i < states.size(); ++i) {
        const QStringList &state = states[i];
        host.write(state[0].toLatin1() + '\n');
        QElapsedTimer clock;
        clock.start();
        QTRY_VERIFY2_WITH_TIMEOUT(shows(state), qPrintable(state[0] + u" - "_s + shown()),
                                  std::max(stateMs, 12000));
        QTest::qWait(int(std::max<qint64>(0, stateMs - clock.elapsed())));
        if (i == 0) {
            quiesce();
            descriptorsBefore = openDescriptors();
            residentBefore = residentKb();
            coordinator->syncWindows();
        }
    }

    quiesce();
    QCOMPARE(QDir(temporary.path()).entryList({u"kestrel-*"_s}, QDir::Files), QStringList());
    // A leak stays; the print status client's next handshake, which the host refuses, may hold
    // a socket for a moment, and on a slow machine (the sanitizer build) at the wrong moment.
    QTRY_VERIFY2_WITH_TIMEOUT(openDescriptors().size() <= descriptorsBefore.size(),
                              qPrintable(openDescriptors().join(u' ') + u" after, before: "_s +
                                         descriptorsBefore.join(u' ')),
                              20000);
#if !defined(__SANITIZE_ADDRESS__)
    // Under AddressSanitizer freed memory is held back on purpose (up to 256 MB) to catch use
    // after free, so RSS says nothing there; LeakSanitizer watches for leaks in that build.
    QVERIFY2(residentKb() - residentBefore < 8 * 1024,
             qPrintable(u"RSS grew by %1 kB"_s.arg(residentKb() - residentBefore)));
#endif
    host.closeWriteChannel();
    QVERIFY(host.waitForFinished(30000));
}

QTEST_MAIN(FaultSoakTest)
#include "tst_fault_soak.moc"
