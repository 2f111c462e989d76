// SPDX-License-Identifier: GPL-3.0-or-later
// Every input kept in tests/fuzz-corpus, seeds and anything the fuzzers once found, through the
// same checks the fuzzers apply; a violation ends this test with a crash naming the file.
#include "FuzzChecks.h"

#include <QDirIterator>
#include <QFile>
#include <QTest>

class FuzzRegressionsTest : public QObject
{
    Q_OBJECT

private slots:
    void keptInputsStillPass_data();
    void keptInputsStillPass();
};

void FuzzRegressionsTest::keptInputsStillPass_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("path");
    QDirIterator files(QStringLiteral(KESTREL_FUZZ_CORPUS), QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        const QString target = QFileInfo(path).dir().dirName();
        QTest::newRow(qPrintable(target + u'/' + QFileInfo(path).fileName())) << target << path;
    }
}

void FuzzRegressionsTest::keptInputsStillPass()
{
    QFETCH(QString, target);
    QFETCH(QString, path);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    if (target == u"settings")
        kestrel::fuzz::checkSettingsDocument(bytes);
    else if (target == u"frame_text")
        kestrel::fuzz::checkFrameText(bytes);
    else
        QFAIL("unknown fuzz target folder");
}

QTEST_GUILESS_MAIN(FuzzRegressionsTest)
#include "tst_fuzz_regressions.moc"
