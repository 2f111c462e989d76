#pragma once

#include <QList>
#include <QUrl>

namespace kestrel {

// The snapshot addresses of one camera: "http://" + host + path, with a "/" put in front of a
// path that lacks one. The host is used exactly as typed (it may carry its own ":port").
// Returns one URL, or an empty list when the text is no valid URL; callers treat that as a
// configuration error of the camera.
QList<QUrl> makeSnapshotURLs(const QString &host, const QString &path);

} // namespace kestrel
