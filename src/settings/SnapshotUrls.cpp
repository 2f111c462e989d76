#include "settings/SnapshotUrls.h"

namespace kestrel {

QList<QUrl> makeSnapshotURLs(const QString &host, const QString &path)
{
    const QString slashedPath = path.startsWith(u'/') ? path : u'/' + path;
    const QUrl url(QStringLiteral("http://") + host + slashedPath, QUrl::StrictMode);

    // Valid means: QUrl's strict parser accepts the text (no blanks, control characters or
    // stray delimiters anywhere) and the text names a host. Whatever fails this never reaches
    // curl, so an address can never smuggle in an option or a second URL.
    if (!url.isValid() || url.host().isEmpty())
        return {};
    return {url};
}

} // namespace kestrel
