#pragma once

#include <QFont>

// The named text styles of the screens, derived from the desktop's own font so they follow the
// user's size settings: body is the desktop font, the others keep the proportions people know
// from the Mac (body 13, headline 13 semibold, caption 10, title 3 at 15 points).
namespace kestrel::textStyles {

QFont body();
QFont headline();
QFont caption();
QFont caption2();
QFont title3();
// A fixed size in logical pixels, for the few texts whose size is part of the design.
QFont fixed(int pixelSize, QFont::Weight weight);

} // namespace kestrel::textStyles
