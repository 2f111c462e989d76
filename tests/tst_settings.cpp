// SPDX-License-Identifier: GPL-3.0-or-later
#include "LoopbackHttpServer.h"
#include "platform/MemoryKeyValueStore.h"
#include "settings/AppSettings.h"
#include "settings/WebcamImport.h"

#include <QFutureWatcher>
#include <QSignalSpy>
#include <QTest>

#include <functional>

using namespace kestrel;
using namespace Qt::StringLiterals;

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

QString str(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

// A store in which every key holds a usable, non-default value, so a write shows up as a change.
QVariantMap fullyStored()
{
    return {
        {str("printerIP"), str("127.0.0.1:8080")},
        {str("selectedCameraIDs"), ids({1, 2})},
        {str("alwaysOnTop"), true},
        {str("cameraPlacements"), dictionary({{"1", str("free")}, {"2", str("topRight")}})},
        {str("cameraWindowFrames"), dictionary({{"1", str("{{1, 2}, {3, 4}}")}})},
        {str("homeKitAccessoryName"), str("Drucker")},
        {str("homeKitPowerOnSceneName"), str("An")},
        {str("homeKitStatusShortcutName"), str("Status")},
        {str("customCameraNames"), dictionary({{"2", str("Nozzle")}, {"3", str("Rolle")}})},
        {str("customSnapshotPaths"), dictionary({{"3", str("/snap")}})},
        {str("homeKitPowerOffSceneName"), str("Aus")},
        {str("cameraRotations"), dictionary({{"1", str("90")}})},
        {str("cameraMirroring"), dictionary({{"1", str("both")}})},
    };
}

} // namespace

class SettingsTest : public QObject
{
    Q_OBJECT

private slots:
    void loadingFallsBackPerField_data();
    void loadingFallsBackPerField();

    void eachOperationWritesOnlyItsOwnKey();
    void camerasAreTakenOverFromThePrinter_data();
    void camerasAreTakenOverFromThePrinter();
};

// Each row stores one key and names the field as read back, in a comparable text form.
void SettingsTest::loadingFallsBackPerField_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QString>("loaded");

    QTest::newRow("ip: string kept")
        << str("printerIP") << QVariant(str(" 10.0.0.9 ")) << str(" 10.0.0.9 ");
    QTest::newRow("ip: number") << str("printerIP") << QVariant(7)
                                << AppSettings::defaultPrinterIP();
    QTest::newRow("status: bool") << str("homeKitStatusShortcutName") << QVariant(true)
                                  << QString();

    QTest::newRow("top: false") << str("alwaysOnTop") << QVariant(false) << str("false");
    QTest::newRow("top: text") << str("alwaysOnTop") << QVariant(str("false")) << str("true");

    QTest::newRow("selection: duplicates")
        << str("selectedCameraIDs") << ids({3, 1, 3}) << str("1,3");
    QTest::newRow("selection: unknown kept") << str("selectedCameraIDs") << ids({42}) << str("42");
    QTest::newRow("selection: empty") << str("selectedCameraIDs") << ids({}) << str("1");
    QTest::newRow("selection: text element")
        << str("selectedCameraIDs") << QVariant(QVariantList{1, str("2")}) << str("1");

    QTest::newRow("placements: mixed")
        << str("cameraPlacements")
        << dictionary({{"1", str("free")}, {"9", str("topLeft")}, {"2", str("sideways")}})
        << str("1=free");
    QTest::newRow("placements: signed key is no plain id")
        << str("cameraPlacements") << dictionary({{"+1", str("free")}}) << QString();
    QTest::newRow("placements: non-string value")
        << str("cameraPlacements") << dictionary({{"1", str("free")}, {"2", 5}})
        << str("1=topLeft;2=bottomLeft;3=topRight");
    QTest::newRow("placements: not a dictionary")
        << str("cameraPlacements") << QVariant(str("free"))
        << str("1=topLeft;2=bottomLeft;3=topRight");

    QTest::newRow("names: bad keys and empty value")
        << str("customCameraNames")
        << dictionary({{"2", str("Nozzle")},
                       {"x", str("a")},
                       {"3", QString()},
                       {"", str("b")},
                       {" 1", str("c")},
                       {"1 ", str("d")},
                       {"99999999999999999999", str("e")}})
        << str("2=Nozzle");
    QTest::newRow("names: one non-string empties all")
        << str("customCameraNames") << dictionary({{"2", str("Nozzle")}, {"3", 5}}) << QString();
    QTest::newRow("names: signed keys")
        << str("customCameraNames") << dictionary({{"-4", str("minus")}, {"+5", str("plus")}})
        << str("-4=minus;5=plus");
    QTest::newRow("paths: same rules")
        << str("customSnapshotPaths") << dictionary({{"1", str("snap.jpg")}, {"2", QString()}})
        << str("1=snap.jpg");
    QTest::newRow("rotations: unknown ids and angles dropped")
        << str("cameraRotations")
        << dictionary({{"1", str("90")}, {"2", str("45")}, {"3", str("0")}, {"4", str("180")}})
        << str("1=90");
    QTest::newRow("rotations: one non-string empties all")
        << str("cameraRotations") << dictionary({{"1", str("90")}, {"2", 180}}) << QString();
    QTest::newRow("mirroring: words")
        << str("cameraMirroring")
        << dictionary({{"1", str("both")}, {"2", str("Horizontal")}, {"3", str("vertical")}})
        << str("1=0hv;3=0v");
    QTest::newRow("frames: empty text kept")
        << str("cameraWindowFrames")
        << dictionary({{"1", QString()}, {"y", str("{{1, 2}, {3, 4}}")}}) << str("1=");
}

