// SPDX-License-Identifier: GPL-3.0-or-later
// The user's settings as they lie on disk: what a broken or odd value becomes, that every change
// writes its own key and leaves the others, the file that holds them, and every input the fuzzers
// keep in tests/fuzz-corpus (seeds, every input that ever broke a check, and the fewest that reach
// every path found: settings files, frame texts, MJPEG stream bodies, camera pictures, the
// printer host's JSON-RPC frames and webcam lists), through the checks the fuzzers apply; a
// violation ends with a crash.
#include "FuzzChecks.h"
#include "Helpers.h"
#include "LoopbackHttpServer.h"
#include "platform/JsonFileKeyValueStore.h"
#include "platform/MemoryKeyValueStore.h"
#include "settings/AppSettings.h"
#include "settings/PrinterSettings.h"
#include "settings/WebcamImport.h"

#include <QDirIterator>
#include <QFile>
#include <QFutureWatcher>
#include <QJsonArray>
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

// A value as JSON text, read as the settings file is read.
QVariant json(const QByteArray &text)
{
    return QJsonDocument::fromJson("[" + text + "]").array().first().toVariant();
}

// A store in which every key holds a usable, non-default value, so a write shows up as a change.
QVariantMap fullyStored()
{
    return json(R"({"printerIP": "127.0.0.1:8080", "selectedCameraIDs": [1, 2], "alwaysOnTop": true,
        "cameraPlacements": {"1": "free", "2": "topRight"},
        "cameraWindowFrames": {"1": "{{1, 2}, {3, 4}}"}, "homeKitAccessoryName": "Drucker",
        "homeKitPowerOnSceneName": "An", "homeKitStatusShortcutName": "Status",
        "customCameraNames": {"2": "Nozzle", "3": "Rolle"}, "customSnapshotPaths": {"3": "/snap"},
        "homeKitPowerOffSceneName": "Aus", "cameraRotations": {"1": "90"},
        "cameraMirroring": {"1": "both"}, "cameraStreamPaths": {"2": "/webcam2/?action=stream"}})")
        .toMap();
}

// This process's memory, now or at its peak, in MB.
qint64 residentMb(const QByteArray &field)
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(field + ':'))
            return line.mid(field.size() + 1).trimmed().split(' ').first().toLongLong() / 1024;
    }
    return -1;
}

// Linux keeps a process's peak memory until told to start counting afresh; returns the memory
// it starts from.
qint64 restartPeakResident()
{
    QFile clear(u"/proc/self/clear_refs"_s);
    return clear.open(QIODevice::WriteOnly) && clear.write("5") == 1 ? residentMb("VmRSS") : -1;
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

private:
    static void rewriteEveryKey(PrinterSettings &s);

private slots:
    void oddValuesAreWrittenBackAsLoaded_data();
    void oddValuesAreWrittenBackAsLoaded();
    void eachOperationWritesOnlyItsOwnKey();
    void printersShareOneFile_data();
    void printersShareOneFile();
    void fileIsWrittenLateAndKeepsWhatItCannotRead();
    void camerasAreTakenOverFromThePrinter_data();
    void camerasAreTakenOverFromThePrinter();
    void fuzzInputsStillPass_data();
    void fuzzInputsStillPass();
};

