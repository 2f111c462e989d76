// SPDX-License-Identifier: GPL-3.0-or-later
#include "TestPictures.h"

#include <QBuffer>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>

namespace kestrel::test {

QByteArray testJpeg(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient gradient(0, 0, size.width(), 0);
    gradient.setColorAt(0, QColor(200, 30, 30));
    gradient.setColorAt(1, QColor(30, 30, 200));
    painter.fillRect(image.rect(), gradient);
    painter.fillRect(QRect(0, size.height() / 2 - 10, size.width(), 20), Qt::white);
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "JPEG", 85);
    return bytes;
}

} // namespace kestrel::test
