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

class Generator
{
public:
    explicit Generator(quint32 seed) : m_random(seed) {}

    int below(int n) { return int(m_random.bounded(n)); }

    // Texts that matter to the loader: ids in every spelling, placements, frames, junk.
    QString text()
    {
        static const QStringList interesting =
            u"|1|+1|-1|2|3|0| "
            u"1|99999999999999999999|-9223372036854775808|topLeft|free|TopLeft|90|180|270|45|"
            u"horizontal|both|"
            u"{{1, 2}, {3, 4}}|{{nan, inf}}|Düsencam|\u0000x|٣"_s.split(u'|');
        if (below(3) > 0)
            return interesting[below(int(interesting.size()))];
        QString random;
        for (int i = below(40); i > 0; --i)
            random += QChar(char16_t(1 + below(0xD7FF)));
        return random;
    }

    QJsonValue value(int depth)
    {
        switch (below(depth > 4 ? 5 : 8)) {
        case 0:
            return QJsonValue::Null;
        case 1:
            return bool(below(2));
        case 2: {
            constexpr qint64 most = std::numeric_limits<qint64>::max();
            static const qint64 ids[] = {1, 2, 3, 0, -1, 42, most, -most - 1};
            return ids[below(8)];
        }
        case 3:
            return m_random.generateDouble() * 1e6 - 5e5;
        case 4:
            return text();
        case 5: {
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

    // One settings file: mostly our keys with values of any kind, sometimes something else.
    QByteArray document()
    {
        switch (below(20)) {
        case 0:
            return {};
        case 1: { // cut short anywhere
            const QByteArray whole = QJsonDocument(object()).toJson();
            return whole.left(below(int(whole.size())));
        }
        case 2: { // bytes that are no UTF-8
            QByteArray bytes = QJsonDocument(object()).toJson();
            for (int i = 0; i < 4 && !bytes.isEmpty(); ++i)
                bytes[below(int(bytes.size()))] = char(0x80 + below(0x80));
            return bytes;
        }
        case 3: { // deeper than any parser should follow
            QByteArray deep = "{\"cameraPlacements\": ";
            const int depth = 100 + below(2000);
            return deep + QByteArray(depth, '[') + QByteArray(depth, ']') + "}";
        }
        case 4:
            return QJsonDocument(QJsonArray{value(0), value(0)}).toJson();
        default:
            return QJsonDocument(object()).toJson(QJsonDocument::Compact);
        }
    }

private:
    // A dictionary from text to text, the only kind the loader takes for names, paths, frames
    // and placements, so that the entries themselves get tested.
    QJsonObject textMap()
    {
        QJsonObject map;
        for (int i = below(6); i > 0; --i)
            map.insert(text(), text());
        return map;
    }

    QJsonObject object()
    {
        static const QStringList maps{u"cameraPlacements"_s,  u"cameraWindowFrames"_s,
                                      u"customCameraNames"_s, u"customSnapshotPaths"_s,
                                      u"cameraRotations"_s,   u"cameraMirroring"_s};
        QJsonObject object;
        for (const QString &key : keys) {
            if (below(4) == 0)
                continue;
            object.insert(key, maps.contains(key) && below(2) ? QJsonValue(textMap()) : value(0));
        }
        if (below(10) == 0)
            object.insert(text(), value(0));
        return object;
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
