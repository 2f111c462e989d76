// SPDX-License-Identifier: GPL-3.0-or-later
#include "CameraPictures.h"

#include <QBuffer>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QRandomGenerator>

#include <algorithm>

namespace kestrel::bench {

QByteArray cameraLikeJpeg(QSize size, QColor tint, quint32 seed)
{
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient gradient(0, 0, size.width(), size.height());
    gradient.setColorAt(0, tint);
    gradient.setColorAt(1, QColor(20, 22, 25));
    painter.fillRect(image.rect(), gradient);
    painter.fillRect(
        QRect(size.width() / 4, size.height() / 2, size.width() / 2, size.height() / 3),
        QColor(90, 90, 96));
    painter.setBrush(QColor(200, 120, 40));
    painter.drawEllipse(QPoint(size.width() / 2, size.height() / 2), size.height() / 20,
                        size.height() / 20);
    painter.end();
    QRandomGenerator random(seed);
    for (int y = 0; y < size.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            const int noise = int(random.bounded(13)) - 6;
            const QRgb p = line[x];
            line[x] =
                qRgb(std::clamp(qRed(p) + noise, 0, 255), std::clamp(qGreen(p) + noise, 0, 255),
                     std::clamp(qBlue(p) + noise, 0, 255));
        }
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "JPEG", 85);
    return bytes;
}

} // namespace kestrel::bench
