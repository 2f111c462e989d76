// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/Camera.h"

#include <QByteArray>
#include <QList>

namespace kestrel::demo {

// A cycle of JPEG pictures for one camera at its catalogue resolution: its name, a clock whose
// hand goes round once per cycle, and a print head moving over the bed. Rendered once, in
// parallel, so serving a picture later costs nothing but a copy of a shared buffer.
QList<QByteArray> renderCycle(const Camera &camera, int frameCount);

} // namespace kestrel::demo