// Each row stores one key as a person or an older version may have left it, and gives what the
// settings write back for it: the value as loaded, with the unusable parts dropped or replaced.
void SettingsTest::oddValuesAreWrittenBackAsLoaded_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QVariant>("written");
    // Row, key, the value as stored, the value as written back; both as JSON.
    for (const QStringList &row : test::tableRows(uR"(
ip: blanks kept | printerIP | " 10.0.0.9 " | " 10.0.0.9 "
ip: number | printerIP | 7 | "192.168.178.50"
status: bool | homeKitStatusShortcutName | true | ""
top: false | alwaysOnTop | false | false
top: text | alwaysOnTop | "false" | true
selection: duplicates | selectedCameraIDs | [3, 1, 3] | [1, 3]
selection: unknown kept | selectedCameraIDs | [42] | [42]
selection: empty | selectedCameraIDs | [] | [1]
selection: text element | selectedCameraIDs | [1, "2"] | [1]
selection: fraction | selectedCameraIDs | [1.5] | [1]
placements: mixed | cameraPlacements | {"1": "free", "9": "topLeft", "2": "side"} | {"1": "free"}
placements: signed key is no plain id | cameraPlacements | {"+1": "free"} | {}
placements: non-string value | cameraPlacements | {"1": "free", "2": 5} | {"1": "topLeft", "2": "bottomLeft", "3": "topRight"}
placements: not a dictionary | cameraPlacements | "free" | {"1": "topLeft", "2": "bottomLeft", "3": "topRight"}
names: bad keys, empty value | customCameraNames | {"2": "N", "x": "a", "3": "", "": "b", " 1": "c", "1 ": "d", "99999999999999999999": "e"} | {"2": "N"}
names: one non-string empties all | customCameraNames | {"2": "Nozzle", "3": 5} | {}
names: signed keys | customCameraNames | {"-4": "minus", "+5": "plus"} | {"-4": "minus", "5": "plus"}
paths: same rules | customSnapshotPaths | {"1": "snap.jpg", "2": ""} | {"1": "snap.jpg"}
streams: same rules | cameraStreamPaths | {"1": "/webcam/?action=stream", "2": "", "x": "/s"} | {"1": "/webcam/?action=stream"}
streams: one non-string empties all | cameraStreamPaths | {"1": "/s", "2": true} | {}
rotations: unknown ids and angles dropped | cameraRotations | {"1": "90", "2": "45", "3": "0", "4": "180"} | {"1": "90"}
rotations: one non-string empties all | cameraRotations | {"1": "90", "2": 180} | {}
mirroring: words | cameraMirroring | {"1": "both", "2": "Horizontal", "3": "vertical"} | {"1": "both", "3": "vertical"}
frames: empty text kept | cameraWindowFrames | {"1": "", "y": "{{1, 2}, {3, 4}}"} | {"1": ""}
    )"_s))
        QTest::newRow(qPrintable(row[0]))
            << row[1] << json(row[2].toUtf8()) << json(row[3].toUtf8());
}

// Every row holds for the first printer at the top level and, but for the global options, for a
// further printer's entry in the array as well.
void SettingsTest::oddValuesAreWrittenBackAsLoaded()
{
    QFETCH(QString, key);
    QFETCH(QVariant, stored);
    QFETCH(QVariant, written);
    const bool global = key == u"alwaysOnTop";
    for (const bool inEntry : {false, true}) {
        if (inEntry && global)
            continue;
        MemoryKeyValueStore store(
            inEntry
                ? QVariantMap{{AppSettings::additionalPrintersKey,
                               QVariantList{QVariantMap{{u"printerID"_s, u"p"_s}, {key, stored}}}}}
                : QVariantMap{{key, stored}});
        AppSettings app(store);
        app.setAlwaysOnTop(app.alwaysOnTop());
        rewriteEveryKey(inEntry ? *app.printer(u"p"_s) : app.firstPrinter());
        const QVariant entry = store.value(AppSettings::additionalPrintersKey).toList().value(0);
        QCOMPARE((inEntry ? entry.toMap() : store.values()).value(key), written);
    }
}

void SettingsTest::rewriteEveryKey(PrinterSettings &s)
{
    s.setPrinterIP(s.printerIP());
    s.setSelectedCameraIDs(s.selectedCameraIDs());
    s.setCameraPlacements(s.cameraPlacements());
    s.setCameraWindowFrames(s.cameraWindowFrames());
    s.setHomeKitStatusShortcutName(s.homeKitStatusShortcutName());
    s.setCustomCameraNames(s.customCameraNames());
    s.setCustomSnapshotPaths(s.customSnapshotPaths());
    s.setCameraStreamPaths(s.cameraStreamPaths());
    s.setCameraOrientations(s.cameraOrientations());
}

