// SPDX-License-Identifier: GPL-3.0-or-later
// Settings files and frame texts, good, odd and broken: thousands generated here, and every input
// kept in tests/fuzz-corpus (seeds and whatever the fuzzers once found), through the checks the
// fuzzers apply; a violation ends the test with a crash. Loading never fails, and a file that
// could not be read is kept aside before the first write replaces it.

#include "FuzzChecks.h"
#include "platform/JsonFileKeyValueStore.h"
#include "settings/AppSettings.h"

#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrel;
using namespace Qt::StringLiterals;

namespace {

const QStringList keys =
    u"printerIP selectedCameraIDs alwaysOnTop cameraPlacements cameraWindowFrames "
    u"homeKitAccessoryName homeKitPowerOnSceneName homeKitStatusShortcutName customCameraNames "
    u"customSnapshotPaths homeKitPowerOffSceneName cameraRotations cameraMirroring showPictureRate"_s
        .split(u' ');

// Texts that matter to the loader: ids in every spelling, placements, frames, angles, junk.
const QStringList texts =
    u"|1|+1|-1|2|3|0| 1|99999999999999999999|-9223372036854775808|topLeft|free|TopLeft|90|180|"
    u"270|45|horizontal|both|{{1, 2}, {3, 4}}|{{nan, inf}}|Düsencam|\u0000x|٣"_s.split(u'|');

// Settings files of every shape: mostly our keys with values of any kind, dictionaries of texts
// (the only kind the loader takes for names, paths, frames, placements and orientations), and
// files cut short, not UTF-8, nested deeper than any parser should follow, or no object at all.
class Generator
{
public:
    explicit Generator(quint32 seed) : m_random(seed) {}

    QByteArray document()
    {
        QJsonObject object;
        for (const QString &key : keys) {
            if (below(4) != 0)
                object.insert(key, below(2) ? value(0) : QJsonValue(textMap()));
        }
        QByteArray bytes = QJsonDocument(object).toJson(QJsonDocument::Compact);
        switch (below(20)) {
        case 0:
            return bytes.left(below(int(bytes.size()) + 1));
        case 1:
            for (int i = 0; i < 4; ++i)
                bytes[below(int(bytes.size()))] = char(0x80 + below(0x80));
            return bytes;
        case 2: {
            const int depth = 100 + below(2000);
            return "{\"cameraPlacements\": " + QByteArray(depth, '[') + QByteArray(depth, ']') +
                   "}";
        }
        case 3:
            return QJsonDocument(QJsonArray{value(0), value(0)}).toJson();
        default:
            return bytes;
        }
    }

private:
    int below(int n) { return int(m_random.bounded(n)); }

    QString text()
    {
        if (below(3) > 0)
            return texts[below(int(texts.size()))];
        QString random;
        for (int i = below(40); i > 0; --i)
            random += QChar(char16_t(1 + below(0xD7FF)));
        return random;
    }

    QJsonObject textMap()
    {
        QJsonObject map;
        for (int i = below(6); i > 0; --i)
            map.insert(text(), text());
        return map;
    }

    QJsonValue value(int depth)
    {
        constexpr qint64 most = std::numeric_limits<qint64>::max();
        static const QJsonValue scalars[] = {QJsonValue::Null, true, false, 1, 3, 0, -1, 42, most,
                                             -most - 1,        0.5,  -4.5e5};
        switch (below(depth > 4 ? 2 : 4)) {
        case 0:
            return scalars[below(int(std::size(scalars)))];
        case 1:
            return text();
        case 2: {
            QJsonArray array;
            for (int i = below(6); i > 0; --i)
                array.append(value(depth + 1));
            return array;
        }
        default: {
            QJsonObject object;
            for (int i = below(6); i > 0; --i)
                object.insert(text(), value(depth + 1));
            return object;
        }
        }
    }

    QRandomGenerator m_random;
};

} // namespace

class FuzzTest : public QObject
{
    Q_OBJECT

private slots:
    void generatedSettingsLoadSafely();
    void keptInputsStillPass_data();
    void keptInputsStillPass();
};

void FuzzTest::generatedSettingsLoadSafely()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"settings.json"_s);
    Generator generate(20261121);
    int corrupt = 0;
    for (int i = 0; i < 10000; ++i) {
        const QByteArray bytes = generate.document();
        fuzz::checkSettingsDocument(bytes);
        if (i % 10 != 0)
            continue;
        // Through the real file: writing keeps an unreadable file aside, byte for byte, and
        // leaves a readable one.
        QFile::remove(path);
        QFile::remove(path + u".corrupt"_s);
        {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(bytes);
        }
        JsonFileKeyValueStore store(path);
        AppSettings settings(store);
        settings.setAlwaysOnTop(!settings.alwaysOnTop());
        store.flush();
        QFile kept(path + u".corrupt"_s);
        if (QJsonDocument::fromJson(bytes).isObject()) {
            QVERIFY(!kept.exists());
        } else {
            ++corrupt;
            QVERIFY(kept.open(QIODevice::ReadOnly));
            QCOMPARE(kept.readAll(), bytes);
        }
        QFile written(path);
        QVERIFY(written.open(QIODevice::ReadOnly));
        QVERIFY(QJsonDocument::fromJson(written.readAll()).isObject());
    }
    QVERIFY(corrupt > 50); // the generator did make broken files
}

void FuzzTest::keptInputsStillPass_data()
{
    QTest::addColumn<QString>("path");
    QDirIterator files(QStringLiteral(KESTREL_FUZZ_CORPUS), QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        QTest::newRow(
            qPrintable(QFileInfo(path).dir().dirName() + u'/' + QFileInfo(path).fileName()))
            << path;
    }
}

void FuzzTest::keptInputsStillPass()
{
    QFETCH(QString, path);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    if (QFileInfo(path).dir().dirName() == u"settings")
        fuzz::checkSettingsDocument(file.readAll());
    else
        fuzz::checkFrameText(file.readAll());
}

QTEST_GUILESS_MAIN(FuzzTest)
#include "tst_fuzz.moc"
