// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/Camera.h"

#include <QMargins>
#include <QPointer>
#include <QRectF>
#include <QTimer>
#include <QWidget>

namespace kestrel {

// The floating top-level window of one camera. It tells its owner when it closes (with its last
// frame), when it has moved or the user has finished resizing it, and when the window manager
// has framed it, since only then is its real frame known.
class CameraWindow : public QWidget
{
    Q_OBJECT

public:
    // `printerID` is empty for the first printer.
    explicit CameraWindow(CameraId id, const QString &printerID = {});

    CameraId cameraID() const { return m_id; }

    // Takes the new content; the old one stops at once and goes on the next event-loop turn,
    // since it may be the very widget whose action caused the change.
    void setContent(QWidget *content);
    QWidget *content() const { return m_content; }

signals:
    void closing(kestrel::CameraId id, const QRectF &frame);
    void frameChanged(kestrel::CameraId id, const QRectF &frame);
    void framed(kestrel::CameraId id);

protected:
    void closeEvent(QCloseEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void noticeFrameMargins();

    const CameraId m_id;
    QPointer<QWidget> m_content;
    QTimer m_resizeSettled;
    QMargins m_frameMargins;
    bool m_watchingFrame = false;
};

} // namespace kestrel
