// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QUrl>
#include <QWidget>

namespace kestrel {

struct CameraOrientation;
class PiStatusMonitor;
class ProgressSpinner;
class SnapshotErrorCard;
class SnapshotLoader;

// One camera's live picture: black, the latest snapshot fitted into the area, a spinner until
// the first one arrives, and a card over it while fetching fails. The card names the host's
// failure while the printer host is unreachable, and the camera's own failure otherwise.
//
// It fetches only while it is shown: hiding or minimising its window stops the loader, showing
// it again resumes.
class SnapshotStreamView : public QWidget
{
    Q_OBJECT

public:
    explicit SnapshotStreamView(const PiStatusMonitor &monitor, QWidget *parent = nullptr,
                                QString curlPath = QStringLiteral("/usr/bin/curl"));

    // A new list restarts fetching; the same list keeps the running loop.
    void setSnapshotURLs(const QList<QUrl> &urls);
    // The wished rate; it takes effect with the next list, as a rate alone never restarts.
    void setTargetFPS(qint64 fps);
    // Rounds the corners of the black area and the picture.
    void setCornerRadius(qreal radius);
    void setOrientation(const CameraOrientation &orientation);

    const SnapshotLoader &loader() const { return *m_loader; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void startLoader();
    qint64 shownRate() const;
    void updateOverlays();
    void placeOverlays();

    const PiStatusMonitor &m_monitor;
    SnapshotLoader *m_loader;
    ProgressSpinner *m_spinner;
    SnapshotErrorCard *m_errorCard;
    QList<QUrl> m_urls;
    qint64 m_targetFPS = 1;
    qreal m_cornerRadius = 0;
};

} // namespace kestrel
