// SPDX-License-Identifier: GPL-3.0-or-later
// The printer wall against demo printers of its own: tiles by name in the printers' order, each
// order the bar offers, offline printers hidden, a click that brings the camera up as a floating
// window, and the wall's choices read back as the next start finds them.
#include "DemoPrinter.h"
#include "FakeTool.h"
#include "app/CameraViews.h"
#include "camera/PrintLineLabel.h"
#include "camera/SnapshotStreamView.h"
#include "platform/MemoryKeyValueStore.h"
#include "printers/PrinterList.h"
#include "settings/AppSettings.h"
#include "stream/PictureSource.h"
#include "wall/WallTile.h"
#include "wall/WallWindow.h"
#include "windows/CameraWindow.h"
#include "windows/WindowCoordinator.h"

#include <QCheckBox>
#include <QComboBox>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrel;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

QStringList tileNames(const WallWindow &wall)
{
    QStringList names;
    for (const WallTile *tile : wall.shownTiles())
        names << tile->accessibleName();
    return names;
}

void choose(WallWindow &wall, const QString &choiceName, const QString &text)
{
    for (QComboBox *choice : wall.findChildren<QComboBox *>()) {
        if (choice->accessibleName() == choiceName) {
            choice->setCurrentIndex(choice->findText(text));
            emit choice->activated(choice->currentIndex());
        }
    }
}

} // namespace

class WallTest : public QObject
{
    Q_OBJECT

private slots:
    void urgencyGoesFromErrorsToOffline();
    void theWallFollowsItsPrinters();
};

// Where the wall's "Zustand" puts each state: what needs the user first, offline last whatever
// the host said before.
void WallTest::urgencyGoesFromErrorsToOffline()
{
    using State = PrintStatus::State;
    const QList<TileFacts> facts{{State::standby},  {State::printing, false, 600},
                                 {State::complete}, {State::shutdown},
                                 {State::paused},   {State::printing, true, 60},
                                 {State::error},    {State::printing, false, 60}};
    QCOMPARE(arrangeTiles(facts, WallOrder::state, false),
             (QList<qsizetype>{3, 6, 4, 1, 7, 2, 0, 5}));
    QCOMPARE(arrangeTiles(facts, WallOrder::timeLeft, false),
             (QList<qsizetype>{7, 1, 4, 0, 2, 3, 5, 6}));
    QCOMPARE(arrangeTiles(facts, WallOrder::printers, true),
             (QList<qsizetype>{0, 1, 2, 3, 4, 6, 7}));
}