void SettingsTest::eachOperationWritesOnlyItsOwnKey()
{
    struct Case
    {
        const char *name;
        std::function<void(PrinterSettings &)> operation;
        QString key;
        QVariant written;
    };
    const QList<Case> cases{
        {"select", [](PrinterSettings &s) { s.setCameraSelected(3, true); }, u"selectedCameraIDs"_s,
         json("[1, 2, 3]")},
        {"deselect all",
         [](PrinterSettings &s) { s.setCameraSelected(1, false), s.setCameraSelected(2, false); },
         u"selectedCameraIDs"_s, json("[]")},
        {"placement", [](PrinterSettings &s) { s.setPlacement(WindowPlacement::bottomRight, 3); },
         u"cameraPlacements"_s, json(R"({"1": "free", "2": "topRight", "3": "bottomRight"})")},
        {"clear name", [](PrinterSettings &s) { s.setCustomName(QString(), 2); },
         u"customCameraNames"_s, json(R"({"3": "Rolle"})")},
        {"clear last path", [](PrinterSettings &s) { s.setCustomSnapshotPath(std::nullopt, 3); },
         u"customSnapshotPaths"_s, json("{}")},
        {"stream", [](PrinterSettings &s) { s.setStreamPath(u"/stream"_s, 1); },
         u"cameraStreamPaths"_s, json(R"({"1": "/stream", "2": "/webcam2/?action=stream"})")},
        // An orientation lives under two keys; this one changes the mirroring alone.
        {"orientation",
         [](PrinterSettings &s) {
             s.setOrientation({90, false, true}, 1);
         },
         u"cameraMirroring"_s, json(R"({"1": "vertical"})")},
    };
    for (const Case &c : cases) {
        MemoryKeyValueStore store(fullyStored());
        PrinterSettings settings(store);
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

void SettingsTest::printersShareOneFile_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QVariant>("written"); // the whole store, with ids given by Kestrel as "new"
    const QByteArray three = R"({"printerName": "Voron", "printerIP": "127.0.0.1:1",
        "additionalPrinters": [{"printerID": "a", "printerName": "Prusa", "printerIP": "127.0.0.1:2"},
                               {"printerID": "b", "printerIP": "127.0.0.1:3"}]})";
    const auto row = [](const char *name, const QByteArray &stored, const QString &operation,
                        const QString &names, const QByteArray &written) {
        QTest::newRow(name) << json(stored) << operation << names.split(u',')
                            << json(written.isEmpty() ? stored : written);
    };
    row("today's file", R"({"printerIP": "127.0.0.1:1", "selectedCameraIDs": [2]})", u"-"_s,
        u"127.0.0.1:1"_s, {});
    row("three printers", three, u"-"_s, u"Voron,Prusa,127.0.0.1:3"_s, {});
    row("a name for the third", three, u"rename b"_s, u"Voron,Prusa,Mini"_s,
        R"({"printerName": "Voron", "printerIP": "127.0.0.1:1",
        "additionalPrinters": [{"printerID": "a", "printerName": "Prusa", "printerIP": "127.0.0.1:2"},
            {"printerID": "b", "printerIP": "127.0.0.1:3", "printerName": "Mini"}]})");
    row("broken entries kept", R"({"printerIP": "127.0.0.1:1", "additionalPrinters":
        [5, "x", null, {"printerName": 7, "printerIP": "127.0.0.1:2", "selectedCameraIDs": "1"}, [1]]})",
        u"-"_s, u"127.0.0.1:1,127.0.0.1:2"_s, R"({"printerIP": "127.0.0.1:1", "additionalPrinters":
        [5, "x", null, {"printerName": 7, "printerIP": "127.0.0.1:2", "selectedCameraIDs": "1",
        "printerID": "new"}, [1]]})");
    row("unknown keys kept", R"({"printerIP": "127.0.0.1:1", "additionalPrinters":
        [{"printerID": "b", "future": {"x": [1]}, "printerIP": "127.0.0.1:2"}]})",
        u"rename b"_s, u"127.0.0.1:1,Mini"_s, R"({"printerIP": "127.0.0.1:1", "additionalPrinters":
        [{"printerID": "b", "future": {"x": [1]}, "printerIP": "127.0.0.1:2", "printerName": "Mini"}]})");
    row("one id twice", R"({"printerIP": "127.0.0.1:1", "additionalPrinters":
        [{"printerID": "a"}, {"printerID": "a", "printerName": "Zwei"}]})",
        u"-"_s, u"127.0.0.1:1,192.168.178.50,Zwei"_s,
        R"({"printerIP": "127.0.0.1:1", "additionalPrinters":
        [{"printerID": "a"}, {"printerID": "new", "printerName": "Zwei"}]})");
    row("one printer written as no list",
        R"({"printerIP": "127.0.0.1:1", "additionalPrinters": {"printerName": "Prusa"}})", u"-"_s,
        u"127.0.0.1:1,Prusa"_s, R"({"printerIP": "127.0.0.1:1", "additionalPrinters":
        [{"printerName": "Prusa", "printerID": "new"}]})");
    row("added to what is no list", R"({"printerIP": "127.0.0.1:1", "additionalPrinters": 5})",
        u"add"_s, u"127.0.0.1:1,Neu"_s, R"({"printerIP": "127.0.0.1:1", "additionalPrinters":
        [5, {"printerID": "new", "printerName": "Neu", "printerIP": ""}]})");
    row("removed", three, u"remove a"_s, u"Voron,127.0.0.1:3"_s,
        R"({"printerName": "Voron", "printerIP": "127.0.0.1:1",
        "additionalPrinters": [{"printerID": "b", "printerIP": "127.0.0.1:3"}]})");
    row("the first stays", three, u"remove "_s, u"Voron,Prusa,127.0.0.1:3"_s, {});
}

