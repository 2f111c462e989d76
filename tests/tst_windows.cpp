#include "windows/WindowGeometry.h"

#include <QTest>

using namespace kestrel;
using namespace kestrel::windowGeometry;
using namespace std::chrono_literals;
using P = WindowPlacement;

class WindowsTest : public QObject
{
    Q_OBJECT

private slots:
    // Geometry
    void workedExampleAndWrappingRow();
    void loneOverWideWindowGoesOneGapDown();
    void freeAndUnplacedWindowsStay();
    void anchorsAndFallbackScreen();
    void initialRectsCascade();
    void coordinatesConvertBothWays();

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
}

void WindowsTest::loneOverWideWindowGoesOneGapDown()
{
    const QRectF area(0, 25, 1440, 850);
    const QList<LayoutWindow> wide{{1, QSizeF(1400, 300), P::topLeft},
                                   {2, QSizeF(1400, 300), P::bottomRight},
                                   {3, QSizeF(1400, 200), P::topLeft}};
    QCOMPARE(layoutCornerWindows(wide, area),
             (QList<std::pair<CameraId, QPointF>>{
                 {1, {24, 851 - 18 - 300}},            // one gap below the anchor
                 {3, {24, 851 - 18 - 300 - 18 - 200}}, // and every further one its own row
                 {2, {1416 - 1400, 49 + 18}}}));
}

void WindowsTest::freeAndUnplacedWindowsStay()
{
    const QList<LayoutWindow> windows{{1, QSizeF(420, 308), P::free},
                                      {2, QSizeF(420, 308), P::free}};
    QVERIFY(layoutCornerWindows(windows, QRectF(0, 25, 1440, 850)).isEmpty());
}

void WindowsTest::anchorsAndFallbackScreen()
{
    QCOMPARE(cornerAnchor(P::free, QRectF(0, 25, 1440, 850), 24), QPointF(0, 0));
    QCOMPARE(cornerAnchor(P::bottomRight, fallbackScreenFrame, cornerMargin), QPointF(1336, 104));
    QCOMPARE(cornerAnchor(P::topRight, fallbackScreenFrame, cornerMargin), QPointF(1336, 856));
}

void WindowsTest::initialRectsCascade()
{
    QCOMPARE(initialContentRect(1), QRectF(120, 700, 420, 280));
    QCOMPARE(initialContentRect(2), QRectF(160, 660, 420, 280));
    QCOMPARE(initialContentRect(3), QRectF(200, 620, 420, 280));
    QCOMPARE(initialContentRect(-2), QRectF(0, 820, 420, 280));
}

void WindowsTest::coordinatesConvertBothWays()
{
    const QRectF ours(24, 543, 420, 308);
    const QRectF qt = screenToQt(ours, 900);
    QCOMPARE(qt, QRectF(24, 900 - 543 - 308, 420, 308));
    QCOMPARE(qtToScreen(qt, 900), ours);
}

QTEST_GUILESS_MAIN(WindowsTest)
#include "tst_windows.moc"
