// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/Camera.h"

#include <QString>

#include <functional>

namespace kestrel {

// What a camera shows under its name: "1920x1080 • Proxy /webcam/?action=snapshot", or its
// stream's path for a camera that streams, as its window says "Live-Stream". The path may be
// dressed for its label (kept from wrapping, say).
QString cameraCaption(const Camera &resolved, const QString &streamPath,
                      const std::function<QString(const QString &)> &dressPath = {});

} // namespace kestrel
