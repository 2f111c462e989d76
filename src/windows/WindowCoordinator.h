// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/SettingsTypes.h"

#include <QMap>
#include <QObject>
#include <QRectF>
#include <QSet>

#include <functional>

namespace kestrel {

class AppSettings;
class CameraWindow;
class WindowCoordinator;

// Makes the content of a camera's window; the coordinator owns what it gets.
using CameraViewFactory = std::function<QWidget *(const Camera &, WindowCoordinator &)>;

// Keeps one floating window open for every selected camera: opens, retitles, re-levels and
// lays out the windows whenever the selection, the printer address, the placements or
// always-on-top change, remembers every window's frame, and turns a user's closing of a window
// into deselecting its camera. Closing a window itself (the camera was deselected elsewhere,
// switched, or all windows were closed) leaves the selection alone.
class WindowCoordinator : public QObject
{
    Q_OBJECT

public:
    // Opens the windows of the stored selection at once, with contents from `makeView`.
    WindowCoordinator(AppSettings &settings, CameraViewFactory makeView, QObject *parent = nullptr);
    ~WindowCoordinator() override;

    // Brings the windows in line with the settings as they are now.
    void syncWindows();
    // Closes every window but keeps the selection, so they come back with the next sync.
    void closeAllWindows();
    // Makes the window of `from` show `to` instead.
    void replaceCamera(CameraId from, CameraId to);
    // Gives every open window whose camera now has another name or snapshot path its new title
    // and content; the others are left as they are. Edits in the settings' fields wait for the
    // next reconciliation, but a take-over from the printer says it has happened.
    void refreshCameras();

    QList<CameraId> openCameraIDs() const { return m_windows.keys(); }
    CameraWindow *window(CameraId id) const { return m_windows.value(id); }

private:
    void reconcileWindows(const CameraIdSet &selection, const PlacementMap &placements,
                          bool alwaysOnTop);
    void openOrUpdateWindow(const Camera &camera, bool alwaysOnTop, const PlacementMap &placements);
    void closeProgrammatically(CameraId id);
    void layoutCorners();
    void handleWindowClosed(CameraId id, const QRectF &frame);
    void handleFrameChange(CameraId id, const QRectF &frame);
    void handleFramed(CameraId id);

    AppSettings &m_settings;
    const CameraViewFactory m_makeView;

    QMap<CameraId, CameraWindow *> m_windows;
    QMap<CameraId, Camera> m_shownCameras; // what each open window's content was made for
    QSet<CameraId> m_programmaticClosures;
    // Saved frames restored before the window manager framed the window; set again once it has.
    QMap<CameraId, QRectF> m_restoredFrames;

    // The watched settings as last announced; every announcement reconciles with all of them.
    CameraIdSet m_selection;
    PlacementMap m_placements;
    bool m_alwaysOnTop = true;

    // What the last reconciliation laid out, to lay out again once windows are framed.
    QList<Camera> m_laidOutCameras;
    PlacementMap m_laidOutPlacements;
    bool m_layoutPending = false;
};

} // namespace kestrel
