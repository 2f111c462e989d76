// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFont>

// The named text styles of the screens, derived from the desktop's own font so they follow the
// user's size settings: body is the desktop font, headline is body in semibold, title 3 is
// 15/13 of body as on the Mac, and the captions are a little smaller than body.
namespace kestrel::textStyles {

QFont body();
QFont headline();
QFont caption();
QFont caption2();
QFont title3();
// A fixed size in logical pixels, for the few texts whose size is part of the design.
QFont fixed(int pixelSize, QFont::Weight weight);

} // namespace kestrel::textStyles
