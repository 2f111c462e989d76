// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/PrintIdentity.h"

#include <cstdlib>

namespace kestrel {

namespace {
constexpr qint64 startTolerance = 5000;
} // namespace

bool PrintIdentity::isSameAs(const PrintIdentity &other) const
{
    if (filename != other.filename)
        return false;
    if (!startedMs || !other.startedMs)
        return true;
    return std::abs(*startedMs - *other.startedMs) <= startTolerance;
}

} // namespace kestrel
