// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/SettingsTypes.h"

#include <QFuture>
#include <QList>

#include <variant>

class QObject;

namespace kestrel {

class AppSettings;

// One webcam as the printer host lists it.
struct ListedWebcam
{
    QString name;
    QString snapshotPath; // path and query on the printer host
    CameraOrientation orientation;
};

// The host's list (GET /server/webcams/list), or the German line that says why there is none.
std::variant<QList<ListedWebcam>, QString> parseWebcamList(const QByteArray &body);

// Takes the first three listed webcams over as cameras 1 to 3, in list order: their names,
// snapshot paths, rotation and mirroring. Returns what changed, one line per camera, in German.
QStringList takeOverWebcams(AppSettings &settings, const QList<ListedWebcam> &webcams);

// Fetches the list from the printer host's web server with curl, takes it over and reports in
// one German text; on any failure nothing changes.
QFuture<QString> importWebcams(AppSettings &settings, const QString &curlPath, QObject *owner);

} // namespace kestrel
