// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/ProcessRunner.h"
#include "power/HomeKitAccessoryState.h"
#include "power/ShortcutExecutionResult.h"

namespace kestrel {

struct PowerWords;

// What one finished run of the shortcuts tool (or the scene runner) amounts to.
ShortcutExecutionResult shortcutResultFromProcess(const ProcessResult &process,
                                                  const PowerWords &words);

// Reads the status shortcut's answer: whole words, any case; an on-word wins over an off-word
// wherever both stand ("ein", "an", "on", "true", "1" against "aus", "off", "false", "0").
HomeKitAccessoryState interpretStatusResult(const ShortcutExecutionResult &result,
                                            const PowerWords &said);

// The power state as the screens show it, naming the printer as `printer`.
QString statusText(const HomeKitAccessoryState &state,
                   const QString &printer = QStringLiteral("Ender"));

} // namespace kestrel
