// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

namespace kestrel {

// One print as a question names it: its file, and when it began by this machine's steady clock
// (none where the host does not say how long it has run).
struct PrintIdentity
{
    QString filename;
    std::optional<qint64> startedMs;

    // The same print; a new print of the same file began later. Two readings of one start differ
    // by how late the host's updates came, a second or two.
    bool isSameAs(const PrintIdentity &other) const;
};

} // namespace kestrel
