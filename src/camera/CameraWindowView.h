// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "camera/CameraWindowEnvironment.h"
#include "monitor/PiReachability.h"
#include "settings/Camera.h"
#include "widgets/PaintCache.h"

#include <QList>
#include <QUrl>
#include <QWidget>

class QLabel;
class QMenu;
class QTimer;
class QToolButton;

namespace kestrel {

class CameraMenuButton;
class LinkButton;
class PictureArea;
class PrintControls;
class PrintLineLabel;
class StatusDot;

// The whole content of one camera window, on a dark card: the camera's name as a menu to switch
// the window to another camera, its resolution and picture rate, a power button that switches
// the printer off after asking, a dot for the printer host's state, the live picture, and a
// link to the host's web page. The menu also holds the print's controls, and why the last of
// them failed shows under the print's line. Everything follows the shared settings and monitor as
// they change.
class CameraWindowView : public QWidget
{
    Q_OBJECT

public:
    // The print's controls belong to the window, which keeps them while its content changes.
    CameraWindowView(const Camera &camera, const CameraWindowEnvironment &environment,
                     PrintControls &controls, QWidget *parent = nullptr);

    const Camera &camera() const { return m_camera; }

    // "<resolution> • Aktualisierung bis <rate> FPS", the rate capped at 6 from above only; a
    // streaming camera says "<resolution> • Live-Stream".
    static QString caption(const Camera &camera, bool streaming);
    // The status dot's colour for the printer host's state: yellow while checking, then green or
    // red.
    static QColor hostStateColor(const PiReachability &reachability);

signals:
    // The user chose another camera for this window in its menu.
    void cameraSwitchRequested(kestrel::CameraId from, kestrel::CameraId to);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void refresh();
    void refreshStatusDot();
    void refreshPictureRate();
    void refreshPrintStatus();
    void refreshControlNote();
    void rebuildCameraMenu();
    void openHostPage();

    const Camera m_camera;
    const CameraWindowEnvironment m_environment;
    QList<QUrl> m_snapshotURLs;
    bool m_streaming = false;
    CameraMenuButton *m_cameraMenuButton;
    QMenu *m_cameraMenu;
    StatusDot *m_statusDot;
    PictureArea *m_pictureArea;
    LinkButton *m_footer;
    QLabel *m_caption;
    PaintCache m_card;
    PrintLineLabel *m_printLine;
    PrintControls &m_controls;
    QLabel *m_controlNote;
    QLabel *m_pictureRate;
    QTimer *m_pictureRateTimer;
    QToolButton *m_powerButton;
};

} // namespace kestrel
