// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

namespace kestrel {

// The outcome of one run of the shortcuts tool.
struct ShortcutExecutionResult
{
    bool success = false;                // launched and exited with status 0
    QString output;                      // trimmed standard output; empty if not valid UTF-8
    std::optional<QString> errorMessage; // absent on success

    friend bool operator==(const ShortcutExecutionResult &,
                           const ShortcutExecutionResult &) = default;
};

} // namespace kestrel
