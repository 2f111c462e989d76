// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/CameraWindow.h"

#include "windows/DesktopWindow.h"
#include "windows/ScreenFrames.h"

#include <QCloseEvent>
#include <QVBoxLayout>

namespace kestrel {

namespace {
// A resize counts as finished once the size has not changed for this long.
constexpr int resizeSettleMs = 250;
} // namespace

CameraWindow::CameraWindow(CameraId id, const QString &printerID)
    : QWidget(nullptr, Qt::Window), m_id(id)
{
    setAttribute(Qt::WA_QuitOnClose, false); // only the main window ends the application
    // Lets window-manager rules tell camera windows apart from the main window, and one camera
    // from another, across restarts. The first printer's windows keep the roles they had before
    // there were others, so rules written then still hold.
    setWindowRole(printerID.isEmpty()
                      ? QStringLiteral("kestrel-camera-%1").arg(id)
                      : QStringLiteral("kestrel-camera-%1-%2").arg(printerID, QString::number(id)));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_resizeSettled.setSingleShot(true);
    m_resizeSettled.setInterval(resizeSettleMs);
    connect(&m_resizeSettled, &QTimer::timeout, this,
            [this] { emit frameChanged(m_id, screenFrames::frame(this)); });
}

void CameraWindow::showEvent(QShowEvent *)
{
    // Only now is the native window final (flags set before the first show).
    if (!std::exchange(m_watchingFrame, true))
        desktopWindow::watchFrame(this, [this] { noticeFrameMargins(); });
}

void CameraWindow::setContent(QWidget *content)
{
    if (m_content) {
        m_content->hide();
        m_content->deleteLater();
    }
    m_content = content;
    layout()->addWidget(content);
}

void CameraWindow::closeEvent(QCloseEvent *event)
{
    m_resizeSettled.stop();
    emit closing(m_id, screenFrames::frame(this));
    event->accept();
}

void CameraWindow::moveEvent(QMoveEvent *)
{
    noticeFrameMargins();
    emit frameChanged(m_id, screenFrames::frame(this));
}

void CameraWindow::resizeEvent(QResizeEvent *)
{
    noticeFrameMargins();
    m_resizeSettled.start();
}

void CameraWindow::noticeFrameMargins()
{
    const QMargins margins = screenFrames::frameMargins(this);
    if (margins == m_frameMargins)
        return;
    m_frameMargins = margins;
    emit framed(m_id);
}

} // namespace kestrel
