// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QNetworkRequest>

namespace kestrel {

// A request for a camera's pictures: always from the camera itself, never from or into a cache,
// and over HTTP/1.1, which is what camera streamers speak. Where a redirect may lead is the
// caller's choice.
QNetworkRequest pictureRequest(const QUrl &url, QNetworkRequest::RedirectPolicy redirects);

} // namespace kestrel
