// SPDX-License-Identifier: GPL-3.0-or-later
// The user's settings as they lie on disk: what a broken or odd value becomes, that every change
// writes its own key and leaves the others, and the file that holds them.
#include "LoopbackHttpServer.h"
#include "platform/JsonFileKeyValueStore.h"
#include "platform/MemoryKeyValueStore.h"
#include "settings/AppSettings.h"
#include "settings/WebcamImport.h"

#include <QFile>
#include <QFutureWatcher>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace kestrel;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

QVariant ids(std::initializer_list<qint64> values)
{
    QVariantList list;
    for (const qint64 value : values)
        list.append(QVariant::fromValue(value));
    return list;
}

QVariant dictionary(std::initializer_list<std::pair<const char *, QVariant>> entries)
{
    QVariantMap map;
    for (const auto &[key, value] : entries)
        map.insert(QString::fromUtf8(key), value);
    return map;
}

const QVariant defaultPlacements =
    dictionary({{"1", u"topLeft"_s}, {"2", u"bottomLeft"_s}, {"3", u"topRight"_s}});

// A store in which every key holds a usable, non-default value, so a write shows up as a change.
QVariantMap fullyStored()
{
    return {
        {u"printerIP"_s, u"127.0.0.1:8080"_s},
        {u"selectedCameraIDs"_s, ids({1, 2})},
        {u"alwaysOnTop"_s, true},
        {u"cameraPlacements"_s, dictionary({{"1", u"free"_s}, {"2", u"topRight"_s}})},
        {u"cameraWindowFrames"_s, dictionary({{"1", u"{{1, 2}, {3, 4}}"_s}})},
        {u"homeKitAccessoryName"_s, u"Drucker"_s},
        {u"homeKitPowerOnSceneName"_s, u"An"_s},
        {u"homeKitStatusShortcutName"_s, u"Status"_s},
        {u"customCameraNames"_s, dictionary({{"2", u"Nozzle"_s}, {"3", u"Rolle"_s}})},
        {u"customSnapshotPaths"_s, dictionary({{"3", u"/snap"_s}})},
        {u"homeKitPowerOffSceneName"_s, u"Aus"_s},
        {u"cameraRotations"_s, dictionary({{"1", u"90"_s}})},
        {u"cameraMirroring"_s, dictionary({{"1", u"both"_s}})},
    };
}

QByteArray readBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class SettingsTest : public QObject
{
    Q_OBJECT

private slots:
    void oddValuesAreWrittenBackAsLoaded_data();
    void oddValuesAreWrittenBackAsLoaded();
    void eachOperationWritesOnlyItsOwnKey();
    void fileIsWrittenLateAndKeepsWhatItCannotRead();
    void camerasAreTakenOverFromThePrinter_data();
    void camerasAreTakenOverFromThePrinter();
};

