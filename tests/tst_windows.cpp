// SPDX-License-Identifier: GPL-3.0-or-later
#include "CameraApp.h"
#include "stream/CameraWindowView.h"
#include "windows/CameraWindow.h"
#include "windows/ScreenFrames.h"
#include "windows/WindowCoordinator.h"
#include "windows/WindowGeometry.h"

#include <QApplication>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace kestrel;
using namespace kestrel::windowGeometry;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using P = WindowPlacement;

namespace {

using test::CameraApp;
const auto ids = test::idList;

QPointF originOf(const QWidget *window)
{
    return screenFrames::frame(window).topLeft(); // our x, y: the lower-left corner
}

} // namespace

class WindowsTest : public QObject
{
    Q_OBJECT

public:
    // Exact positions need a known screen: 1440 x 900, and windows without frame margins (the
    // real frames are the X11 test's business).
    static void initMain()
    {
        qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" KESTREL_OFFSCREEN_CONFIG);
    }

private slots:
    // Geometry
    void workedExampleAndWrappingRow();

    // Coordinator
    void startOpensTheSelectionInOrderAndLaysOut();
    void closingDeselectsAndSavesTheFrame();
    void savedFrameOnlyForFreeCornersSnapBack();
};

void WindowsTest::workedExampleAndWrappingRow()
{
    const QRectF area(0, 25, 1440, 850);
    QList<LayoutWindow> windows;
    for (CameraId id : {3, 1, 4, 2}) // the order given does not matter, ids do
        windows.append({id, QSizeF(420, 308), P::topLeft});
    const auto origins = layoutCornerWindows(windows, area);
    QCOMPARE(origins, (QList<std::pair<CameraId, QPointF>>{
                          {1, {24, 543}}, {2, {462, 543}}, {3, {900, 543}}, {4, {24, 217}}}));

    // The same on the right and at the bottom: rows grow from their corner.
    windows = {{1, QSizeF(420, 308), P::bottomRight}, {2, QSizeF(420, 100), P::bottomRight}};
    QCOMPARE(layoutCornerWindows(windows, area),
             (QList<std::pair<CameraId, QPointF>>{{1, {996, 49}}, {2, {558, 49}}}));

    // A window wider than the screen stands alone, one gap below its anchor; every further one
    // gets its own row.
    const QList<LayoutWindow> wide{{1, QSizeF(1400, 300), P::topLeft},
                                   {2, QSizeF(1400, 300), P::bottomRight},
                                   {3, QSizeF(1400, 200), P::topLeft}};
    QCOMPARE(layoutCornerWindows(wide, area),
             (QList<std::pair<CameraId, QPointF>>{{1, {24, 851 - 18 - 300}},
                                                  {3, {24, 851 - 18 - 300 - 18 - 200}},
                                                  {2, {1416 - 1400, 49 + 18}}}));
}

void WindowsTest::startOpensTheSelectionInOrderAndLaysOut()
{
    CameraApp app({{u"selectedCameraIDs"_s, ids({3, 1})},
                   {u"cameraRotations"_s, QVariantMap{{u"3"_s, u"90"_s}}}});
    auto coordinator = app.start();
    QCOMPARE(coordinator->openCameraIDs(), (QList<CameraId>{1, 3}));
    CameraWindow *one = coordinator->window(1);
    CameraWindow *three = coordinator->window(3);
    QCOMPARE(one->windowTitle(), u"Übersichtscam"_s);
    QVERIFY(one->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    QCOMPARE(one->geometry().size(), initialContentSize.toSize());
    // Turned 90°, camera 3 stands upright, as narrow as a camera window may be.
    QCOMPARE(three->geometry().size(), QSize(320, 420));

    // Default placements: 1 top left, 3 top right.
    QCOMPARE(screenFrames::visibleFrame(), QRectF(0, 0, 1440, 900));
    const auto origins = layoutCornerWindows(
        {{1, initialContentSize, P::topLeft}, {3, QSizeF(320, 420), P::topRight}},
        screenFrames::visibleFrame());
    QCOMPARE(origins[0].second, QPointF(24, 900 - 24 - 280));
    QCOMPARE(originOf(one), origins[0].second);
    QCOMPARE(originOf(three), origins[1].second);
    QVERIFY(qobject_cast<CameraWindowView *>(one->content()));
}

// The user's close and a deselection in the settings each give up that camera alone, once, and
// keep its frame; cameras Kestrel does not know stay selected.
void WindowsTest::closingDeselectsAndSavesTheFrame()
{
    CameraApp app({{u"selectedCameraIDs"_s, ids({1, 2, 3, 42})},
                   {u"cameraPlacements"_s,
                    QVariantMap{{u"1"_s, u"bottomLeft"_s}, {u"2"_s, u"bottomLeft"_s}}}});
    auto coordinator = app.start();
    QPointer<CameraWindow> one = coordinator->window(1);
    CameraWindow *two = coordinator->window(2);
    const QRectF frame = screenFrames::frame(one);
    const QPointF secondBefore = originOf(two);
    QSignalSpy selections(&app.settings, &AppSettings::selectedCameraIDsWillChange);

    one->close(); // as the title bar's close button does
    QCOMPARE(app.store.value(u"selectedCameraIDs"_s), ids({2, 3, 42}));
    QCOMPARE(coordinator->openCameraIDs(), (QList<CameraId>{2, 3}));
    QVERIFY(originOf(two) != secondBefore); // laid out again: now first in its corner
    QTRY_VERIFY(one.isNull());              // and the closed window is gone
    QTRY_COMPARE(app.settings.frame(1), std::optional(frame));

    const QRectF thirdFrame = screenFrames::frame(coordinator->window(3));
    app.settings.setCameraSelected(3, false);
    QCOMPARE(selections.count(), 2);
    QCOMPARE(coordinator->openCameraIDs(), QList<CameraId>{2});
    QCOMPARE(app.settings.selectedCameraIDs(), (CameraIdSet{2, 42}));
    QTRY_COMPARE(app.settings.frame(3), std::optional(thirdFrame));
}

// Only a window placed "free" opens at its saved frame; one with no placement at all takes the
// cascade position. A corner window moved by hand snaps back at the next change.
void WindowsTest::savedFrameOnlyForFreeCornersSnapBack()
{
    const QString saved = u"{{300, 200}, {500, 400}}"_s;
    CameraApp app(
        {{u"selectedCameraIDs"_s, ids({1, 2, 3})},
         {u"cameraPlacements"_s, QVariantMap{{u"2"_s, u"free"_s}, {u"3"_s, u"topLeft"_s}}},
         {u"cameraWindowFrames"_s, QVariantMap{{u"1"_s, saved}, {u"2"_s, saved}}}});
    auto coordinator = app.start();
    QCOMPARE(screenFrames::frame(coordinator->window(2)), QRectF(300, 200, 500, 400));
    const QScreen *screen = QGuiApplication::primaryScreen();
    QCOMPARE(qtToScreen(coordinator->window(1)->geometry(), screen->geometry().height()),
             initialContentRect(1));

    CameraWindow *three = coordinator->window(3);
    const QPointF corner = originOf(three);
    screenFrames::setFrameOrigin(three, corner + QPointF(50, -30));
    QTRY_COMPARE(app.settings.frame(3)->topLeft(), corner + QPointF(50, -30));
    app.settings.setAlwaysOnTop(true); // any watched setting
    QCOMPARE(originOf(three), corner);
}

QTEST_MAIN(WindowsTest)
#include "tst_windows.moc"
