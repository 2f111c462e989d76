// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

// Starting Kestrel at login, the freedesktop way: an entry in the user's autostart folder
// ($XDG_CONFIG_HOME/autostart). The entry itself is the setting, so the desktop's own autostart
// manager and Kestrel always agree on it.
namespace kestrel::autostart {

// The option the entry starts Kestrel with: no main window where a tray icon can stand in for it.
inline const QString hiddenOption = QStringLiteral("hidden");

QString entryPath();
// An entry that the desktop switched off (Hidden=true) counts as none.
bool isEnabled();
// Writes or removes the entry; false when the file system refused.
bool setEnabled(bool enabled);

} // namespace kestrel::autostart