// Each row stores one key as a person or an older version may have left it, and gives what the
// settings write back for it: the value as loaded, with the unusable parts dropped or replaced.
void SettingsTest::oddValuesAreWrittenBackAsLoaded_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QVariant>("written");
    auto row = [](const char *name, const QString &key, const QVariant &stored,
                  const QVariant &written) { QTest::newRow(name) << key << stored << written; };

    row("ip: blanks kept", u"printerIP"_s, u" 10.0.0.9 "_s, u" 10.0.0.9 "_s);
    row("ip: number", u"printerIP"_s, 7, AppSettings::defaultPrinterIP());
    row("status: bool", u"homeKitStatusShortcutName"_s, true, QString());
    row("top: false", u"alwaysOnTop"_s, false, false);
    row("top: text", u"alwaysOnTop"_s, u"false"_s, true);
    row("selection: duplicates", u"selectedCameraIDs"_s, ids({3, 1, 3}), ids({1, 3}));
    row("selection: unknown kept", u"selectedCameraIDs"_s, ids({42}), ids({42}));
    row("selection: empty", u"selectedCameraIDs"_s, ids({}), ids({1}));
    row("selection: text element", u"selectedCameraIDs"_s, QVariantList{1, u"2"_s}, ids({1}));
    row("placements: mixed", u"cameraPlacements"_s,
        dictionary({{"1", u"free"_s}, {"9", u"topLeft"_s}, {"2", u"sideways"_s}}),
        dictionary({{"1", u"free"_s}}));
    row("placements: signed key is no plain id", u"cameraPlacements"_s,
        dictionary({{"+1", u"free"_s}}), QVariantMap());
    row("placements: non-string value", u"cameraPlacements"_s,
        dictionary({{"1", u"free"_s}, {"2", 5}}), defaultPlacements);
    row("placements: not a dictionary", u"cameraPlacements"_s, u"free"_s, defaultPlacements);
    row("names: bad keys and empty value", u"customCameraNames"_s,
        dictionary({{"2", u"Nozzle"_s},
                    {"x", u"a"_s},
                    {"3", QString()},
                    {"", u"b"_s},
                    {" 1", u"c"_s},
                    {"1 ", u"d"_s},
                    {"99999999999999999999", u"e"_s}}),
        dictionary({{"2", u"Nozzle"_s}}));
    row("names: one non-string empties all", u"customCameraNames"_s,
        dictionary({{"2", u"Nozzle"_s}, {"3", 5}}), QVariantMap());
    row("names: signed keys", u"customCameraNames"_s,
        dictionary({{"-4", u"minus"_s}, {"+5", u"plus"_s}}),
        dictionary({{"-4", u"minus"_s}, {"5", u"plus"_s}}));
    row("paths: same rules", u"customSnapshotPaths"_s,
        dictionary({{"1", u"snap.jpg"_s}, {"2", QString()}}), dictionary({{"1", u"snap.jpg"_s}}));
    row("rotations: unknown ids and angles dropped", u"cameraRotations"_s,
        dictionary({{"1", u"90"_s}, {"2", u"45"_s}, {"3", u"0"_s}, {"4", u"180"_s}}),
        dictionary({{"1", u"90"_s}}));
    row("rotations: one non-string empties all", u"cameraRotations"_s,
        dictionary({{"1", u"90"_s}, {"2", 180}}), QVariantMap());
    row("mirroring: words", u"cameraMirroring"_s,
        dictionary({{"1", u"both"_s}, {"2", u"Horizontal"_s}, {"3", u"vertical"_s}}),
        dictionary({{"1", u"both"_s}, {"3", u"vertical"_s}}));
    row("frames: empty text kept", u"cameraWindowFrames"_s,
        dictionary({{"1", QString()}, {"y", u"{{1, 2}, {3, 4}}"_s}}), dictionary({{"1", u""_s}}));
}

void SettingsTest::oddValuesAreWrittenBackAsLoaded()
{
    QFETCH(QString, key);
    QFETCH(QVariant, stored);
    QFETCH(QVariant, written);
    MemoryKeyValueStore store({{key, stored}});
    AppSettings s(store);
    s.setPrinterIP(s.printerIP());
    s.setSelectedCameraIDs(s.selectedCameraIDs());
    s.setAlwaysOnTop(s.alwaysOnTop());
    s.setCameraPlacements(s.cameraPlacements());
    s.setCameraWindowFrames(s.cameraWindowFrames());
    s.setHomeKitStatusShortcutName(s.homeKitStatusShortcutName());
    s.setCustomCameraNames(s.customCameraNames());
    s.setCustomSnapshotPaths(s.customSnapshotPaths());
    s.setCameraOrientations(s.cameraOrientations());
    QCOMPARE(store.value(key), written);
}

