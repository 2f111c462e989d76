// SPDX-License-Identifier: GPL-3.0-or-later
#include "stream/NewestFirstDecoder.h"

#include <QFutureWatcher>
#include <QtConcurrent>

namespace kestrel {

NewestFirstDecoder::NewestFirstDecoder(std::function<void(std::optional<QImage>)> decoded,
                                       QObject *parent)
    : QObject(parent), m_decoded(std::move(decoded))
{}

void NewestFirstDecoder::decode(QByteArray bytes, const DecodeTarget &target)
{
    if (m_decoding) {
        m_waiting.emplace(std::move(bytes), target);
        return;
    }
    m_decoding = true;
    auto *watcher = new QFutureWatcher<std::optional<QImage>>(this);
    connect(watcher, &QFutureWatcherBase::finished, this,
            [this, watcher, generation = m_generation] {
                watcher->deleteLater();
                m_decoding = false;
                if (generation == m_generation)
                    m_decoded(watcher->result());
                if (m_waiting) {
                    auto [next, target] = *std::exchange(m_waiting, std::nullopt);
                    decode(std::move(next), target);
                }
            });
    watcher->setFuture(QtConcurrent::run(
        &decodingThreads(),
        [](const QByteArray &picture, const DecodeTarget &target) {
            return decodePicture(picture, target);
        },
        std::move(bytes), target));
}

void NewestFirstDecoder::forget()
{
    ++m_generation;
    m_waiting.reset();
}

} // namespace kestrel
