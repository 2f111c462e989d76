// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/SettingsTypes.h"

#include <QVariant>

#include <optional>

// How each settings field is kept in the key-value store, and how a stored value that a person or
// an older version left behind is read back. Readers never fail: an unusable value gives the
// fallback, an unusable entry of a dictionary is skipped.
namespace kestrel::codec {

// Decimal text with at most one leading sign, ASCII digits only, within 64 bits.
std::optional<CameraId> parseCameraId(QStringView text);

QString decodeString(const QVariant &stored, const QString &fallback);
bool decodeBool(const QVariant &stored, bool fallback);

// Names, paths and frames: a dictionary from decimal id to text. Any value that is not a string
// rejects the whole dictionary; keys that are no id are skipped, and so are empty texts unless
// they are to be kept.
enum class EmptyTexts
{
    skip,
    keep
};
CameraTextMap decodeCameraTexts(const QVariant &stored, EmptyTexts empty);

// Looks up each catalogue camera under its plain decimal id; unknown ids and words are dropped.
// Only a value that is no dictionary of strings at all gives the fallback.
PlacementMap decodePlacements(const QVariant &stored, const PlacementMap &fallback);

// Rotations and mirroring, from one dictionary each, looked up like placements: unknown ids and
// words are dropped, and a value that is no dictionary of strings counts as empty.
OrientationMap decodeOrientations(const QVariant &rotations, const QVariant &mirroring);

// A non-empty array of integers; anything else gives the fallback. Unknown ids are kept.
CameraIdSet decodeSelection(const QVariant &stored, const CameraIdSet &fallback);

// One camera of the catalogue, by its id; none for anything else.
std::optional<CameraId> decodeCatalogueCamera(const QVariant &stored);

QVariant encode(std::optional<CameraId> id);
QVariant encode(const QString &text);
QVariant encode(bool flag);
QVariant encode(const CameraIdSet &ids);
QVariant encode(const CameraTextMap &texts);
QVariant encode(const PlacementMap &placements);
// The rotations' dictionary and the mirroring's; a camera left as it is has no entry in either.
QVariant encodeRotations(const OrientationMap &orientations);
QVariant encodeMirroring(const OrientationMap &orientations);

} // namespace kestrel::codec
