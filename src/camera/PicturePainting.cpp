// SPDX-License-Identifier: GPL-3.0-or-later
#include "camera/PicturePainting.h"

#include "stream/JpegPicture.h"

#include <QPainter>

#include <cmath>

namespace kestrel {

namespace {

bool decodedAtThatSize(const QSizeF &picture, const QSizeF &fitted, qreal pixelRatio)
{
    const qreal slack = JpegPicture::unscaledSlack / pixelRatio;
    return std::abs(fitted.width() - picture.width()) <= slack &&
           std::abs(fitted.height() - picture.height()) <= slack;
}

// Where the picture lands in the area.
QRectF fittedPictureRect(const QRect &area, const QImage &image)
{
    const QSizeF picture = image.deviceIndependentSize();
    const QSizeF fitted = picture.scaled(QSizeF(area.size()), Qt::KeepAspectRatio);
    const bool asDecoded = decodedAtThatSize(picture, fitted, image.devicePixelRatio());
    QRectF placed(QPointF(), asDecoded ? picture : fitted);
    placed.moveCenter(QRectF(area).center());
    if (asDecoded) // on whole pixels, so that drawing it is a plain copy
        placed.moveTopLeft(placed.topLeft().toPoint());
    return placed;
}

} // namespace

RoundedArea::RoundedArea(const QRect &area, qreal radius) : m_area(area), m_radius(radius)
{
    const int r = std::min({int(std::ceil(radius)), area.width() / 2, area.height() / 2});
    m_bands = {area.adjusted(0, r, 0, -r), area.adjusted(r, 0, -r, r - area.height()),
               area.adjusted(r, area.height() - r, -r, 0)};
    m_cornerSquares = {QRect(area.topLeft(), QSize(r, r)),
                       QRect(area.topRight() - QPoint(r - 1, 0), QSize(r, r)),
                       QRect(area.bottomLeft() - QPoint(0, r - 1), QSize(r, r)),
                       QRect(area.bottomRight() - QPoint(r - 1, r - 1), QSize(r, r))};
    QPainterPath rounded;
    rounded.addRoundedRect(QRectF(area), radius, radius);
    for (int i = 0; i < 4; ++i) {
        QPainterPath square;
        square.addRect(QRectF(m_cornerSquares[i]));
        m_corners[i] = rounded.intersected(square);
    }
}

void RoundedArea::paint(QPainter &painter, const QRect &content,
                        const std::function<void()> &draw) const
{
    painter.save();
    if (m_radius <= 0) {
        draw();
        painter.restore();
        return;
    }
    for (const QRect &band : m_bands) {
        if (!band.intersects(content))
            continue;
        painter.setClipRect(band);
        draw();
    }
    painter.setRenderHint(QPainter::Antialiasing);
    for (int i = 0; i < 4; ++i) {
        if (!m_cornerSquares[i].intersects(content))
            continue;
        painter.setClipPath(m_corners[i]);
        draw();
    }
    painter.restore();
}

void paintFittedPicture(QPainter &painter, const RoundedArea &area, const QImage &image)
{
    const QRectF placed = fittedPictureRect(area.rect(), image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    area.paint(painter, placed.toAlignedRect(), [&] { painter.drawImage(placed, image); });
}

} // namespace kestrel
