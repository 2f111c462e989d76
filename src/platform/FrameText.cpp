// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FrameText.h"

#include <QLocale>
#include <QRegularExpression>

#include <array>
#include <cmath>

namespace kestrel {

namespace {

QString shortestNumber(double value)
{
    return QString::number(std::isfinite(value) ? value : 0.0, 'g', QLocale::FloatingPointShortest);
}

} // namespace

QString stringFromRect(const QRectF &frame)
{
    return QStringLiteral("{{%1, %2}, {%3, %4}}")
        .arg(shortestNumber(frame.x()), shortestNumber(frame.y()), shortestNumber(frame.width()),
             shortestNumber(frame.height()));
}

QRectF rectFromString(QStringView text)
{
    // ASCII digits only: a window frame never holds other numerals, and accepting them would let
    // junk read as a position.
    static const QRegularExpression number(
        QStringLiteral("[-+]?(?:[0-9]+(?:\\.[0-9]*)?|\\.[0-9]+)(?:[eE][-+]?[0-9]+)?"));

    std::array<double, 4> values{};
    auto matches = number.globalMatch(text);
    for (std::size_t i = 0; i < values.size() && matches.hasNext(); ++i) {
        bool ok = false;
        const double value = matches.next().captured().toDouble(&ok);
        values[i] = ok && std::isfinite(value) ? value : 0.0;
    }
    return QRectF(values[0], values[1], values[2], values[3]);
}

} // namespace kestrel