void SettingsTest::eachOperationWritesOnlyItsOwnKey()
{
    struct Case
    {
        const char *name;
        std::function<void(AppSettings &)> operation;
        QString key;
        QVariant written;
    };
    const QList<Case> cases{
        {"select", [](AppSettings &s) { s.setCameraSelected(3, true); }, u"selectedCameraIDs"_s,
         ids({1, 2, 3})},
        {"deselect all",
         [](AppSettings &s) { s.setCameraSelected(1, false), s.setCameraSelected(2, false); },
         u"selectedCameraIDs"_s, ids({})},
        {"placement", [](AppSettings &s) { s.setPlacement(WindowPlacement::bottomRight, 3); },
         u"cameraPlacements"_s,
         dictionary({{"1", u"free"_s}, {"2", u"topRight"_s}, {"3", u"bottomRight"_s}})},
        {"clear name", [](AppSettings &s) { s.setCustomName(QString(), 2); },
         u"customCameraNames"_s, dictionary({{"3", u"Rolle"_s}})},
        {"no name", [](AppSettings &s) { s.setCustomName(std::nullopt, 3); },
         u"customCameraNames"_s, dictionary({{"2", u"Nozzle"_s}})},
        {"name as catalogue", [](AppSettings &s) { s.setCustomName(u"Übersichtscam"_s, 1); },
         u"customCameraNames"_s,
         dictionary({{"1", u"Übersichtscam"_s}, {"2", u"Nozzle"_s}, {"3", u"Rolle"_s}})},
        {"clear last path", [](AppSettings &s) { s.setCustomSnapshotPath(QString(), 3); },
         u"customSnapshotPaths"_s, dictionary({})},
        {"frames",
         [](AppSettings &s) {
             s.setCameraWindowFrames({{-3, u"f"_s}});
         },
         u"cameraWindowFrames"_s, dictionary({{"-3", u"f"_s}})},
        // An orientation lives under two keys; this one changes the mirroring alone.
        {"orientation",
         [](AppSettings &s) {
             s.setOrientation({90, false, true}, 1);
         },
         u"cameraMirroring"_s, dictionary({{"1", u"vertical"_s}})},
    };
    for (const Case &c : cases) {
        MemoryKeyValueStore store(fullyStored());
        AppSettings settings(store);
        c.operation(settings);

        QVariantMap expected = fullyStored();
        expected.insert(c.key, c.written);
        const QVariantMap actual = store.values();
        QVERIFY2(actual == expected, c.name);
        // Equal as values is not enough: ids must be stored as integers, not texts or fractions.
        for (const QVariant &id : actual.value(u"selectedCameraIDs"_s).toList())
            QCOMPARE(id.metaType().id(), QMetaType::LongLong);
    }
}

// A fresh machine has no settings folder. Reading writes nothing; a burst of changes reaches the
// file once, with its latest value. A file that cannot be read is kept aside before the first
// write replaces it, and only then.
void SettingsTest::fileIsWrittenLateAndKeepsWhatItCannotRead()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"Kestrel/settings.json"_s);
    auto stored = [&] { return QJsonDocument::fromJson(readBytes(path)).object().toVariantMap(); };
    {
        JsonFileKeyValueStore store(path, 50ms);
        QVERIFY(!store.value(u"printerIP"_s).isValid());
        for (const QString &address : {u"127.0.0.2"_s, u"127.0.0.1"_s})
            store.setValue(u"printerIP"_s, address);
        QVERIFY(!QFile::exists(path));
        QTRY_COMPARE_WITH_TIMEOUT(stored(), (QVariantMap{{u"printerIP"_s, u"127.0.0.1"_s}}), 20000);
    }

    // Larger than any settings file Kestrel writes: not even read.
    const QByteArray oversized = R"({"a": ")" + QByteArray(17 << 20, 'x') + R"("})";
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(oversized) == oversized.size());
    file.close();
    JsonFileKeyValueStore store(path);
    QVERIFY(!store.value(u"a"_s).isValid());
    QCOMPARE(readBytes(path), oversized);
    for (const bool onTop : {false, true}) {
        store.setValue(u"alwaysOnTop"_s, onTop);
        store.flush();
        QCOMPARE(readBytes(path + u".corrupt"_s), oversized);
        QCOMPARE(stored(), (QVariantMap{{u"alwaysOnTop"_s, onTop}}));
    }
}

