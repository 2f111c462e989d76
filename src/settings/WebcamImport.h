// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/SettingsTypes.h"

#include <QFuture>
#include <QList>

#include <variant>

class QObject;

namespace kestrel {

class PrinterSettings;

// One webcam as the printer host lists it.
struct ListedWebcam
{
    QString name;
    QString snapshotUrl; // as listed: a path on the host, or a whole address
    CameraOrientation orientation;
    QString streamUrl; // likewise
    QString service;   // how the host serves the camera: "mjpegstreamer", "webrtc-…", …
};

// The host's list (GET /server/webcams/list), or the German line that says why there is none.
std::variant<QList<ListedWebcam>, QString> parseWebcamList(const QByteArray &body);

// What taking the list over did: one German line per camera that changed, and one per camera, or
// per stream, that was left alone (an address on another host, a service Kestrel cannot show).
struct WebcamTakeOver
{
    QStringList changes;
    QStringList notes;

    // The whole outcome as one German text for the user.
    QString message() const;
};

// Takes the first three listed webcams over as cameras 1 to 3, in list order: their names,
// snapshot paths, rotation and mirroring, and their MJPEG stream where the host serves one.
// A camera whose address names another host or port than the printer address is not taken
// over: Kestrel asks the printer address for every picture, so only a path on it can be shown.
WebcamTakeOver takeOverWebcams(PrinterSettings &settings, const QList<ListedWebcam> &webcams);

// Fetches the list from the printer host's web server with curl and takes it over; on any
// failure nothing changes and the outcome's message says why.
QFuture<WebcamTakeOver> importWebcams(PrinterSettings &settings, const QString &curlPath,
                                      QObject *owner);

} // namespace kestrel
