// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

namespace kestrel {

using CameraId = qint64;

// One printer camera. The catalogue fixes them; settings only rename them or change their path.
struct Camera
{
    CameraId id = 0;
    QString name;
    qint64 port = 0;
    QString streamPath;
    QString snapshotPath;
    QString resolution; // shown as it stands, never parsed
    qint64 fps = 0;

    // All seven fields count: a renamed camera is a different value from its catalogue entry.
    friend bool operator==(const Camera &, const Camera &) = default;
};

// The three cameras a Crowsnest host of ours serves, in the order every screen lists them.
const QList<Camera> &cameraCatalogue();
// The catalogue's camera with this id; none for an id it does not know.
const Camera *catalogueCamera(CameraId id);

} // namespace kestrel
