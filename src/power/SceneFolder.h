// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

namespace kestrel::scenes {

// Where a user keeps the scenes that switch the printer where no shortcuts tool exists:
// $XDG_CONFIG_HOME/Kestrel/scenes, normally ~/.config/Kestrel/scenes.
QString folder();

// A path as a person writes it, with ~ for the home folder.
QString shownPath(const QString &path);

// Why `name` cannot name a scene, as a German sentence, or nothing when it can. A name is one
// file in the scenes folder: it can never reach another folder, and it never reads as an option.
std::optional<QString> nameProblem(const QString &name);

// Marks the characters that do not print (newline, tab, escape…) visibly, so that a text which
// quotes a hostile name stays on one line.
QString printable(const QString &name);

} // namespace kestrel::scenes
