// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

namespace kestrel::scenes {

// Makes the scenes folder ready for a user to fill: creates it when it is missing and puts
// every template in as "<name>.beispiel", which cannot run, so nothing switches by accident
// before the user has chosen and renamed one. The small config files the templates read go in
// under their own names, unless the user already has them. Returns a German sentence when the
// folder cannot be made or written.
std::optional<QString> prepareFolder(const QString &folder);

} // namespace kestrel::scenes
