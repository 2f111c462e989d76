// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>

// The named colours of the screens, as the Mac's system colours have them.
namespace kestrel::systemColors {

inline QColor red()
{
    return {255, 59, 48};
}
inline QColor orange()
{
    return {255, 149, 0};
}
inline QColor yellow()
{
    return {255, 204, 0};
}
inline QColor green()
{
    return {52, 199, 89};
}

// White at the given opacity, for text on the dark camera cards.
inline QColor white(qreal opacity)
{
    return QColor::fromRgbF(1, 1, 1, opacity);
}

} // namespace kestrel::systemColors
