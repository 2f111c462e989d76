// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QRectF>
#include <QString>

namespace kestrel {

// The text form of a window frame: "{{x, y}, {width, height}}", each number in its shortest
// decimal form that reads back to the same value (whole numbers carry no fraction).
// Non-finite numbers are written as 0, so every text written here reads back exactly.
QString stringFromRect(const QRectF &frame);

// Lenient reader for that form: takes the first four decimal numbers found anywhere in the text,
// in the order x, y, width, height, and uses 0 for each one that is missing or out of range.
QRectF rectFromString(QStringView text);

} // namespace kestrel
