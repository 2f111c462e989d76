// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "camera/PicturePainting.h"
#include "settings/CameraOrientation.h"
#include "widgets/CornerCaps.h"

#include <QList>
#include <QUrl>
#include <QWidget>

#include <optional>

namespace kestrel {

class PiStatusMonitor;
class PictureSource;
class ProgressSpinner;
class SnapshotErrorCard;

// Where a camera's pictures come from: still snapshots (the default) or its live MJPEG stream;
// the printer wall fetches its snapshots in-process, over connections kept open.
enum class PictureFeed
{
    snapshots,
    stream,
    keptAlive
};

// One camera's live picture: black, the latest picture fitted into the area, a spinner until
// the first one arrives, and a card over it while fetching fails. The card names the host's
// failure while the printer host is unreachable, and the camera's own failure otherwise.
//
// It fetches only while it is shown: hiding or minimising its window stops its source, showing
// it again resumes.
class SnapshotStreamView : public QWidget
{
    Q_OBJECT

public:
    explicit SnapshotStreamView(const PiStatusMonitor &monitor, QWidget *parent = nullptr,
                                QString curlPath = QStringLiteral("/usr/bin/curl"));

    // A new list restarts fetching; the same list keeps the running loop. Another feed takes
    // another source at once.
    void setAddresses(const QList<QUrl> &urls, PictureFeed feed = PictureFeed::snapshots);
    // The wished rate, taken up at once by a source that runs. Curl snapshots come at 1 to 6 a
    // second, the wall's as wished.
    void setTargetFPS(double fps);
    // A view scrolled out of sight fetches nothing, as a hidden one.
    void setInSight(bool inSight);
    // Dims the picture under a failure's card, so that a wall tells a dead camera at a glance.
    void setDimmedOnFailure(bool dimmed) { m_dimmedOnFailure = dimmed; }
    // Rounds the corners of the black area and the picture. Over a flat `backdrop` they are
    // covered in its colour, which is cheaper; without one they are clipped.
    void setCornerRadius(qreal radius, const QColor &backdrop = QColor());
    void setOrientation(const CameraOrientation &orientation);
    // A thin bar along the bottom edge while a print runs; none hides it.
    void setPrintProgress(std::optional<double> progress);

    const PictureSource &source() const { return *m_source; }
    PictureFeed feed() const { return m_feed; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void useSource(PictureFeed feed);
    void startSource();
    double shownRate() const;
    void updateOverlays();
    void placeOverlays();

    const PiStatusMonitor &m_monitor;
    const QString m_curlPath;
    PictureSource *m_source = nullptr;
    PictureFeed m_feed = PictureFeed::snapshots;
    CameraOrientation m_orientation;
    ProgressSpinner *m_spinner;
    SnapshotErrorCard *m_errorCard;
    QList<QUrl> m_urls;
    double m_targetFPS = 1;
    bool m_inSight = true;
    bool m_dimmedOnFailure = false;
    static constexpr int printBarHeight = 3;
    qint64 m_paintedKey = 0; // the last picture painted, for the benchmarks' log
    std::optional<double> m_printProgress;
    RoundedArea m_rounded;
    CornerCaps m_caps;
};

} // namespace kestrel
