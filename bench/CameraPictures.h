// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QColor>
#include <QSize>

namespace kestrel::bench {

// A JPEG that compresses like a real camera picture rather than a flat test card: a gradient,
// a few shapes and sensor-like noise (about 150-300 KB at 1920x1080).
QByteArray cameraLikeJpeg(QSize size, QColor tint, quint32 seed);

} // namespace kestrel::bench
