// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kestrel {

// Turns SIGTERM, SIGINT and SIGHUP (logout, Ctrl+C, kill) into an orderly quit of the event
// loop, so everything is torn down as on "Beenden": running curl processes are stopped and
// their temporary files removed, instead of being left behind by an abrupt end.
void quitOnTerminationSignals();

} // namespace kestrel
