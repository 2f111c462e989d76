// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QPixmap>
#include <QString>

namespace kestrel::symbols {

// One of our own line symbols (":/symbols/<name>.svg", e.g. "power", "network.slash"), drawn
// in `color` as a square of `size` logical pixels, sharp at the given device pixel ratio.
// Rendered once per combination and cached.
QPixmap pixmap(const QString &name, const QColor &color, int size, qreal devicePixelRatio);

} // namespace kestrel::symbols
