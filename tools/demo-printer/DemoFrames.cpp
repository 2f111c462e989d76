// SPDX-License-Identifier: GPL-3.0-or-later
#include "DemoFrames.h"

#include <QBuffer>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QtConcurrent>

#include <cmath>
#include <numbers>
#include <numeric>

namespace kestrel::demo {

namespace {

QSize sizeOf(const Camera &camera)
{
    const QStringList parts = camera.resolution.split(u'x');
    return {parts.value(0).toInt(), parts.value(1).toInt()};
}

QColor tintOf(const Camera &camera)
{
    static const QList<QColor> tints{{40, 90, 160}, {170, 90, 30}, {40, 130, 80}};
    return tints[int((camera.id - 1) % tints.size())];
}

QByteArray renderFrame(const Camera &camera, QSize size, int frame, int frameCount)
{
    const double phase = double(frame) / frameCount; // 0 … 1 over the cycle
    const double unit = size.height() / 100.0;
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);

    QLinearGradient background(0, 0, 0, size.height());
    background.setColorAt(0, tintOf(camera).darker(220));
    background.setColorAt(1, QColor(12, 12, 14));
    painter.fillRect(image.rect(), background);

    // The bed, and a print head that moves over it.
    const QRectF bed(size.width() * 0.2, size.height() * 0.55, size.width() * 0.6,
                     size.height() * 0.3);
    painter.fillRect(bed, QColor(60, 60, 66));
    const double angle = 2 * std::numbers::pi * phase;
    const QPointF head(bed.center().x() + bed.width() * 0.4 * std::sin(angle),
                       bed.center().y() + bed.height() * 0.35 * std::sin(2 * angle));
    painter.setBrush(tintOf(camera).lighter(160));
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(head, 3 * unit, 3 * unit);

    // The clock: its hand goes round once per cycle.
    const QPointF centre(size.width() * 0.85, size.height() * 0.2);
    painter.setPen(QPen(Qt::white, 0.8 * unit));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(centre, 9 * unit, 9 * unit);
    painter.drawLine(centre,
                     centre + QPointF(8 * unit * std::sin(angle), -8 * unit * std::cos(angle)));

    QFont font = painter.font();
    font.setPixelSize(int(8 * unit));
    font.setBold(true);
    painter.setFont(font);
    painter.drawText(QPointF(5 * unit, 14 * unit), camera.name);
    font.setPixelSize(int(4 * unit));
    font.setBold(false);
    painter.setFont(font);
    painter.drawText(QPointF(5 * unit, 21 * unit), QStringLiteral("Demo-Drucker • %1 • Bild %2/%3")
                                                       .arg(camera.resolution)
                                                       .arg(frame + 1)
                                                       .arg(frameCount));
    painter.end();

    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "JPEG", 85);
    return bytes;
}

} // namespace

QList<QByteArray> renderCycle(const Camera &camera, int frameCount)
{
    QList<int> frames(frameCount);
    std::iota(frames.begin(), frames.end(), 0);
    const QSize size = sizeOf(camera);
    return QtConcurrent::blockingMapped(
        frames, [&](int frame) { return renderFrame(camera, size, frame, frameCount); });
}

} // namespace kestrel::demo
