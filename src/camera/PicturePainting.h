// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QRect>

class QPainter;

namespace kestrel {

// A camera's picture fitted into an area whose corners are rounded by `radius` (none for 0).
// A picture decoded at the size shown is copied pixel for pixel, and only the corners it reaches
// are clipped round: Qt hands a clipped or scaled fill of a large picture to helper threads and
// waits for them, which cost more than the copy. A picture from before a resize is scaled
// smoothly until the next one comes at the new size.
void paintFittedPicture(QPainter &painter, const QRect &area, qreal radius, const QImage &image);

} // namespace kestrel
