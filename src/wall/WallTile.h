// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/SettingsTypes.h"
#include "wall/WallArrangement.h"
#include "widgets/Pacer.h"
#include "widgets/PaintCache.h"

#include <QFrame>

class QLabel;

namespace kestrel {

class Printer;
class PrintControls;
class PrintLineLabel;
class SnapshotStreamView;
class StatusDot;

// One printer on the wall: the picture of one of its cameras, its name and the host's state, the
// print's line with its bar, and the temperatures in small type. An offline printer's picture is
// dimmed under the camera windows' failure card. A click, or Return, asks for the camera's own
// floating window; the context menu holds the print's controls, the power and the camera choice.
class WallTile : public QFrame
{
    Q_OBJECT

public:
    WallTile(Printer &printer, QWidget *parent = nullptr);

    Printer &printer() const { return m_printer; }
    TileFacts facts() const;
    // The picture keeps four to three at this width; the texts below take what they need.
    void setTileWidth(int width);
    void setPicturesPerSecond(double rate);
    void setInSight(bool inSight);

signals:
    void openRequested(kestrel::Printer *printer, kestrel::CameraId camera);
    // Something the wall's order goes by changed.
    void factsChanged();

protected:
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void refresh();
    void refreshState();
    void refreshPrint();
    void describe();

    Printer &m_printer;
    PrintControls *m_controls;
    StatusDot *m_dot;
    QLabel *m_name;
    QLabel *m_camera;
    SnapshotStreamView *m_picture;
    PrintLineLabel *m_line;
    QLabel *m_temperatures;
    PaintCache m_background;
    Pacer m_printPace;
};

} // namespace kestrel