// Voron prints longest and Prusa shortest; Ender's camera fails. Prusa's plug goes off mid-print.
void WallTest::theWallFollowsItsPrinters()
{
    const QString demo = QStringLiteral(KESTREL_DEMO_PRINTER_PATH);
    const auto start = [&](const char *seconds, QStringList more = {}) {
        return std::make_unique<test::DemoPrinter>(demo, QStringList{u"--boot-ms"_s, u"100"_s,
                                                                     u"--print-seconds"_s,
                                                                     QString::fromLatin1(seconds)} +
                                                             more);
    };
    const auto voron = start("600"), prusa = start("60"), ender = start("200");
    QVERIFY(!voron->address().isEmpty() && !prusa->address().isEmpty() &&
            !ender->address().isEmpty());
    const auto entry = [](const char *id, const char *name, const QString &address) {
        return QVariantMap{{u"printerID"_s, QString::fromLatin1(id)},
                           {u"printerName"_s, QString::fromLatin1(name)},
                           {u"printerIP"_s, address}};
    };
    MemoryKeyValueStore store(QVariantMap{{u"printerName"_s, u"Voron"_s},
                                          {u"printerIP"_s, voron->address()},
                                          {u"selectedCameraIDs"_s, QVariantList{2}},
                                          {AppSettings::additionalPrintersKey,
                                           QVariantList{entry("p2", "Prusa", prusa->address()),
                                                        entry("p3", "Ender", ender->address())}}});
    QTemporaryDir tools;
    AppSettings settings(store);
    PrinterList printers(settings, {.shortcuts = tools.filePath(u"none"_s), .sceneRunner = {}},
                         nullptr, {.probeInterval = 200ms});
    WindowCoordinator coordinator(printers, cameraWindowViews(settings));
    auto wall = std::make_unique<WallWindow>(printers, coordinator);
    wall->resize(1100, 900);
    wall->show();

    // The first printer shows its first selected camera, the others camera 1.
    QCOMPARE(tileNames(*wall), (QStringList{u"Voron · Düsencam"_s, u"Prusa · Übersichtscam"_s,
                                            u"Ender · Übersichtscam"_s}));
    for (const WallTile *tile : wall->shownTiles()) {
        const auto *picture = tile->findChild<SnapshotStreamView *>();
        QTRY_VERIFY_WITH_TIMEOUT(!picture->source().image().isNull(), 20000);
        QTRY_VERIFY_WITH_TIMEOUT(tile->facts().secondsLeft, 20000);
        QVERIFY(tile->accessibleDescription().startsWith(u"Druckt · "_s));
    }
    const QImage shot = wall->grab().toImage();
    shot.save(u"printer-wall.png"_s);
    // A picture's corners are rounded off in the tile's colour, and only the corners.
    const auto *view = wall->shownTiles().first()->findChild<SnapshotStreamView *>();
    const QRect picture(view->mapTo(wall.get(), QPoint()), view->size());
    const QColor card = shot.pixelColor(picture.topLeft() - QPoint(2, 2));
    for (const QPoint corner : {picture.topLeft(), picture.topRight(), picture.bottomLeft(),
                                picture.bottomRight()})
        QCOMPARE(shot.pixelColor(corner), card);
    QVERIFY(shot.pixelColor(picture.topLeft() + QPoint(4, 4)) != card);
    QVERIFY(shot.pixelColor(picture.bottomRight() - QPoint(4, 4)) != card);
    // New figures come paced, but they come: Voron's percentage moves on within a few seconds.
    const auto *line = wall->shownTiles().first()->findChild<PrintLineLabel *>();
    const QString figures = line->text();
    QTRY_VERIFY_WITH_TIMEOUT(line->text() != figures, 20000);

    choose(*wall, u"Sortierung"_s, u"Restzeit"_s);
    QTRY_COMPARE_WITH_TIMEOUT(tileNames(*wall).join(u'|'),
                              u"Prusa · Übersichtscam|Ender · Übersichtscam|Voron · Düsencam"_s,
                              5000);

    QVERIFY(prusa->switchPower(false));
    choose(*wall, u"Sortierung"_s, u"Zustand"_s);
    QTRY_COMPARE_WITH_TIMEOUT(tileNames(*wall).join(u'|'),
                              u"Voron · Düsencam|Ender · Übersichtscam|Prusa · Übersichtscam"_s,
                              20000);
    QTRY_VERIFY_WITH_TIMEOUT(
        wall->shownTiles().last()->accessibleDescription().startsWith(u"Raspberry Pi offline"_s),
        20000);
    wall->findChild<QCheckBox *>()->click(); // "Offline ausblenden"
    QCOMPARE(tileNames(*wall).size(), 2);

    // A click brings the tile's camera up as a window of its own, joining the selection.
    settings.firstPrinter().setWallCamera(3);
    WallTile *voronTile = wall->shownTiles().first();
    QTRY_COMPARE(voronTile->accessibleName(), u"Voron · Filamentcam"_s);
    QTest::mouseClick(voronTile, Qt::LeftButton);
    QVERIFY(coordinator.window(3));
    QCOMPARE(settings.firstPrinter().selectedCameraIDs(), (CameraIdSet{2, 3}));

    settings.removePrinter(u"p3"_s); // Ender goes, and its tile with it
    QCOMPARE(tileNames(*wall), QStringList{u"Voron · Filamentcam"_s});

    // The next start finds the wall as it was left.
    choose(*wall, u"Bilder pro Sekunde"_s, u"5"_s);
    wall->closeForQuit();
    QVERIFY(settings.wall().isOpen());
    wall.reset();
    const AppSettings again(store);
    QCOMPARE(again.wall().order(), WallOrder::state);
    QVERIFY(again.wall().hidesOffline());
    QCOMPARE(again.wall().picturesPerSecond(), 5.0);
    QCOMPARE(again.firstPrinter().wallCamera(), 3);
}

QTEST_MAIN(WallTest)
#include "tst_wall.moc"
