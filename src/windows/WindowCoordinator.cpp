// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/WindowCoordinator.h"

#include "printers/PrinterList.h"
#include "windows/CameraWindow.h"
#include "windows/ScreenFrames.h"

#include <QApplication>

namespace kestrel {

WindowCoordinator::WindowCoordinator(PrinterList &printers, CameraViewFactory makeView,
                                     QObject *parent)
    : QObject(parent), m_printers(printers), m_makeView(std::move(makeView))
{
    for (Printer *printer : printers.printers())
        add(printer);
    connect(&printers, &PrinterList::printerAdded, this, &WindowCoordinator::add);
    connect(&printers, &PrinterList::printerRemoving, this, &WindowCoordinator::remove);
}

WindowCoordinator::~WindowCoordinator()
{
    qDeleteAll(m_windows);
}

void WindowCoordinator::add(Printer *printer)
{
    // Everyone's titles change when a second printer comes, since they must now say whose.
    m_windows.append(new PrinterWindows(*printer, m_printers, m_makeView,
                                        [this](LayoutWhen when) { layout(when); }));
    for (PrinterWindows *windows : std::as_const(m_windows))
        windows->retitle();
    layoutCorners();
}

void WindowCoordinator::remove(Printer *printer)
{
    PrinterWindows *gone = windowsOf(printer->id());
    if (!gone)
        return;
    m_windows.removeOne(gone);
    gone->closeAllWindows();
    delete gone;
    // The printers' list still holds the one going until it is deleted.
    QMetaObject::invokeMethod(
        this,
        [this] {
            for (PrinterWindows *windows : std::as_const(m_windows))
                windows->retitle();
            layoutCorners();
        },
        Qt::QueuedConnection);
}

void WindowCoordinator::syncWindows()
{
    for (PrinterWindows *windows : std::as_const(m_windows))
        windows->syncWindows();
}

void WindowCoordinator::closeAllWindows()
{
    for (PrinterWindows *windows : std::as_const(m_windows))
        windows->closeAllWindows();
}

void WindowCoordinator::refreshCameras(const Printer &printer)
{
    if (PrinterWindows *windows = windowsOf(printer.id()))
        windows->refreshCameras();
}

PrinterWindows *WindowCoordinator::windowsOf(const QString &printerID) const
{
    for (PrinterWindows *windows : m_windows) {
        if (windows->printer().id() == printerID)
            return windows;
    }
    return nullptr;
}

QList<CameraId> WindowCoordinator::openCameraIDs(const QString &printerID) const
{
    const PrinterWindows *windows = windowsOf(printerID);
    return windows ? windows->openCameraIDs() : QList<CameraId>{};
}

CameraWindow *WindowCoordinator::window(CameraId id, const QString &printerID) const
{
    const PrinterWindows *windows = windowsOf(printerID);
    return windows ? windows->window(id) : nullptr;
}

void WindowCoordinator::layout(LayoutWhen when)
{
    if (when == LayoutWhen::now) {
        layoutCorners();
        keepOthersInFront();
        return;
    }
    if (std::exchange(m_layoutPending, true))
        return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_layoutPending = false;
            layoutCorners();
        },
        Qt::QueuedConnection);
}

// Kestrel's other windows that float as high as the camera windows (the settings while they do,
// a question, a start-up prompt) stay in front of whichever camera window just came forward.
void WindowCoordinator::keepOthersInFront()
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && !qobject_cast<CameraWindow *>(window) &&
            window->windowFlags().testFlag(Qt::WindowStaysOnTopHint))
            window->raise();
    }
}

void WindowCoordinator::layoutCorners()
{
    QList<windowGeometry::LayoutWindow> corners;
    for (int i = 0; i < m_windows.size(); ++i)
        corners += m_windows.at(i)->cornerWindows(i);
    const auto origins = windowGeometry::layoutCornerWindows(corners, screenFrames::visibleFrame());
    for (const auto &[printerIndex, cameraID, origin] : origins)
        screenFrames::setFrameOrigin(m_windows.at(printerIndex)->window(cameraID), origin);
}

void WindowCoordinator::bringUp(Printer &printer, CameraId camera)
{
    printer.settings().setCameraSelected(camera, true);
    if (CameraWindow *window = this->window(camera, printer.id())) {
        window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
        window->show();
        window->raise();
        window->activateWindow();
    }
}

} // namespace kestrel
