// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/SettingsTypes.h"
#include "widgets/Pacer.h"

#include <QList>
#include <QTimer>
#include <QWidget>

class QScrollArea;

namespace kestrel {

class AppSettings;
class Printer;
class PrinterList;
class WallTile;
class WindowCoordinator;

// "Druckerwand": every printer's camera, state and time left in one window. The tiles stand in as
// many columns as the width allows, in the order the bar above them chooses, and scroll when they
// are taller than the window; a tile out of sight fetches no pictures. A tile that the order
// moves moves at most once a second, so that it is not clicked away from under the pointer.
//
// The wall floats as the camera windows do, on every desktop; F11 fills the screen with it, for a
// monitor on the workshop wall, and Escape leaves full screen. Whether it is open and where it
// stands outlive a restart.
class WallWindow : public QWidget
{
    Q_OBJECT

public:
    WallWindow(PrinterList &printers, WindowCoordinator &coordinator, QWidget *parent = nullptr);

    // The tiles in the order they stand, without the hidden ones.
    QList<WallTile *> shownTiles() const;
    // Closed as the program ends: it opens again with the next start.
    void closeForQuit();

    static constexpr int narrowestTile = 240;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void add(Printer *printer);
    void remove(Printer *printer);
    void reorder();
    void place();
    void updateInSight();
    AppSettings &settings() const;

    PrinterList &m_printers;
    WindowCoordinator &m_coordinator;
    QScrollArea *m_scroll;
    QWidget *m_grid;
    double m_rate;
    QList<WallTile *> m_tiles;    // in the printers' order
    QList<WallTile *> m_arranged; // as they stand
    Pacer m_moves;                // the printers' news move tiles once a second at most
    QTimer m_frameRest;           // a frame is stored once moving rests
    bool m_quitting = false;
    bool m_frameRestored = false;
};

} // namespace kestrel
