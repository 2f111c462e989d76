// SPDX-License-Identifier: GPL-3.0-or-later
#include "wall/WallWindow.h"

#include "printers/PrinterList.h"
#include "settings/AppSettings.h"
#include "wall/WallBar.h"
#include "wall/WallTile.h"
#include "windows/DesktopWindow.h"
#include "windows/ScreenFrames.h"
#include "windows/WindowCoordinator.h"

#include <QCloseEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>

namespace kestrel {

namespace {
constexpr int wallMargin = 12;
constexpr int tileGap = 10;
} // namespace

WallWindow::WallWindow(PrinterList &printers, WindowCoordinator &coordinator, QWidget *parent)
    : QWidget(parent, Qt::Window), m_printers(printers), m_coordinator(coordinator),
      m_scroll(new QScrollArea(this)), m_grid(new QWidget),
      m_rate(printers.settings().wall().picturesPerSecond()),
      m_moves(std::chrono::seconds(1), [this] { reorder(); })
{
    setWindowTitle(tr("Druckerwand"));
    setAttribute(Qt::WA_QuitOnClose, false);
    setMinimumSize(narrowestTile + 2 * wallMargin + 24, 320);
    QPalette dark = palette();
    dark.setColor(QPalette::Window, QColor(18, 18, 20));
    dark.setColor(QPalette::WindowText, Qt::white);
    setPalette(dark);
    setAutoFillBackground(true);

    WallSettings &wall = settings().wall();
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(wallMargin, wallMargin, wallMargin, 0);
    layout->addWidget(new WallBar(wall, this));
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setWidget(m_grid);
    m_scroll->setWidgetResizable(false);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // Always there, so that its coming and going never changes the columns.
    m_scroll->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    m_scroll->viewport()->setAutoFillBackground(false);
    m_grid->setAutoFillBackground(false);
    layout->addWidget(m_scroll, 1);
    connect(m_scroll->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &WallWindow::updateInSight);

    m_frameRest.setSingleShot(true);
    m_frameRest.setInterval(500);
    connect(&m_frameRest, &QTimer::timeout, this, [this] {
        if (isVisible() && !isFullScreen() && !isMinimized())
            settings().wall().setFrame(screenFrames::frame(this));
    });

    for (Printer *printer : printers.printers())
        add(printer);
    connect(&printers, &PrinterList::printerAdded, this, &WallWindow::add);
    connect(&printers, &PrinterList::printerRemoving, this, &WallWindow::remove);
    // The user's own choices take effect at once; only the printers' news wait their turn.
    connect(&wall, &WallSettings::changed, this, [this] {
        const double rate = settings().wall().picturesPerSecond();
        if (std::exchange(m_rate, rate) != rate) {
            for (WallTile *tile : std::as_const(m_tiles))
                tile->setPicturesPerSecond(rate);
        }
        m_moves.request(true);
    });

    setWindowFlag(Qt::WindowStaysOnTopHint, settings().alwaysOnTop());
    desktopWindow::followAllDesktops(this);
    connect(&settings(), &AppSettings::alwaysOnTopWillChange, this, [this](bool onTop) {
        desktopWindow::setStaysOnTop(this, onTop);
        desktopWindow::followAllDesktops(this);
    });
    if (const auto frame = wall.frame())
        screenFrames::setFrame(this, *frame);
    else
        resize(4 * narrowestTile + 3 * tileGap + 2 * wallMargin + 24, 760);
    // The window manager's frame comes after the first show; the stored frame counts with it.
    desktopWindow::watchFrame(this, [this] {
        const auto frame = settings().wall().frame();
        if (frame && !std::exchange(m_frameRestored, true))
            screenFrames::setFrame(this, *frame);
    });
    m_moves.request(true);
}

AppSettings &WallWindow::settings() const
{
    return m_printers.settings();
}

QList<WallTile *> WallWindow::shownTiles() const
{
    return m_arranged;
}

void WallWindow::add(Printer *printer)
{
    auto *tile = new WallTile(*printer, m_grid);
    tile->setPicturesPerSecond(m_rate);
    connect(tile, &WallTile::openRequested, &m_coordinator,
            [this](Printer *printer, CameraId camera) { m_coordinator.bringUp(*printer, camera); });
    connect(tile, &WallTile::factsChanged, this, [this] { m_moves.request(); });
    m_tiles.insert(m_printers.indexOf(*printer), tile);
    m_moves.request(true);
}

void WallWindow::remove(Printer *printer)
{
    const auto tile = std::find_if(m_tiles.cbegin(), m_tiles.cend(), [printer](const WallTile *t) {
        return &t->printer() == printer;
    });
    if (tile == m_tiles.cend())
        return;
    delete *tile;
    m_tiles.erase(tile);
    m_arranged.clear(); // the next order is placed whatever it is
    m_moves.request(true);
}

void WallWindow::reorder()
{
    QList<TileFacts> facts;
    for (const WallTile *tile : std::as_const(m_tiles))
        facts.append(tile->facts());
    const WallSettings &wall = settings().wall();
    QList<WallTile *> arranged;
    for (const qsizetype index : arrangeTiles(facts, wall.order(), wall.hidesOffline()))
        arranged.append(m_tiles[index]);
    if (arranged == m_arranged)
        return;
    m_arranged = arranged;
    place();
}

// As many columns of at least the narrowest tile as the width holds, each row as tall as its
// tallest tile.
void WallWindow::place()
{
    const int width = m_scroll->viewport()->width();
    const int columns = std::max(1, (width + tileGap) / (narrowestTile + tileGap));
    const int tileWidth = std::max(narrowestTile, (width - tileGap * (columns - 1)) / columns);
    for (WallTile *tile : std::as_const(m_tiles))
        tile->setVisible(m_arranged.contains(tile));
    int y = 0;
    for (qsizetype first = 0; first < m_arranged.size(); first += columns) {
        int rowHeight = 0;
        for (qsizetype i = first; i < std::min(first + columns, m_arranged.size()); ++i) {
            WallTile *tile = m_arranged[i];
            tile->setTileWidth(tileWidth);
            const int height = tile->sizeHint().height();
            tile->setGeometry(int(i - first) * (tileWidth + tileGap), y, tileWidth, height);
            rowHeight = std::max(rowHeight, height);
        }
        y += rowHeight + tileGap;
    }
    m_grid->resize(width, std::max(y, 1));
    updateInSight();
}

void WallWindow::updateInSight()
{
    const QRect seen(QPoint(0, m_scroll->verticalScrollBar()->value()),
                     m_scroll->viewport()->size());
    for (WallTile *tile : std::as_const(m_arranged))
        tile->setInSight(seen.intersects(tile->geometry()));
}

void WallWindow::closeForQuit()
{
    m_quitting = true;
    close();
}

void WallWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F11)
        isFullScreen() ? showNormal() : showFullScreen();
    else if (event->key() == Qt::Key_Escape && isFullScreen())
        showNormal();
    else
        QWidget::keyPressEvent(event);
}

void WallWindow::closeEvent(QCloseEvent *event)
{
    if (!m_quitting)
        settings().wall().setOpen(false);
    QWidget::closeEvent(event);
}

void WallWindow::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (!m_quitting && !settings().wall().isOpen())
        settings().wall().setOpen(true);
    place();
}

void WallWindow::moveEvent(QMoveEvent *event)
{
    QWidget::moveEvent(event);
    m_frameRest.start();
}

void WallWindow::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    m_frameRest.start();
    place();
}

} // namespace kestrel