void SettingsTest::loadingFallsBackPerField()
{
    QFETCH(QString, key);
    QFETCH(QVariant, stored);
    QFETCH(QString, loaded);

    MemoryKeyValueStore store({{key, stored}});
    AppSettings settings(store);

    auto texts = [](const CameraTextMap &map) {
        QStringList parts;
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            parts << QString::number(it.key()) + u'=' + it.value();
        return parts.join(u';');
    };
    QString actual;
    if (key == u"printerIP")
        actual = settings.printerIP();
    else if (key == u"homeKitPowerOnSceneName")
        actual = settings.homeKitPowerOnSceneName();
    else if (key == u"homeKitStatusShortcutName")
        actual = settings.homeKitStatusShortcutName();
    else if (key == u"alwaysOnTop")
        actual = settings.alwaysOnTop() ? str("true") : str("false");
    else if (key == u"selectedCameraIDs") {
        QStringList parts;
        for (const CameraId id : settings.selectedCameraIDs())
            parts << QString::number(id);
        actual = parts.join(u',');
    } else if (key == u"cameraPlacements") {
        CameraTextMap raw;
        const PlacementMap placements = settings.cameraPlacements();
        for (auto it = placements.cbegin(); it != placements.cend(); ++it)
            raw.insert(it.key(), rawValue(it.value()));
        actual = texts(raw);
    } else if (key == u"customCameraNames")
        actual = texts(settings.customCameraNames());
    else if (key == u"customSnapshotPaths")
        actual = texts(settings.customSnapshotPaths());
    else if (key == u"cameraWindowFrames")
        actual = texts(settings.cameraWindowFrames());
    else if (key == u"cameraRotations" || key == u"cameraMirroring") {
        CameraTextMap raw;
        const OrientationMap orientations = settings.cameraOrientations();
        for (auto it = orientations.cbegin(); it != orientations.cend(); ++it)
            raw.insert(it.key(), QString::number(it->rotation) +
                                     (it->mirrorHorizontal ? u"h"_s : QString()) +
                                     (it->mirrorVertical ? u"v"_s : QString()));
        actual = texts(raw);
    }
    QCOMPARE(actual, loaded);
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
        {"select", [](AppSettings &s) { s.setCameraSelected(3, true); }, str("selectedCameraIDs"),
         ids({1, 2, 3})},
        {"deselect all",
         [](AppSettings &s) { s.setCameraSelected(1, false), s.setCameraSelected(2, false); },
         str("selectedCameraIDs"), ids({})},
        {"placement", [](AppSettings &s) { s.setPlacement(WindowPlacement::bottomRight, 3); },
         str("cameraPlacements"),
         dictionary({{"1", str("free")}, {"2", str("topRight")}, {"3", str("bottomRight")}})},
        {"clear name", [](AppSettings &s) { s.setCustomName(QString(), 2); },
         str("customCameraNames"), dictionary({{"3", str("Rolle")}})},
        {"no name", [](AppSettings &s) { s.setCustomName(std::nullopt, 3); },
         str("customCameraNames"), dictionary({{"2", str("Nozzle")}})},
        {"name as catalogue", [](AppSettings &s) { s.setCustomName(str("Übersichtscam"), 1); },
         str("customCameraNames"),
         dictionary({{"1", str("Übersichtscam")}, {"2", str("Nozzle")}, {"3", str("Rolle")}})},
        {"clear last path", [](AppSettings &s) { s.setCustomSnapshotPath(QString(), 3); },
         str("customSnapshotPaths"), dictionary({})},
        {"frames",
         [](AppSettings &s) {
             s.setCameraWindowFrames({{-3, str("f")}});
         },
         str("cameraWindowFrames"), dictionary({{"-3", str("f")}})},
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
        for (const QVariant &id : actual.value(str("selectedCameraIDs")).toList())
            QCOMPARE(id.metaType().id(), QMetaType::LongLong);
    }

    // An orientation lives under two keys, and leaves the other cameras' alone.
    MemoryKeyValueStore turned(fullyStored());
    AppSettings(turned).setOrientation({270, false, true}, 2);
    QCOMPARE(turned.value(str("cameraRotations")),
             dictionary({{"1", str("90")}, {"2", str("270")}}));
    QCOMPARE(turned.value(str("cameraMirroring")),
             dictionary({{"1", str("both")}, {"2", str("vertical")}}));

    // A selection loaded with duplicates is written back clean on the next change.
    MemoryKeyValueStore store({{str("selectedCameraIDs"), ids({3, 1, 3})}});
    AppSettings settings(store);
    settings.setCameraSelected(2, false);
    QCOMPARE(store.value(str("selectedCameraIDs")), ids({1, 3}));
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
    QTest::newRow("three and one more")
        << HttpReply::content("application/json", three)
        << str("Vom Drucker übernommen: Übersichtscam: „Oben“, /webcam/?action=snapshot, 0°; "
               "Düsencam: „Düse“, /webcam2/snap.jpg, 90°, vertikal gespiegelt; Filamentcam: "
               "„Rolle“, /webcam3/?action=snapshot, 0°, horizontal gespiegelt");
    QTest::newRow("empty list") << HttpReply::content("application/json",
                                                      R"({"result": {"webcams": []}})")
                                << str("Auf dem Drucker ist keine Kamera eingetragen");
    QTest::newRow("no such API") << HttpReply::status("HTTP/1.1 404 Not Found")
                                 << str("curl: (22) The requested URL returned error: 404");
    QTest::newRow("HTML") << HttpReply::content("text/html", "<html>Mainsail</html>")
                          << str("Die Antwort des Druckers ist kein JSON, also keine Kameraliste");
    QTest::newRow("malformed JSON")
        << HttpReply::content("application/json", R"({"result": {"webcams": [)")
        << str("Die Antwort des Druckers ist kein JSON, also keine Kameraliste");
    QTest::newRow("another shape")
        << HttpReply::content("application/json", R"({"result": {"cameras": []}})")
        << str("Die Antwort des Druckers enthält keine Kameraliste (result.webcams)");
}

