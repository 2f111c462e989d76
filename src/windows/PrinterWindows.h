// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/SettingsTypes.h"
#include "windows/WindowGeometry.h"

#include <QMap>
#include <QObject>
#include <QRectF>
#include <QSet>

#include <functional>

namespace kestrel {

class AppSettings;
class CameraWindow;
class Printer;
class PrinterList;
class PrinterWindows;
class PrintControls;

// Makes the content of a printer's camera window; the window owns what it gets, and the print's
// controls, which outlive every content it is given.
using CameraViewFactory =
    std::function<QWidget *(Printer &, const Camera &, PrinterWindows &, PrintControls &)>;

// When the owner should lay out the corner windows again: right away after a reconciliation, or
// once a burst of window-manager news is over, and never from inside a move.
enum class LayoutWhen
{
    now,
    settled
};

// Keeps one floating window open for every selected camera of one printer: opens, retitles,
// re-levels and rebuilds the windows whenever the selection, the printer address, the placements
// or always-on-top change, remembers every window's frame, and turns a user's closing of a window
// into deselecting its camera. Closing a window itself (the camera was deselected elsewhere,
// switched, or all windows were closed) leaves the selection alone. Where the corner windows
// stand is for the owner to say, across all printers: it is asked to lay them out again.
class PrinterWindows : public QObject
{
    Q_OBJECT

public:
    // Opens the windows of the stored selection at once.
    PrinterWindows(Printer &printer, const PrinterList &printers, CameraViewFactory makeView,
                   std::function<void(LayoutWhen)> layoutWanted, QObject *parent = nullptr);
    ~PrinterWindows() override;

    Printer &printer() const { return m_printer; }

    void syncWindows();
    void closeAllWindows();
    // Makes the window of `from` show `to` instead.
    void replaceCamera(CameraId from, CameraId to);
    // Gives every open window whose camera now has another name or snapshot path its new title
    // and content; the others are left as they are.
    void refreshCameras();
    // With several printers a window's title names its printer as well.
    void retitle();

    QList<CameraId> openCameraIDs() const { return m_windows.keys(); }
    CameraWindow *window(CameraId id) const { return m_windows.value(id); }

    // The corner windows as the last reconciliation laid them out, for the layout over all
    // printers; `printerIndex` is this printer's place in the list.
    QList<windowGeometry::LayoutWindow> cornerWindows(int printerIndex) const;

private:
    AppSettings &settings() const;
    QString title(const Camera &camera) const;
    void reconcileWindows(const CameraIdSet &selection, const PlacementMap &placements,
                          bool alwaysOnTop);
    void openOrUpdateWindow(const Camera &camera, bool alwaysOnTop, const PlacementMap &placements);
    void closeProgrammatically(CameraId id);
    void handleWindowClosed(CameraId id, const QRectF &frame);
    void handleFramed(CameraId id);

    Printer &m_printer;
    const PrinterList &m_printers;
    const CameraViewFactory m_makeView;
    const std::function<void(LayoutWhen)> m_layoutWanted;

    QMap<CameraId, CameraWindow *> m_windows;
    QMap<CameraId, PrintControls *> m_controls; // each window's own, owned by it
    QMap<CameraId, Camera> m_shownCameras;      // what each open window's content was made for
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
};

} // namespace kestrel
