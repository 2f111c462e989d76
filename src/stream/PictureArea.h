// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/CameraOrientation.h"

#include <QList>
#include <QUrl>
#include <QWidget>

namespace kestrel {

class ContentUnavailableView;
class PiStatusMonitor;
class SnapshotLoader;
class SnapshotStreamView;

// The camera's picture inside a thin rounded frame: the live stream for a valid address, or
// "Ungültige URL" when there is none. The stream, and with it any fetching, exists only once a
// valid address has come.
class PictureArea : public QWidget
{
    Q_OBJECT

public:
    PictureArea(const PiStatusMonitor &monitor, QString curlPath, qint64 fps,
                QWidget *parent = nullptr);

    void setSnapshotURLs(const QList<QUrl> &urls);
    void setOrientation(const CameraOrientation &orientation);
    // The stream's loader, once there is a stream.
    const SnapshotLoader *loader() const;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const PiStatusMonitor &m_monitor;
    const QString m_curlPath;
    const qint64 m_fps;
    ContentUnavailableView *m_placeholder;
    SnapshotStreamView *m_stream = nullptr;
    CameraOrientation m_orientation;
};

} // namespace kestrel