// The top level stays the first printer as it always was; each further printer is one entry of
// the array, found by its id, and whatever else the array or an entry holds is written back as
// it was read.
void SettingsTest::printersShareOneFile()
{
    QFETCH(QVariant, stored);
    QFETCH(QString, operation);
    QFETCH(QStringList, names);
    QFETCH(QVariant, written);
    MemoryKeyValueStore store(stored.toMap());
    AppSettings settings(store);
    const QStringList words = operation.split(u' ');
    if (words[0] == u"rename")
        settings.printer(words[1])->setPrinterName(u"Mini"_s);
    else if (words[0] == u"add")
        QCOMPARE(settings.addPrinter(u"Neu"_s).printerName(), u"Neu"_s);
    else if (words[0] == u"remove")
        settings.removePrinter(words[1]);
    QStringList shown;
    for (const PrinterSettings *printer : settings.printers())
        shown.append(printer->displayName());
    QCOMPARE(shown, names);

    // An id that no entry had before was given by Kestrel.
    const QString key = AppSettings::additionalPrintersKey;
    const QVariantList before = stored.toMap().value(key).toList();
    QVariantMap actual = store.values();
    QVariantList entries = actual.value(key).toList();
    for (QVariant &entry : entries) {
        QVariantMap object = entry.toMap();
        const QVariant id = object.value(u"printerID"_s);
        if (id.isValid() && std::none_of(before.cbegin(), before.cend(), [&](const QVariant &old) {
                return old.toMap().value(u"printerID"_s) == id;
            })) {
            object.insert(u"printerID"_s, u"new"_s);
            entry = object;
        }
    }
    if (actual.contains(key))
        actual.insert(key, entries);
    QCOMPARE(QJsonDocument(QJsonObject::fromVariantMap(actual)).toJson(),
             QJsonDocument(QJsonObject::fromVariantMap(written.toMap())).toJson());
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
    // It may hold an API key: only its owner reads it, also where an older file let others.
    const auto ownerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
    QCOMPARE(QFile::permissions(path) & ~(QFileDevice::ReadUser | QFileDevice::WriteUser),
             ownerOnly);

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
        QCOMPARE(QFile::permissions(path) & ~(QFileDevice::ReadUser | QFileDevice::WriteUser),
                 ownerOnly);
        QVERIFY(QFile::setPermissions(path,
                                      ownerOnly | QFileDevice::ReadGroup | QFileDevice::ReadOther));
    }
}

