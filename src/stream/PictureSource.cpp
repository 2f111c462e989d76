// SPDX-License-Identifier: GPL-3.0-or-later
#include "stream/PictureSource.h"

namespace kestrel {

void PictureSource::start(const QList<QUrl> &urls, double fps)
{
    if (isRunning() && urls == m_urls)
        return;
    stop();
    m_urls = urls;
    setErrorText(std::nullopt);
    begin(fps);
}

void PictureSource::stop()
{
    halt();
    m_urls.clear();
    m_pausedURLs.clear();
}

void PictureSource::pause()
{
    QList<QUrl> urls = m_urls;
    stop();
    m_pausedURLs = std::move(urls);
}

// A pause is no time without pictures: the rate counts afresh.
void PictureSource::resume(const QList<QUrl> &urls, double fps)
{
    if (isRunning() || urls.isEmpty() || urls != m_pausedURLs) {
        start(urls, fps);
        return;
    }
    m_urls = std::exchange(m_pausedURLs, {});
    m_rate.restart();
    begin(fps);
}

void PictureSource::setDecodeSize(QSize size, qreal devicePixelRatio)
{
    m_target.size = size;
    m_target.devicePixelRatio = devicePixelRatio;
}

void PictureSource::publishPicture(QImage image)
{
    m_image = std::move(image);
    m_rate.record(m_clock.elapsed());
    emit imageChanged();
    setErrorText(std::nullopt);
}

void PictureSource::setErrorText(std::optional<QString> text)
{
    if (text == m_errorText)
        return;
    m_errorText = std::move(text);
    emit errorTextChanged();
}

} // namespace kestrel
