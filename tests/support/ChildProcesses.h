// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

namespace kestrel::test {

// The command names of this process's direct children that still exist (zombies included),
// read from /proc: a run that is over must leave none behind.
QStringList childProcessNames();

} // namespace kestrel::test
