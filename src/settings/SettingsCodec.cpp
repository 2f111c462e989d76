// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/SettingsCodec.h"

#include "settings/Camera.h"

#include <QVariantList>
#include <QVariantMap>

namespace kestrel::codec {

namespace {

bool holds(const QVariant &value, QMetaType::Type type)
{
    return value.metaType().id() == type;
}

// Null when the value is not a dictionary whose values are all strings.
std::optional<QVariantMap> stringDictionary(const QVariant &stored)
{
    if (!holds(stored, QMetaType::QVariantMap))
        return std::nullopt;
    QVariantMap map = stored.toMap();
    for (const QVariant &value : std::as_const(map)) {
        if (!holds(value, QMetaType::QString))
            return std::nullopt;
    }
    return map;
}

bool holdsInteger(const QVariant &value)
{
    return holds(value, QMetaType::LongLong) || holds(value, QMetaType::Int);
}

QString idText(CameraId id)
{
    return QString::number(id);
}

} // namespace

std::optional<CameraId> parseCameraId(QStringView text)
{
    const QStringView digits =
        text.startsWith(u'+') || text.startsWith(u'-') ? text.sliced(1) : text;
    if (digits.isEmpty())
        return std::nullopt;
    for (const QChar c : digits) {
        if (c < u'0' || c > u'9')
            return std::nullopt;
    }
    bool ok = false;
    const CameraId id = text.toLongLong(&ok, 10);
    return ok ? std::optional(id) : std::nullopt;
}

QString decodeString(const QVariant &stored, const QString &fallback)
{
    return holds(stored, QMetaType::QString) ? stored.toString() : fallback;
}

bool decodeBool(const QVariant &stored, bool fallback)
{
    return holds(stored, QMetaType::Bool) ? stored.toBool() : fallback;
}

CameraTextMap decodeCameraTexts(const QVariant &stored, EmptyTexts empty)
{
    CameraTextMap result;
    const auto map = stringDictionary(stored);
    if (!map)
        return result;
    for (auto it = map->cbegin(); it != map->cend(); ++it) {
        const auto id = parseCameraId(it.key());
        const QString text = it.value().toString();
        if (!id || (text.isEmpty() && empty == EmptyTexts::skip))
            continue;
        result.insert(*id, text);
    }
    return result;
}

PlacementMap decodePlacements(const QVariant &stored, const PlacementMap &fallback)
{
    const auto map = stringDictionary(stored);
    if (!map)
        return fallback;
    PlacementMap result;
    for (const Camera &camera : cameraCatalogue()) {
        const auto placement =
            windowPlacementFromRawValue(map->value(idText(camera.id)).toString());
        if (placement)
            result.insert(camera.id, *placement);
    }
    return result;
}

OrientationMap decodeOrientations(const QVariant &rotations, const QVariant &mirroring)
{
    const QVariantMap turned = stringDictionary(rotations).value_or(QVariantMap());
    const QVariantMap mirrored = stringDictionary(mirroring).value_or(QVariantMap());
    OrientationMap result;
    for (const Camera &camera : cameraCatalogue()) {
        CameraOrientation orientation;
        orientation.rotation =
            rotationFromText(turned.value(idText(camera.id)).toString()).value_or(0);
        std::tie(orientation.mirrorHorizontal, orientation.mirrorVertical) =
            mirroringFromText(mirrored.value(idText(camera.id)).toString())
                .value_or(std::pair(false, false));
        if (!orientation.isUnchanged())
            result.insert(camera.id, orientation);
    }
    return result;
}

CameraIdSet decodeSelection(const QVariant &stored, const CameraIdSet &fallback)
{
    if (!holds(stored, QMetaType::QVariantList))
        return fallback;
    const QVariantList list = stored.toList();
    CameraIdSet result;
    for (const QVariant &element : list) {
        if (!holdsInteger(element))
            return fallback;
        result.insert(element.toLongLong());
    }
    return result.empty() ? fallback : result;
}

std::optional<CameraId> decodeCatalogueCamera(const QVariant &stored)
{
    if (!holdsInteger(stored))
        return std::nullopt;
    const CameraId id = stored.toLongLong();
    return catalogueCamera(id) ? std::optional(id) : std::nullopt;
}

QVariant encode(std::optional<CameraId> id)
{
    return id ? QVariant::fromValue<qint64>(*id) : QVariant();
}

QVariant encode(const QString &text)
{
    return text;
}

QVariant encode(bool flag)
{
    return flag;
}

QVariant encode(const CameraIdSet &ids)
{
    QVariantList list;
    for (const CameraId id : ids)
        list.append(QVariant::fromValue<qint64>(id));
    return list;
}

QVariant encode(const CameraTextMap &texts)
{
    QVariantMap map;
    for (auto it = texts.cbegin(); it != texts.cend(); ++it)
        map.insert(idText(it.key()), it.value());
    return map;
}

QVariant encode(const PlacementMap &placements)
{
    QVariantMap map;
    for (auto it = placements.cbegin(); it != placements.cend(); ++it)
        map.insert(idText(it.key()), rawValue(it.value()));
    return map;
}

namespace {

QVariant encodeTexts(const OrientationMap &orientations, QString (*text)(const CameraOrientation &))
{
    QVariantMap map;
    for (auto it = orientations.cbegin(); it != orientations.cend(); ++it) {
        if (const QString value = text(it.value()); !value.isEmpty())
            map.insert(idText(it.key()), value);
    }
    return map;
}

} // namespace

QVariant encodeRotations(const OrientationMap &orientations)
{
    return encodeTexts(orientations, rotationText);
}

QVariant encodeMirroring(const OrientationMap &orientations)
{
    return encodeTexts(orientations, mirroringText);
}

} // namespace kestrel::codec
