// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/WindowCoordinator.h"

#include "settings/AppSettings.h"
#include "windows/CameraWindow.h"
#include "windows/DesktopWindow.h"
#include "windows/ScreenFrames.h"
#include "windows/WindowGeometry.h"

namespace kestrel {

WindowCoordinator::WindowCoordinator(AppSettings &settings, CameraViewFactory makeView,
                                     QObject *parent)
    : QObject(parent), m_settings(settings), m_makeView(std::move(makeView)),
      m_selection(settings.selectedCameraIDs()), m_placements(settings.cameraPlacements()),
      m_alwaysOnTop(settings.alwaysOnTop())
{
    // The announcements come before the store holds the new value, so each reconciliation uses
    // the announced values, never the store's. A new address only needs the windows rebuilt.
    const auto reconcile = [this] { reconcileWindows(m_selection, m_placements, m_alwaysOnTop); };
    connect(&settings, &AppSettings::selectedCameraIDsWillChange, this,
            [this, reconcile](const CameraIdSet &selection) {
                m_selection = selection;
                reconcile();
            });
    connect(&settings, &AppSettings::printerIPWillChange, this, reconcile);
    connect(&settings, &AppSettings::cameraPlacementsWillChange, this,
            [this, reconcile](const PlacementMap &placements) {
                m_placements = placements;
                reconcile();
            });
    connect(&settings, &AppSettings::alwaysOnTopWillChange, this,
            [this, reconcile](bool alwaysOnTop) {
                m_alwaysOnTop = alwaysOnTop;
                reconcile();
            });
    reconcile();
}

WindowCoordinator::~WindowCoordinator()
{
    qDeleteAll(m_windows);
}

void WindowCoordinator::syncWindows()
{
    reconcileWindows(m_settings.selectedCameraIDs(), m_settings.cameraPlacements(),
                     m_settings.alwaysOnTop());
}

void WindowCoordinator::closeAllWindows()
{
    const QList<CameraId> ids = m_windows.keys();
    for (const CameraId id : ids)
        closeProgrammatically(id);
}

void WindowCoordinator::replaceCamera(CameraId from, CameraId to)
{
    if (from == to)
        return;
    CameraIdSet selection = m_settings.selectedCameraIDs();
    selection.erase(from);
    selection.insert(to);
    m_settings.setSelectedCameraIDs(selection);
    // A second pass, as the windows have always had: it rebuilds the contents and brings the
    // windows to the front once more.
    reconcileWindows(selection, m_settings.cameraPlacements(), m_settings.alwaysOnTop());
}

void WindowCoordinator::refreshCameras()
{
    for (const Camera &entry : cameraCatalogue()) {
        const auto shown = m_shownCameras.constFind(entry.id);
        const Camera camera = m_settings.resolvedCamera(entry);
        if (shown == m_shownCameras.cend() || *shown == camera)
            continue;
        CameraWindow *window = m_windows.value(entry.id);
        window->setWindowTitle(camera.name);
        window->setContent(m_makeView(camera, *this));
        m_shownCameras.insert(entry.id, camera);
    }
}

void WindowCoordinator::reconcileWindows(const CameraIdSet &selection,
                                         const PlacementMap &placements, bool alwaysOnTop)
{
    QList<Camera> cameras;
    for (const Camera &camera : cameraCatalogue()) {
        if (selection.contains(camera.id))
            cameras.append(m_settings.resolvedCamera(camera));
    }
    for (const Camera &camera : std::as_const(cameras))
        openOrUpdateWindow(camera, alwaysOnTop, placements);

    const QList<CameraId> open = m_windows.keys();
    for (const CameraId id : open) {
        if (!selection.contains(id))
            closeProgrammatically(id);
    }
    for (CameraWindow *window : std::as_const(m_windows))
        desktopWindow::setStaysOnTop(window, alwaysOnTop);
    m_laidOutCameras = cameras;
    m_laidOutPlacements = placements;
    layoutCorners();
}

void WindowCoordinator::openOrUpdateWindow(const Camera &camera, bool alwaysOnTop,
                                           const PlacementMap &placements)
{
    m_shownCameras.insert(camera.id, camera);
    if (CameraWindow *window = m_windows.value(camera.id)) {
        window->setWindowTitle(camera.name);
        window->setContent(m_makeView(camera, *this));
        window->raise();
        return;
    }

    auto *window = new CameraWindow(camera.id);
    QRectF initial = windowGeometry::initialContentRect(camera.id);
    if (m_settings.orientation(camera.id).isSideways())
        initial.setSize(initial.size().transposed()); // a sideways camera's picture stands up
    screenFrames::setContentRect(window, initial);
    window->setWindowFlag(Qt::WindowStaysOnTopHint, alwaysOnTop);
    window->setWindowTitle(camera.name);
    window->setContent(m_makeView(camera, *this));
    // Only an explicit "free" gets its saved frame back; a camera without any placement keeps
    // the cascade position.
    const auto placement = placements.constFind(camera.id);
    if (placement != placements.cend() && *placement == WindowPlacement::free) {
        if (const auto frame = m_settings.frame(camera.id)) {
            screenFrames::setFrame(window, *frame);
            m_restoredFrames.insert(camera.id, *frame);
        }
    }
    connect(window, &CameraWindow::closing, this, &WindowCoordinator::handleWindowClosed);
    connect(window, &CameraWindow::frameChanged, this, &WindowCoordinator::handleFrameChange);
    connect(window, &CameraWindow::framed, this, &WindowCoordinator::handleFramed);
    m_windows.insert(camera.id, window);

    desktopWindow::followAllDesktops(window);
    window->setAttribute(Qt::WA_ShowWithoutActivating, !alwaysOnTop);
    window->show();
    window->raise();
    if (alwaysOnTop)
        window->activateWindow();
    desktopWindow::followAllDesktops(window); // mapped now: ask the window manager as well
}

void WindowCoordinator::closeProgrammatically(CameraId id)
{
    if (CameraWindow *window = m_windows.value(id)) {
        m_programmaticClosures.insert(id);
        window->close();
    }
}

void WindowCoordinator::layoutCorners()
{
    QList<windowGeometry::LayoutWindow> windows;
    for (const Camera &camera : std::as_const(m_laidOutCameras)) {
        if (const CameraWindow *window = m_windows.value(camera.id)) {
            windows.append({camera.id, screenFrames::frame(window).size(),
                            m_laidOutPlacements.value(camera.id, WindowPlacement::free)});
        }
    }
    const auto origins = windowGeometry::layoutCornerWindows(windows, screenFrames::visibleFrame());
    for (const auto &[id, origin] : origins)
        screenFrames::setFrameOrigin(m_windows.value(id), origin);
}

void WindowCoordinator::handleWindowClosed(CameraId id, const QRectF &frame)
{
    m_settings.saveFrame(frame, id);
    if (CameraWindow *window = m_windows.take(id))
        window->deleteLater();
    m_shownCameras.remove(id);
    m_restoredFrames.remove(id);
    if (m_programmaticClosures.remove(id))
        return;
    // The user closed it: the camera is no longer wanted. This reconciles at once, with the
    // window already out of the table.
    CameraIdSet selection = m_settings.selectedCameraIDs();
    selection.erase(id);
    m_settings.setSelectedCameraIDs(selection);
}

void WindowCoordinator::handleFrameChange(CameraId id, const QRectF &frame)
{
    m_settings.saveFrame(frame, id);
}

// The window manager has framed a window: its real frame is known only now, so a restored frame
// is set once more and the corners are laid out again with the real sizes, once per burst of
// such news and never from inside a move.
void WindowCoordinator::handleFramed(CameraId id)
{
    if (m_restoredFrames.contains(id))
        screenFrames::setFrame(m_windows.value(id), m_restoredFrames.take(id));
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

} // namespace kestrel
