// SPDX-License-Identifier: GPL-3.0-or-later
#include "printers/RecentPicture.h"

#include "platform/DesktopNotifications.h"
#include "settings/PrinterSettings.h"
#include "settings/SnapshotUrls.h"
#include "stream/KeepAliveSnapshotSource.h"

#include <QTimer>

#include <memory>

namespace kestrel {

RecentPicture::RecentPicture(const PrinterSettings &settings, QObject *parent)
    : QObject(parent), m_settings(settings)
{}

void RecentPicture::remember(const QImage &picture)
{
    m_picture = picture;
    m_taken.start();
}

void RecentPicture::fetch(std::function<void(const QImage &)> done)
{
    if (!m_picture.isNull() && !m_taken.hasExpired(freshFor.count())) {
        done(m_picture);
        return;
    }
    const Camera camera = m_settings.resolvedWallCamera();
    const QList<QUrl> urls = makeSnapshotURLs(m_settings.watchedPrinterIP(), camera.snapshotPath);
    if (urls.isEmpty()) {
        done({});
        return;
    }
    auto *source = new KeepAliveSnapshotSource(this);
    constexpr int width = DesktopNotifications::widestPicture;
    source->setDecodeSize({width, 4 * width}, 1.0);
    source->setOrientation(m_settings.orientation(camera.id));
    // Whichever comes first, a picture, a failure or the end of the wait, answers; the rest find
    // the answer given.
    auto finish = [this, source, done = std::move(done),
                   answered = std::make_shared<bool>(false)](const QImage &picture) {
        if (std::exchange(*answered, true))
            return;
        if (!picture.isNull())
            remember(picture);
        source->stop();
        source->deleteLater();
        done(picture);
    };
    connect(source, &PictureSource::imageChanged, this,
            [finish, source] { finish(source->image()); });
    connect(source, &PictureSource::errorTextChanged, this, [finish] { finish({}); });
    QTimer::singleShot(waitAtMost, source, [finish] { finish({}); });
    source->start(urls, 1);
}

} // namespace kestrel
