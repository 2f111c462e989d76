// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kestrel::appIdentity {

// How the desktop knows Kestrel: the application name (which also places the settings file),
// the desktop entry its windows belong to, and the icon every window shows. Call once, right
// after the application object exists.
void apply();

} // namespace kestrel::appIdentity