void SettingsTest::camerasAreTakenOverFromThePrinter_data()
{
    QTest::addColumn<HttpReply>("reply");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<QByteArray>("changed"); // the keys written, as JSON; the others stay

    // PRINTER stands for the printer address: a whole address on it is as good as a path.
    const QByteArray three = R"({"result": {"webcams": [
        {"name": "Oben", "snapshot_url": "/webcam/?action=snapshot", "rotation": 0,
         "flip_horizontal": false, "flip_vertical": false,
         "stream_url": "/webcam/?action=stream", "service": "mjpegstreamer"},
        {"name": "Düse", "snapshot_url": "http://192.168.178.60:8080/?action=snapshot",
         "rotation": 90, "flip_horizontal": false, "flip_vertical": true},
        {"name": "Rolle", "snapshot_url": "http://PRINTER/webcam3/snap.jpg", "rotation": 45,
         "flip_horizontal": true, "stream_url": "http://10.1.1.1:8081/s", "service": "uv4l-mjpeg"},
        {"name": "Vierte", "snapshot_url": "/webcam4/?action=snapshot"}]}})";
    QTest::newRow("three and one more")
        << HttpReply::content("application/json", three)
        << u"Vom Drucker übernommen: Übersichtscam: „Oben“, /webcam/?action=stream, "
           u"Live-Stream, 0°; Filamentcam: „Rolle“, /webcam3/snap.jpg, 0°, horizontal gespiegelt\n"
           u"Düsencam: Adresse auf einem anderen Host (192.168.178.60:8080), nicht übernommen\n"
           u"Filamentcam: Stream auf einem anderen Host (10.1.1.1:8081), zeigt Einzelbilder"_s
        << QByteArray(R"({"customCameraNames": {"1": "Oben", "3": "Rolle"},
               "customSnapshotPaths": {"1": "/webcam/?action=snapshot", "3": "/webcam3/snap.jpg"},
               "cameraRotations": {}, "cameraMirroring": {"3": "horizontal"},
               "cameraStreamPaths": {"1": "/webcam/?action=stream"}})");
    QTest::newRow("WebRTC's MJPEG beside it")
        << HttpReply::content("application/json", R"({"result": {"webcams": [
               {"name": "Oben", "snapshot_url": "/webcam/snapshot",
                "stream_url": "http://PRINTER/webcam/webrtc", "service": "webrtc-camerastreamer"},
               {"name": "HLS", "snapshot_url": "/webcam2/snapshot", "stream_url": "/webcam2/hls",
                "service": "hlsstream"}]}})")
        << u"Vom Drucker übernommen: Übersichtscam: „Oben“, /webcam/stream, Live-Stream, 0°; "
           u"Düsencam: „HLS“, /webcam2/snapshot, 0°\n"
           u"Düsencam: Dienst hlsstream, zeigt Einzelbilder"_s
        << QByteArray(R"({"customCameraNames": {"1": "Oben", "2": "HLS"}, "cameraRotations": {},
               "customSnapshotPaths": {"1": "/webcam/snapshot", "2": "/webcam2/snapshot"},
               "cameraMirroring": {}, "cameraStreamPaths": {"1": "/webcam/stream"}})");
    QTest::newRow("key refused")
        << HttpReply{.statusLine = "HTTP/1.1 401 Unauthorized",
                     .contentType = "application/json",
                     .body = R"({"error": {"code": 401, "message": "Unauthorized"}})"}
        << u"Nicht autorisiert – API-Schlüssel in den Einstellungen eintragen"_s
        << QByteArray("{}");
    QTest::newRow("only another host")
        << HttpReply::content("application/json", R"({"result": {"webcams": [
               {"name": "Oben", "snapshot_url": "http://10.1.1.1/snap.jpg"}]}})")
        << u"Übersichtscam: Adresse auf einem anderen Host (10.1.1.1), nicht übernommen"_s
        << QByteArray("{}");
    // 200 MB that announce no length: curl cannot refuse it up front, Kestrel stops it.
    auto sent = std::make_shared<int>(0);
    QTest::newRow("200 MB") << HttpReply{.contentType = "application/json",
                                         .pieces =
                                             [sent] {
                                                 return ++*sent > 3200 ? QByteArray()
                                                                       : QByteArray(64 * 1024, ' ');
                                             }}
                            << u"Ausgabe von curl zu groß (über 1 MB)"_s << QByteArray("{}");
    QTest::newRow("empty list") << HttpReply::content("application/json",
                                                      R"({"result": {"webcams": []}})")
                                << u"Auf dem Drucker ist keine Kamera eingetragen"_s
                                << QByteArray("{}");
    QTest::newRow("no such API") << HttpReply::status("HTTP/1.1 404 Not Found")
                                 << u"curl: (22) The requested URL returned error: 404"_s
                                 << QByteArray("{}");
    QTest::newRow("HTML") << HttpReply::content("text/html", "<html>Mainsail</html>")
                          << u"Die Antwort des Druckers ist kein JSON, also keine Kameraliste"_s
                          << QByteArray("{}");
    QTest::newRow("another shape")
        << HttpReply::content("application/json", R"({"result": {"cameras": []}})")
        << u"Die Antwort des Druckers enthält keine Kameraliste (result.webcams)"_s
        << QByteArray("{}");
}

