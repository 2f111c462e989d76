// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/CameraCaption.h"

#include <QCoreApplication>

namespace kestrel {

QString cameraCaption(const Camera &resolved, const QString &streamPath,
                      const std::function<QString(const QString &)> &dressPath)
{
    const bool streams = !streamPath.isEmpty();
    const QString path = streams ? streamPath : resolved.snapshotPath;
    return resolved.resolution +
           QCoreApplication::translate("CameraCaption", streams ? " • Live-Stream " : " • Proxy ") +
           (dressPath ? dressPath(path) : path);
}

} // namespace kestrel
