// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "camera/SnapshotStreamView.h"
#include "settings/CameraOrientation.h"
#include "widgets/PaintCache.h"

#include <QList>
#include <QUrl>
#include <QWidget>

namespace kestrel {

class ContentUnavailableView;
class PiStatusMonitor;

// The camera's picture inside a thin rounded frame: its pictures for a valid address, or
// "Ungültige URL" when there is none. The picture view, and with it any fetching, exists only
// once a valid address has come.
class PictureArea : public QWidget
{
    Q_OBJECT

public:
    PictureArea(const PiStatusMonitor &monitor, QString curlPath, qint64 fps,
                QWidget *parent = nullptr);

    void setAddresses(const QList<QUrl> &urls, PictureFeed feed);
    void setOrientation(const CameraOrientation &orientation);
    void setPrintProgress(std::optional<double> progress);
    // Where the pictures come from, once there is a valid address.
    const PictureSource *source() const;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const PiStatusMonitor &m_monitor;
    const QString m_curlPath;
    const qint64 m_fps;
    ContentUnavailableView *m_placeholder;
    SnapshotStreamView *m_stream = nullptr;
    CameraOrientation m_orientation;
    std::optional<double> m_printProgress;
    PaintCache m_frame;
};

} // namespace kestrel