// Only the first three, in list order, and only addresses on the printer address; a rotation
// that is no quarter turn is none; only MJPEG streamers' streams; on any failure the settings
// stay as they were, and a list without end costs no more memory than a picture may.
void SettingsTest::camerasAreTakenOverFromThePrinter()
{
    QFETCH(HttpReply, reply);
    QFETCH(QString, shown);
    QFETCH(QByteArray, changed);
    LoopbackHttpServer printer;
    reply.body.replace("PRINTER", printer.address().toUtf8());
    printer.setReply(reply);
    // A key with a quote and a backslash, as curl's configuration must escape them.
    MemoryKeyValueStore store(
        {{u"printerIP"_s, printer.address()}, {u"printerApiKey"_s, u"k\"e\\y \n"_s}});
    PrinterSettings settings(store);
    QVariantMap expected = store.values();
    expected.insert(json(changed).toMap());
    const qint64 residentBefore = restartPeakResident();
    QVERIFY(residentBefore > 0);

    QFutureWatcher<WebcamTakeOver> watcher;
    QSignalSpy finished(&watcher, &QFutureWatcherBase::finished);
    watcher.setFuture(importWebcams(settings, u"/usr/bin/curl"_s, &watcher));
    QVERIFY(finished.wait(20000));
    QCOMPARE(watcher.result().message(), shown);
    QCOMPARE(printer.requests().constLast().path, QByteArray("/server/webcams/list"));
    QCOMPARE(printer.requests().constLast().headers.value("x-api-key"), QByteArray("k\"e\\y"));
    // Growth, not the whole: a sanitized build starts far higher.
    const qint64 growth = residentMb("VmHWM") - residentBefore;
    QVERIFY2(growth < 50, qPrintable(u"%1 MB more at the peak"_s.arg(growth)));
    QCOMPARE(store.values(), expected);
}

void SettingsTest::fuzzInputsStillPass_data()
{
    QTest::addColumn<QString>("path");
    QDirIterator files(QStringLiteral(KESTREL_FUZZ_CORPUS), QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QFileInfo file(files.next());
        QTest::newRow(qPrintable(file.dir().dirName() + u'/' + file.fileName())) << file.filePath();
    }
}

// A settings document also goes through the real file: loading never fails, a file that cannot
// be read is kept aside byte for byte before the first write, and what is written is whole.
void SettingsTest::fuzzInputsStillPass()
{
    QFETCH(QString, path);
    const QByteArray bytes = readBytes(path);
    const QString target = QFileInfo(path).dir().dirName();
    if (target == u"mjpeg") {
        fuzz::checkMjpegStream(bytes);
        return;
    }
    if (target == u"picture") {
        fuzz::checkPicture(bytes);
        return;
    }
    if (target == u"print_status") {
        fuzz::checkPrintStatusFrames(bytes);
        return;
    }
    if (target == u"webcam_list") {
        fuzz::checkWebcamList(bytes);
        return;
    }
    if (target != u"settings") {
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

QTEST_GUILESS_MAIN(SettingsTest)
#include "tst_settings.moc"
