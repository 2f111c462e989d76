// SPDX-License-Identifier: GPL-3.0-or-later
#include "camera/SnapshotStreamView.h"

#include "camera/SnapshotErrorCard.h"
#include "monitor/PiStatusMonitor.h"
#include "settings/SnapshotUrls.h"
#include "stream/KeepAliveSnapshotSource.h"
#include "stream/MjpegStreamReader.h"
#include "stream/SnapshotLoader.h"
#include "widgets/ProgressSpinner.h"
#include "widgets/SystemColors.h"

#include <QLoggingCategory>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace kestrel {

// Off unless enabled (QT_LOGGING_RULES="kestrel.pictures.debug=true"): one line per picture
// when it is first painted, with the area it is decoded for in device pixels, which is how the
// benchmarks count pictures, time them from outside and learn which DCT scale the pictures got.
Q_LOGGING_CATEGORY(lcShownPictures, "kestrel.pictures", QtWarningMsg)

SnapshotStreamView::SnapshotStreamView(const PiStatusMonitor &monitor, QWidget *parent,
                                       QString curlPath)
    : QWidget(parent), m_monitor(monitor), m_curlPath(std::move(curlPath)),
      m_spinner(new ProgressSpinner(Qt::white, this)), m_errorCard(new SnapshotErrorCard(this))
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    m_errorCard->hide();
    useSource(PictureFeed::snapshots);
    connect(&monitor, &PiStatusMonitor::reachabilityChanged, this,
            &SnapshotStreamView::updateOverlays);
}

void SnapshotStreamView::useSource(PictureFeed feed)
{
    delete m_source;
    m_feed = feed;
    switch (feed) {
    case PictureFeed::stream:
        m_source = new MjpegStreamReader(this);
        break;
    case PictureFeed::keptAlive:
        m_source = new KeepAliveSnapshotSource(this);
        break;
    case PictureFeed::snapshots:
        m_source = new SnapshotLoader(this, m_curlPath);
        break;
    }
    m_source->setOrientation(m_orientation);
    const qreal ratio = devicePixelRatioF();
    m_source->setDecodeSize(size() * ratio, ratio);
    connect(m_source, &PictureSource::imageChanged, this, [this] {
        m_spinner->hide();
        update();
    });
    connect(m_source, &PictureSource::errorTextChanged, this, &SnapshotStreamView::updateOverlays);
    updateOverlays();
    update();
}

void SnapshotStreamView::setAddresses(const QList<QUrl> &urls, PictureFeed feed)
{
    if (feed != m_feed)
        useSource(feed);
    m_urls = urls;
    if (isVisible() && m_inSight)
        startSource();
}

void SnapshotStreamView::setTargetFPS(double fps)
{
    if (std::exchange(m_targetFPS, fps) == fps || !m_source->isRunning())
        return;
    m_source->stop();
    startSource();
}

void SnapshotStreamView::setInSight(bool inSight)
{
    if (inSight == std::exchange(m_inSight, inSight))
        return;
    if (!inSight)
        m_source->pause();
    else if (isVisible())
        m_source->resume(m_urls, shownRate());
}

void SnapshotStreamView::setCornerRadius(qreal radius, const QColor &backdrop)
{
    const bool covered = radius > 0 && backdrop.isValid();
    m_caps = covered ? CornerCaps(int(std::ceil(radius)), backdrop) : CornerCaps();
    m_rounded = RoundedArea(rect(), covered ? 0 : radius);
    // Clipped corners show what is behind, which Qt must then paint first at every picture.
    setAttribute(Qt::WA_OpaquePaintEvent, radius == 0 || covered);
    update();
}

void SnapshotStreamView::setOrientation(const CameraOrientation &orientation)
{
    m_orientation = orientation;
    m_source->setOrientation(orientation);
}

void SnapshotStreamView::setPrintProgress(std::optional<double> progress)
{
    if (progress == m_printProgress)
        return;
    m_printProgress = progress;
    update(0, height() - printBarHeight, width(), printBarHeight);
}

void SnapshotStreamView::startSource()
{
    m_source->start(m_urls, shownRate());
}

double SnapshotStreamView::shownRate() const
{
    if (m_feed == PictureFeed::keptAlive)
        return m_targetFPS;
    return double(SnapshotLoader::shownRate(std::llround(m_targetFPS)));
}

void SnapshotStreamView::updateOverlays()
{
    const auto errorText = m_source->errorText();
    if (m_dimmedOnFailure)
        update();
    // The spinner says a picture is on its way; under a failure's card it only muddles the card.
    m_spinner->setVisible(m_source->image().isNull() && !errorText);
    if (!errorText) {
        m_errorCard->hide();
        return;
    }
    const PiReachability reachability = m_monitor.reachability();
    if (reachability.isUnreachable()) {
        m_errorCard->present(QStringLiteral("network.slash"), tr("Raspberry Pi offline"),
                             reachability.reason());
    } else {
        m_errorCard->present(QStringLiteral("wifi.exclamationmark"), tr("Kamera nicht erreichbar"),
                             *errorText);
    }
    placeOverlays();
}

// Both overlays sit in the middle; the card keeps the usual padding from the edges and is sized
// by hand, since a layout cannot fit a centred box around wrapping text.
void SnapshotStreamView::placeOverlays()
{
    QRect spinner(QPoint(), m_spinner->sizeHint());
    spinner.moveCenter(rect().center());
    m_spinner->setGeometry(spinner);
    m_errorCard->placeIn(rect());
}

void SnapshotStreamView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    m_rounded.paint(painter, rect(), [&] { painter.fillRect(rect(), Qt::black); });
    const QImage image = m_source->image();
    if (!image.isNull()) {
        if (lcShownPictures().isDebugEnabled() &&
            std::exchange(m_paintedKey, image.cacheKey()) != image.cacheKey()) {
            const QSize area = size() * devicePixelRatioF(); // as resizeEvent gives the source
            qCDebug(lcShownPictures).noquote()
                << absoluteString(m_urls.value(0))
                << QStringLiteral("%1x%2").arg(area.width()).arg(area.height());
        }
        paintFittedPicture(painter, m_rounded, image);
    }
    if (m_dimmedOnFailure && m_errorCard->isVisible())
        m_rounded.paint(painter, rect(), [&] { painter.fillRect(rect(), QColor(0, 0, 0, 140)); });
    if (m_printProgress) {
        const QRect bar(0, height() - printBarHeight, width(), printBarHeight);
        m_rounded.paint(painter, bar, [&] {
            painter.fillRect(bar, systemColors::white(0.25));
            painter.fillRect(
                QRectF(bar.topLeft(), QSizeF(bar.width() * *m_printProgress, bar.height())),
                systemColors::green());
        });
    }
    m_caps.paint(painter, rect());
}

void SnapshotStreamView::resizeEvent(QResizeEvent *)
{
    m_rounded = RoundedArea(rect(), m_rounded.radius());
    const qreal ratio = devicePixelRatioF();
    m_source->setDecodeSize(size() * ratio, ratio);
    placeOverlays();
}

// Showing a minimised window again is no new start: it keeps showing what it showed until
// the next round has news.
void SnapshotStreamView::showEvent(QShowEvent *)
{
    if (m_inSight)
        m_source->resume(m_urls, shownRate());
}

void SnapshotStreamView::hideEvent(QHideEvent *)
{
    m_source->pause();
}

} // namespace kestrel
