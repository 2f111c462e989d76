// SPDX-License-Identifier: GPL-3.0-or-later
// Every input kept in tests/fuzz-corpus goes through the checks the fuzzers apply; a violation
// ends the test with a crash. The corpus is what bench/fuzz.sh keeps: the seeds, every input that
// ever broke a check, and the smallest set of inputs that reaches all the loader's paths libFuzzer
// found. A settings document also goes through the real file: loading never fails, a file that
// cannot be read is kept aside byte for byte before the first write, and what is written is whole.

#include "FuzzChecks.h"
#include "platform/JsonFileKeyValueStore.h"
#include "settings/AppSettings.h"

#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrel;
using namespace Qt::StringLiterals;

namespace {

QByteArray readBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class FuzzTest : public QObject
{
    Q_OBJECT

private slots:
    void keptInputsStillPass_data();
    void keptInputsStillPass();
};

void FuzzTest::keptInputsStillPass_data()
{
    QTest::addColumn<QString>("path");
    QDirIterator files(QStringLiteral(KESTREL_FUZZ_CORPUS), QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QFileInfo file(files.next());
        QTest::newRow(qPrintable(file.dir().dirName() + u'/' + file.fileName()))
            << file.filePath();
    }
}

void FuzzTest::keptInputsStillPass()
{
    QFETCH(QString, path);
    const QByteArray bytes = readBytes(path);
    if (QFileInfo(path).dir().dirName() != u"settings") {
        fuzz::checkFrameText(bytes);
        return;
    }
    fuzz::checkSettingsDocument(bytes);

    QTemporaryDir dir;
    const QString file = dir.filePath(u"settings.json"_s);
    QVERIFY(QFile::copy(path, file));
    JsonFileKeyValueStore store(file);
    AppSettings settings(store);
    settings.setAlwaysOnTop(!settings.alwaysOnTop());
    store.flush();
    const bool readable = QJsonDocument::fromJson(bytes).isObject();
    QCOMPARE(readBytes(file + u".corrupt"_s), readable ? QByteArray() : bytes);
    QVERIFY(QJsonDocument::fromJson(readBytes(file)).isObject());
}

QTEST_GUILESS_MAIN(FuzzTest)
#include "tst_fuzz.moc"
