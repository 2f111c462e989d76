// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "windows/PrinterWindows.h"

#include <QList>
#include <QObject>

namespace kestrel {

class Printer;
class PrinterList;

// The camera windows of every printer, each known by its printer and camera: one set per
// printer, made when the printer comes and closed when it goes, and one corner layout over them
// all, so that the windows of several printers share a corner without covering each other.
class WindowCoordinator : public QObject
{
    Q_OBJECT

public:
    // Opens the windows of every printer's stored selection at once.
    WindowCoordinator(PrinterList &printers, CameraViewFactory makeView, QObject *parent = nullptr);
    ~WindowCoordinator() override;

    // Brings every printer's windows in line with its settings as they are now.
    void syncWindows();
    // Closes every window but keeps the selections, so they come back with the next sync.
    void closeAllWindows();
    // After a take-over of the printer's cameras: see PrinterWindows::refreshCameras.
    void refreshCameras(const Printer &printer);

    // Opens the camera's window, adding the camera to the printer's selection as the settings'
    // switch would, or brings it to the front where it is open.
    void bringUp(Printer &printer, CameraId camera);
    // The first printer's id is empty.
    PrinterWindows *windowsOf(const QString &printerID) const;
    QList<CameraId> openCameraIDs(const QString &printerID = {}) const;
    CameraWindow *window(CameraId id, const QString &printerID = {}) const;

private:
    void add(Printer *printer);
    void remove(Printer *printer);
    void layout(LayoutWhen when);
    void layoutCorners();
    void keepOthersInFront();

    PrinterList &m_printers;
    const CameraViewFactory m_makeView;
    QList<PrinterWindows *> m_windows;
    bool m_layoutPending = false;
};

} // namespace kestrel
