// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/WindowPlacement.h"

#include <QCoreApplication>

namespace kestrel {

namespace {

struct PlacementTexts
{
    const char16_t *raw;
    const char *display;
};

constexpr std::array<PlacementTexts, 5> texts{{
    {u"topLeft", QT_TRANSLATE_NOOP("WindowPlacement", "Links oben")},
    {u"topRight", QT_TRANSLATE_NOOP("WindowPlacement", "Rechts oben")},
    {u"bottomLeft", QT_TRANSLATE_NOOP("WindowPlacement", "Links unten")},
    {u"bottomRight", QT_TRANSLATE_NOOP("WindowPlacement", "Rechts unten")},
    {u"free", QT_TRANSLATE_NOOP("WindowPlacement", "Frei")},
}};

const PlacementTexts &textsOf(WindowPlacement placement)
{
    return texts[static_cast<std::size_t>(placement)];
}

} // namespace

QString rawValue(WindowPlacement placement)
{
    return QString::fromUtf16(textsOf(placement).raw);
}

std::optional<WindowPlacement> windowPlacementFromRawValue(QStringView text)
{
    for (const WindowPlacement placement : allWindowPlacements) {
        if (text == QStringView(textsOf(placement).raw))
            return placement;
    }
    return std::nullopt;
}

QString displayName(WindowPlacement placement)
{
    return QCoreApplication::translate("WindowPlacement", textsOf(placement).display);
}

} // namespace kestrel
