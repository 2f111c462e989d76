// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/Camera.h"

#include <algorithm>

namespace kestrel {

const QList<Camera> &cameraCatalogue()
{
    static const QList<Camera> catalogue{
        {1, QStringLiteral("Übersichtscam"), 8080, QStringLiteral("/webcam/?action=stream"),
         QStringLiteral("/webcam/?action=snapshot"), QStringLiteral("1280x960"), 15},
        {2, QStringLiteral("Düsencam"), 8081, QStringLiteral("/webcam2/?action=stream"),
         QStringLiteral("/webcam2/?action=snapshot"), QStringLiteral("1920x1080"), 30},
        {3, QStringLiteral("Filamentcam"), 8082, QStringLiteral("/webcam3/?action=stream"),
         QStringLiteral("/webcam3/?action=snapshot"), QStringLiteral("1920x1080"), 30},
    };
    return catalogue;
}

const Camera *catalogueCamera(CameraId id)
{
    const QList<Camera> &catalogue = cameraCatalogue();
    const auto camera = std::find_if(catalogue.cbegin(), catalogue.cend(),
                                     [id](const Camera &entry) { return entry.id == id; });
    return camera == catalogue.cend() ? nullptr : &*camera;
}

} // namespace kestrel
