// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/PrinterWindows.h"

#include "camera/PrintControls.h"
#include "printers/PrinterList.h"
#include "settings/AppSettings.h"
#include "windows/CameraWindow.h"
#include "windows/DesktopWindow.h"
#include "windows/ScreenFrames.h"

namespace kestrel {

PrinterWindows::PrinterWindows(Printer &printer, const PrinterList &printers,
                               CameraViewFactory makeView,
                               std::function<void(LayoutWhen)> layoutWanted, QObject *parent)
    : QObject(parent), m_printer(printer), m_printers(printers), m_makeView(std::move(makeView)),
      m_layoutWanted(std::move(layoutWanted)), m_selection(printer.settings().selectedCameraIDs()),
      m_placements(printer.settings().cameraPlacements()), m_alwaysOnTop(settings().alwaysOnTop())
{
    // The announcements come before the store holds the new value, so each reconciliation uses
    // the announced values, never the store's. A new address only needs the windows rebuilt:
    // the first printer's at every change, any other's once typing rests.
    const auto reconcile = [this] { reconcileWindows(m_selection, m_placements, m_alwaysOnTop); };
    PrinterSettings &own = printer.settings();
    if (own.isFirst())
        connect(&own, &PrinterSettings::printerIPWillChange, this, reconcile);
    else
        connect(&own, &PrinterSettings::printerIPSettled, this, reconcile);
    connect(&own, &PrinterSettings::selectedCameraIDsWillChange, this,
            [this, reconcile](const CameraIdSet &selection) {
                m_selection = selection;
                reconcile();
            });
    connect(&own, &PrinterSettings::cameraPlacementsWillChange, this,
            [this, reconcile](const PlacementMap &placements) {
                m_placements = placements;
                reconcile();
            });
    connect(&settings(), &AppSettings::alwaysOnTopWillChange, this,
            [this, reconcile](bool alwaysOnTop) {
                m_alwaysOnTop = alwaysOnTop;
                reconcile();
            });
    // The title's printer name is read from the settings, so it follows once they hold it.
    connect(&own, &PrinterSettings::changed, this, &PrinterWindows::retitle);
    reconcile();
}

PrinterWindows::~PrinterWindows()
{
    qDeleteAll(m_windows);
}

AppSettings &PrinterWindows::settings() const
{
    return m_printers.settings();
}

QString PrinterWindows::title(const Camera &camera) const
{
    if (!m_printers.isSeveral())
        return camera.name;
    return m_printer.settings().displayName() + QStringLiteral(" · ") + camera.name;
}

void PrinterWindows::retitle()
{
    for (auto it = m_windows.cbegin(); it != m_windows.cend(); ++it)
        it.value()->setWindowTitle(title(m_shownCameras.value(it.key())));
}

void PrinterWindows::syncWindows()
{
    const PrinterSettings &own = m_printer.settings();
    reconcileWindows(own.selectedCameraIDs(), own.cameraPlacements(), settings().alwaysOnTop());
}

void PrinterWindows::closeAllWindows()
{
    const QList<CameraId> ids = m_windows.keys();
    for (const CameraId id : ids)
        closeProgrammatically(id);
}

void PrinterWindows::replaceCamera(CameraId from, CameraId to)
{
    if (from == to)
        return;
    PrinterSettings &own = m_printer.settings();
    CameraIdSet selection = own.selectedCameraIDs();
    selection.erase(from);
    selection.insert(to);
    own.setSelectedCameraIDs(selection);
    // A second pass, as the windows have always had: it rebuilds the contents and brings the
    // windows to the front once more.
    reconcileWindows(selection, own.cameraPlacements(), settings().alwaysOnTop());
}

void PrinterWindows::refreshCameras()
{
    for (const Camera &entry : cameraCatalogue()) {
        const auto shown = m_shownCameras.constFind(entry.id);
        const Camera camera = m_printer.settings().resolvedCamera(entry);
        if (shown == m_shownCameras.cend() || *shown == camera)
            continue;
        CameraWindow *window = m_windows.value(entry.id);
        window->setWindowTitle(title(camera));
        window->setContent(m_makeView(m_printer, camera, *this, *m_controls.value(entry.id)));
        m_shownCameras.insert(entry.id, camera);
    }
}

// A printer added in the settings has no address yet: its cameras stay selected, but a window
// without a picture to show would only push the others aside.
void PrinterWindows::reconcileWindows(const CameraIdSet &selection, const PlacementMap &placements,
                                      bool alwaysOnTop)
{
    const PrinterSettings &own = m_printer.settings();
    const bool addressless = !own.isFirst() && own.watchedPrinterIP().trimmed().isEmpty();
    QList<Camera> cameras;
    for (const Camera &camera : cameraCatalogue()) {
        if (selection.contains(camera.id) && !addressless)
            cameras.append(own.resolvedCamera(camera));
    }
    for (const Camera &camera : std::as_const(cameras))
        openOrUpdateWindow(camera, alwaysOnTop, placements);

    const QList<CameraId> open = m_windows.keys();
    for (const CameraId id : open) {
        if (!selection.contains(id) || addressless)
            closeProgrammatically(id);
    }
    for (CameraWindow *window : std::as_const(m_windows)) {
        desktopWindow::setStaysOnTop(window, alwaysOnTop);
        desktopWindow::followAllDesktops(window);
    }
    m_laidOutCameras = cameras;
    m_laidOutPlacements = placements;
    m_layoutWanted(LayoutWhen::now);
}

// An open window's content is made anew for the first printer, whose windows have always
// started afresh with every reconciliation; any other printer's content follows the settings by
// itself and is made anew only for another camera.
void PrinterWindows::openOrUpdateWindow(const Camera &camera, bool alwaysOnTop,
                                        const PlacementMap &placements)
{
    const Camera shown = m_shownCameras.value(camera.id);
    m_shownCameras.insert(camera.id, camera);
    if (CameraWindow *window = m_windows.value(camera.id)) {
        window->setWindowTitle(title(camera));
        if (m_printer.settings().isFirst() || shown != camera)
            window->setContent(m_makeView(m_printer, camera, *this, *m_controls.value(camera.id)));
        window->raise();
        return;
    }

    const PrinterSettings &own = m_printer.settings();
    // Another printer's window opens once typing of its address rests, and the user may well go
    // on typing: it takes no keyboard. The first printer's windows come forward as they always
    // have. Qt hands this on to the native window only when it makes it, so it comes first.
    const bool activates = alwaysOnTop && own.isFirst();
    auto *window = new CameraWindow(camera.id, m_printer.id());
    window->setAttribute(Qt::WA_ShowWithoutActivating, !activates);
    QRectF initial = windowGeometry::initialContentRect(camera.id);
    if (own.orientation(camera.id).isSideways())
        initial.setSize(initial.size().transposed()); // a sideways camera's picture stands up
    screenFrames::setContentRect(window, initial);
    window->setWindowFlag(Qt::WindowStaysOnTopHint, alwaysOnTop);
    window->setWindowTitle(title(camera));
    auto *controls = new PrintControls(m_printer, window);
    m_controls.insert(camera.id, controls);
    window->setContent(m_makeView(m_printer, camera, *this, *controls));
    // Only an explicit "free" gets its saved frame back; a camera without any placement keeps
    // the cascade position.
    const auto placement = placements.constFind(camera.id);
    if (placement != placements.cend() && *placement == WindowPlacement::free) {
        if (const auto frame = own.frame(camera.id)) {
            screenFrames::setFrame(window, *frame);
            m_restoredFrames.insert(camera.id, *frame);
        }
    }
    connect(window, &CameraWindow::closing, this, &PrinterWindows::handleWindowClosed);
    connect(window, &CameraWindow::frameChanged, this, [this](CameraId id, const QRectF &frame) {
        m_printer.settings().saveFrame(frame, id);
    });
    connect(window, &CameraWindow::framed, this, &PrinterWindows::handleFramed);
    m_windows.insert(camera.id, window);

    desktopWindow::followAllDesktops(window);
    window->show();
    window->raise();
    if (activates)
        window->activateWindow();
    desktopWindow::followAllDesktops(window); // mapped now: ask the window manager as well
}

void PrinterWindows::closeProgrammatically(CameraId id)
{
    if (CameraWindow *window = m_windows.value(id)) {
        m_programmaticClosures.insert(id);
        window->close();
    }
}

QList<windowGeometry::LayoutWindow> PrinterWindows::cornerWindows(int printerIndex) const
{
    QList<windowGeometry::LayoutWindow> windows;
    for (const Camera &camera : std::as_const(m_laidOutCameras)) {
        if (const CameraWindow *window = m_windows.value(camera.id)) {
            windows.append({camera.id, screenFrames::frame(window).size(),
                            m_laidOutPlacements.value(camera.id, WindowPlacement::free),
                            printerIndex});
        }
    }
    return windows;
}

void PrinterWindows::handleWindowClosed(CameraId id, const QRectF &frame)
{
    PrinterSettings &own = m_printer.settings();
    own.saveFrame(frame, id);
    if (CameraWindow *window = m_windows.take(id))
        window->deleteLater();
    m_controls.remove(id);
    m_shownCameras.remove(id);
    m_restoredFrames.remove(id);
    if (m_programmaticClosures.remove(id))
        return;
    // The user closed it: the camera is no longer wanted. This reconciles at once, with the
    // window already out of the table.
    CameraIdSet selection = own.selectedCameraIDs();
    selection.erase(id);
    own.setSelectedCameraIDs(selection);
}

// The window manager has framed a window: its real frame is known only now, so a restored frame
// is set once more and the corners are laid out again with the real sizes.
void PrinterWindows::handleFramed(CameraId id)
{
    if (m_restoredFrames.contains(id))
        screenFrames::setFrame(m_windows.value(id), m_restoredFrames.take(id));
    m_layoutWanted(LayoutWhen::settled);
}

} // namespace kestrel
