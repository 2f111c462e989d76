// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/SnapshotUrls.h"

namespace kestrel {

std::optional<QUrl> strictHttpUrl(const QString &text)
{
    const QUrl url(text, QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty())
        return std::nullopt;
    return url;
}

QString absoluteString(const QUrl &url)
{
    return url.toString(QUrl::FullyEncoded);
}

QList<QUrl> makeSnapshotURLs(const QString &host, const QString &path)
{
    const QString slashedPath = path.startsWith(u'/') ? path : u'/' + path;
    const auto url = strictHttpUrl(QStringLiteral("http://") + host + slashedPath);
    return url ? QList<QUrl>{*url} : QList<QUrl>{};
}

} // namespace kestrel
