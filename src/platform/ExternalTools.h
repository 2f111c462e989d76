// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace kestrel {

// The programs Kestrel runs, at their fixed places. Only tests and benchmarks put stand-ins
// elsewhere; nobody else can.
struct ExternalTools
{
    QString curl = QStringLiteral("/usr/bin/curl");
    QString shortcuts = QStringLiteral("/usr/bin/shortcuts");
};

} // namespace kestrel
