// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/CameraOrientation.h"

namespace kestrel {

QString rotationText(const CameraOrientation &orientation)
{
    return orientation.rotation == 0 ? QString() : QString::number(orientation.rotation);
}

QString mirroringText(const CameraOrientation &orientation)
{
    if (orientation.mirrorHorizontal && orientation.mirrorVertical)
        return QStringLiteral("both");
    if (orientation.mirrorHorizontal)
        return QStringLiteral("horizontal");
    return orientation.mirrorVertical ? QStringLiteral("vertical") : QString();
}

std::optional<int> rotationFromText(QStringView text)
{
    for (const int degrees : {0, 90, 180, 270}) {
        if (text == QString::number(degrees))
            return degrees;
    }
    return text.isEmpty() ? std::optional(0) : std::nullopt;
}

std::optional<std::pair<bool, bool>> mirroringFromText(QStringView text)
{
    if (text.isEmpty() || text == u"none")
        return std::pair(false, false);
    if (text == u"horizontal")
        return std::pair(true, false);
    if (text == u"vertical")
        return std::pair(false, true);
    if (text == u"both")
        return std::pair(true, true);
    return std::nullopt;
}

} // namespace kestrel
