// SPDX-License-Identifier: GPL-3.0-or-later
// Thousands of generated settings files, good, odd and broken, through the real file store and
// AppSettings: loading never fails, what is loaded keeps the store's invariants, and a file that
// could not be read is kept aside before the first write replaces it.

#include "platform/JsonFileKeyValueStore.h"
#include "settings/AppSettings.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrel;

namespace {

const QStringList keys{QStringLiteral("printerIP"),
                       QStringLiteral("selectedCameraIDs"),
                       QStringLiteral("alwaysOnTop"),
                       QStringLiteral("cameraPlacements"),
                       QStringLiteral("cameraWindowFrames"),
                       QStringLiteral("homeKitAccessoryName"),
                       QStringLiteral("homeKitPowerOnSceneName"),
                       QStringLiteral("homeKitStatusShortcutName"),
                       QStringLiteral("customCameraNames"),
                       QStringLiteral("customSnapshotPaths"),
                       QStringLiteral("homeKitPowerOffSceneName")};

class Generator
{
public:
    explicit Generator(quint32 seed) : m_random(seed) {}

    int below(int n) { return int(m_random.bounded(n)); }

    // Texts that matter to the loader: ids in every spelling, placements, frames, junk.
    QString text()
    {
        static const QStringList interesting{QString(),
                                             QStringLiteral("1"),
                                             QStringLiteral("+1"),
                                             QStringLiteral("-1"),
                                             QStringLiteral("2"),
                                             QStringLiteral("3"),
                                             QStringLiteral("0"),
                                             QStringLiteral(" 1"),
                                             QStringLiteral("99999999999999999999"),
                                             QStringLiteral("-9223372036854775808"),
                                             QStringLiteral("topLeft"),
                                             QStringLiteral("free"),
                                             QStringLiteral("TopLeft"),
                                             QStringLiteral("{{1, 2}, {3, 4}}"),
                                             QStringLiteral("{{nan, inf}}"),
                                             QStringLiteral("Düsencam"),
                                             QStringLiteral("\u0000x"),
                                             QStringLiteral("٣")};
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
            static const qint64 ids[] = {1,
                                         2,
                                         3,
                                         0,
                                         -1,
                                         42,
                                         std::numeric_limits<qint64>::max(),
                                         std::numeric_limits<qint64>::min()};
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
        static const QStringList maps{
            QStringLiteral("cameraPlacements"), QStringLiteral("cameraWindowFrames"),
            QStringLiteral("customCameraNames"), QStringLiteral("customSnapshotPaths")};
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

class SettingsFuzzTest : public QObject
{
    Q_OBJECT

private slots:
    void tenThousandDocumentsLoadSafely();
};

void SettingsFuzzTest::tenThousandDocumentsLoadSafely()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("settings.json"));
    Generator generate(20261121);
    int corrupt = 0;
    for (int i = 0; i < 10000; ++i) {
        const QByteArray bytes = generate.document();
        QFile::remove(path);
        QFile::remove(path + QStringLiteral(".corrupt"));
        {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(bytes);
        }
        JsonFileKeyValueStore store(path);
        AppSettings settings(store);

        const auto names = settings.customCameraNames();
        const auto paths = settings.customSnapshotPaths();
        for (const QString &name : names)
            QVERIFY2(!name.isEmpty(), bytes.constData());
        for (const QString &snapshotPath : paths)
            QVERIFY2(!snapshotPath.isEmpty(), bytes.constData());
        const auto placements = settings.cameraPlacements();
        for (const CameraId id : placements.keys())
            QVERIFY2(id >= 1 && id <= 3, bytes.constData());
        QVERIFY(!settings.selectedCameraIDs().empty());
        const auto frames = settings.cameraWindowFrames();
        for (const CameraId id : frames.keys())
            settings.frame(id); // any text reads as a frame or as none
        for (const Camera &camera : cameraCatalogue())
            QCOMPARE(settings.resolvedCamera(camera).id, camera.id);

        if (i % 10 != 0)
            continue;
        // Writing keeps an unreadable file aside, byte for byte, and leaves a readable one.
        const bool readable = QJsonDocument::fromJson(bytes).isObject();
        settings.setAlwaysOnTop(!settings.alwaysOnTop());
        store.flush();
        QFile kept(path + QStringLiteral(".corrupt"));
        if (readable) {
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

QTEST_GUILESS_MAIN(SettingsFuzzTest)
#include "tst_settings_fuzz.moc"