// Only the first three, in list order; a rotation that is no quarter turn is none; on any
// failure the settings stay as they were.
void SettingsTest::camerasAreTakenOverFromThePrinter()
{
    QFETCH(HttpReply, reply);
    QFETCH(QString, shown);
    LoopbackHttpServer printer;
    printer.setReply(reply);
    MemoryKeyValueStore store({{str("printerIP"), printer.address()}});
    AppSettings settings(store);
    const QVariantMap before = store.values();

    QFutureWatcher<QString> watcher;
    QSignalSpy finished(&watcher, &QFutureWatcherBase::finished);
    watcher.setFuture(importWebcams(settings, str("/usr/bin/curl"), &watcher));
    QVERIFY(finished.wait(20000));
    QCOMPARE(watcher.result(), shown);
    QCOMPARE(printer.requests().constLast().path, QByteArray("/server/webcams/list"));
    if (!shown.startsWith(u"Vom Drucker"_s)) {
        QCOMPARE(store.values(), before);
        return;
    }
    QCOMPARE(settings.resolvedCamera(cameraCatalogue()[1]).snapshotPath, str("/webcam2/snap.jpg"));
    QCOMPARE(store.value(str("customCameraNames")),
             dictionary({{"1", str("Oben")}, {"2", str("Düse")}, {"3", str("Rolle")}}));
    QCOMPARE(store.value(str("cameraRotations")), dictionary({{"2", str("90")}}));
    QCOMPARE(store.value(str("cameraMirroring")),
             dictionary({{"2", str("vertical")}, {"3", str("horizontal")}}));
}

QTEST_GUILESS_MAIN(SettingsTest)
#include "tst_settings.moc"