void SettingsTest::camerasAreTakenOverFromThePrinter_data()
{
    QTest::addColumn<HttpReply>("reply");
    QTest::addColumn<QString>("shown");

    const QByteArray three = R"({"result": {"webcams": [
        {"name": "Oben", "snapshot_url": "/webcam/?action=snapshot", "rotation": 0,
         "flip_horizontal": false, "flip_vertical": false},
        {"name": "Düse", "snapshot_url": "http://10.1.1.1/webcam2/snap.jpg", "rotation": 90,
         "flip_horizontal": false, "flip_vertical": true},
        {"name": "Rolle", "snapshot_url": "/webcam3/?action=snapshot", "rotation": 45,
         "flip_horizontal": true},
        {"name": "Vierte", "snapshot_url": "/webcam4/?action=snapshot"}]}})";
    const QString noJson = u"Die Antwort des Druckers ist kein JSON, also keine Kameraliste"_s;
    QTest::newRow("three and one more")
        << HttpReply::content("application/json", three)
        << u"Vom Drucker übernommen: Übersichtscam: „Oben“, /webcam/?action=snapshot, 0°; "
           u"Düsencam: „Düse“, /webcam2/snap.jpg, 90°, vertikal gespiegelt; Filamentcam: "
           u"„Rolle“, /webcam3/?action=snapshot, 0°, horizontal gespiegelt"_s;
    QTest::newRow("empty list") << HttpReply::content("application/json",
                                                      R"({"result": {"webcams": []}})")
                                << u"Auf dem Drucker ist keine Kamera eingetragen"_s;
    QTest::newRow("no such API") << HttpReply::status("HTTP/1.1 404 Not Found")
                                 << u"curl: (22) The requested URL returned error: 404"_s;
    QTest::newRow("HTML") << HttpReply::content("text/html", "<html>Mainsail</html>") << noJson;
    QTest::newRow("malformed JSON")
        << HttpReply::content("application/json", R"({"result": {"webcams": [)") << noJson;
    QTest::newRow("another shape")
        << HttpReply::content("application/json", R"({"result": {"cameras": []}})")
        << u"Die Antwort des Druckers enthält keine Kameraliste (result.webcams)"_s;
}

// Only the first three, in list order; a rotation that is no quarter turn is none; on any
// failure the settings stay as they were.
void SettingsTest::camerasAreTakenOverFromThePrinter()
{
    QFETCH(HttpReply, reply);
    QFETCH(QString, shown);
    LoopbackHttpServer printer;
    printer.setReply(reply);
    MemoryKeyValueStore store({{u"printerIP"_s, printer.address()}});
    AppSettings settings(store);
    const QVariantMap before = store.values();

    QFutureWatcher<QString> watcher;
    QSignalSpy finished(&watcher, &QFutureWatcherBase::finished);
    watcher.setFuture(importWebcams(settings, u"/usr/bin/curl"_s, &watcher));
    QVERIFY(finished.wait(20000));
    QCOMPARE(watcher.result(), shown);
    QCOMPARE(printer.requests().constLast().path, QByteArray("/server/webcams/list"));
    if (!shown.startsWith(u"Vom Drucker"_s)) {
        QCOMPARE(store.values(), before);
        return;
    }
    QCOMPARE(settings.resolvedCamera(cameraCatalogue()[1]).snapshotPath, u"/webcam2/snap.jpg"_s);
    QCOMPARE(store.value(u"customCameraNames"_s),
             dictionary({{"1", u"Oben"_s}, {"2", u"Düse"_s}, {"3", u"Rolle"_s}}));
    QCOMPARE(store.value(u"cameraRotations"_s), dictionary({{"2", u"90"_s}}));
    QCOMPARE(store.value(u"cameraMirroring"_s),
             dictionary({{"2", u"vertical"_s}, {"3", u"horizontal"_s}}));
}

QTEST_GUILESS_MAIN(SettingsTest)
#include "tst_settings.moc"
