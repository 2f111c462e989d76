// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QUrl>

#include <optional>

namespace kestrel {

// The one rule for "is this a valid address" that every request of ours follows: QUrl's strict
// parser accepts the text (no blanks, control characters or stray delimiters anywhere) and the
// text names a host. Whatever fails it never reaches curl or the network, so an address can never
// smuggle in an option or a second URL.
std::optional<QUrl> strictHttpUrl(const QString &text);

// A URL as every text and argument of ours shows it: fully percent-encoded.
QString absoluteString(const QUrl &url);

// The snapshot addresses of one camera: "http://" + host + path, with a "/" put in front of a
// path that lacks one. The host is used exactly as typed (it may carry its own ":port").
// Returns one URL, or an empty list when the text is no valid URL; callers treat that as a
// configuration error of the camera.
QList<QUrl> makeSnapshotURLs(const QString &host, const QString &path);

} // namespace kestrel
