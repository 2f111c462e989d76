// SPDX-License-Identifier: GPL-3.0-or-later
#include "camera/PictureArea.h"

#include "widgets/ContentUnavailableView.h"
#include "widgets/SystemColors.h"

#include <QPaintEvent>
#include <QPainter>
#include <QStackedLayout>

namespace kestrel {

namespace {
constexpr qreal cornerRadius = 10;
} // namespace

PictureArea::PictureArea(const PiStatusMonitor &monitor, QString curlPath, qint64 fps,
                         QWidget *parent)
    : QWidget(parent), m_monitor(monitor), m_curlPath(std::move(curlPath)), m_fps(fps),
      m_placeholder(new ContentUnavailableView(tr("Ungültige URL"),
                                               QStringLiteral("wifi.exclamationmark"),
                                               systemColors::white(0.85), this))
{
    auto *layout = new QStackedLayout(this);
    layout->setContentsMargins(1, 1, 1, 1); // inside the frame's line
    layout->addWidget(m_placeholder);
}

void PictureArea::setAddresses(const QList<QUrl> &urls, PictureFeed feed)
{
    auto *stack = static_cast<QStackedLayout *>(layout());
    if (urls.isEmpty()) {
        stack->setCurrentWidget(m_placeholder); // hides the stream, which stops fetching
        return;
    }
    if (!m_stream) {
        m_stream = new SnapshotStreamView(m_monitor, this, m_curlPath);
        m_stream->setCornerRadius(cornerRadius - 1);
        m_stream->setTargetFPS(m_fps);
        m_stream->setOrientation(m_orientation);
        m_stream->setPrintProgress(m_printProgress);
        stack->addWidget(m_stream);
    }
    m_stream->setAddresses(urls, feed);
    stack->setCurrentWidget(m_stream);
}

void PictureArea::setOrientation(const CameraOrientation &orientation)
{
    m_orientation = orientation;
    if (m_stream)
        m_stream->setOrientation(orientation);
}

void PictureArea::setPrintProgress(std::optional<double> progress)
{
    m_printProgress = progress;
    if (m_stream)
        m_stream->setPrintProgress(progress);
}

const PictureSource *PictureArea::source() const
{
    return m_stream ? &m_stream->source() : nullptr;
}

void PictureArea::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    m_frame.paint(painter, *this, event->rect(), 0, [this](QPainter &frame) {
        frame.setPen(QPen(systemColors::white(0.12), 1));
        frame.setBrush(Qt::NoBrush);
        frame.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius,
                              cornerRadius);
    });
}

} // namespace kestrel
