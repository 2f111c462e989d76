// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace kestrel {

// Where Kestrel's own scene runner is: beside the kestrel binary in a build tree, else in
// libexec under the prefix Kestrel is installed in. Empty where there is none (macOS, which
// has the shortcuts tool).
QString installedSceneRunner();

// The programs Kestrel runs, at their fixed places. Only tests and benchmarks put stand-ins
// elsewhere; nobody else can.
struct ExternalTools
{
    QString curl = QStringLiteral("/usr/bin/curl");
    QString shortcuts = QStringLiteral("/usr/bin/shortcuts");
    // Runs the power scenes where there is no shortcuts tool.
    QString sceneRunner = installedSceneRunner();
};

} // namespace kestrel
