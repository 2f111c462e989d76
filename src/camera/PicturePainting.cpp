// SPDX-License-Identifier: GPL-3.0-or-later
#include "camera/PicturePainting.h"

#include "stream/JpegPicture.h"

#include <QPainter>
#include <QPainterPath>

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

void paintFittedPicture(QPainter &painter, const QRect &area, qreal radius, const QImage &image)
{
    const QRectF placed = fittedPictureRect(area, image);
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    if (radius <= 0) {
        painter.drawImage(placed, image);
        painter.restore();
        return;
    }
    const int r = int(std::ceil(radius));
    const QRect bands[] = {area.adjusted(0, r, 0, -r), area.adjusted(r, 0, -r, r - area.height()),
                           area.adjusted(r, area.height() - r, -r, 0)};
    for (const QRect &band : bands) {
        painter.setClipRect(band);
        painter.drawImage(placed, image);
    }
    const QRect corners[] = {QRect(area.topLeft(), QSize(r, r)),
                             QRect(area.topRight() - QPoint(r - 1, 0), QSize(r, r)),
                             QRect(area.bottomLeft() - QPoint(0, r - 1), QSize(r, r)),
                             QRect(area.bottomRight() - QPoint(r - 1, r - 1), QSize(r, r))};
    QPainterPath rounded;
    rounded.addRoundedRect(QRectF(area), radius, radius);
    painter.setRenderHint(QPainter::Antialiasing);
    for (const QRect &corner : corners) {
        if (!corner.intersects(placed.toAlignedRect()))
            continue;
        painter.setClipRect(corner);
        painter.setClipPath(rounded, Qt::IntersectClip);
        painter.drawImage(placed, image);
    }
    painter.restore();
}

} // namespace kestrel
