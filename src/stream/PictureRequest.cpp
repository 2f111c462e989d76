// SPDX-License-Identifier: GPL-3.0-or-later
#include "stream/PictureRequest.h"

namespace kestrel {

QNetworkRequest pictureRequest(const QUrl &url, QNetworkRequest::RedirectPolicy redirects)
{
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, redirects);
    return request;
}

} // namespace kestrel
