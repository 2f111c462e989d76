// SPDX-License-Identifier: GPL-3.0-or-later
#include "stream/SnapshotLoader.h"

#include "settings/SnapshotUrls.h"
#include "stream/SnapshotFetch.h"

#include <QPointer>

#include <algorithm>
#include <cmath>

namespace kestrel {

SnapshotLoader::SnapshotLoader(QObject *parent, QString curlPath, QString temporaryFolder)
    : PictureSource(parent), m_curlPath(std::move(curlPath)),
      m_temporaryFolder(std::move(temporaryFolder))
{
    m_pause.setSingleShot(true);
    m_pause.setTimerType(Qt::PreciseTimer);
    connect(&m_pause, &QTimer::timeout, this, &SnapshotLoader::runRound);
}

std::chrono::milliseconds SnapshotLoader::pauseFor(qint64 fps)
{
    const std::chrono::nanoseconds pause{1'000'000'000ULL / std::max<qint64>(fps, 1)};
    return std::chrono::ceil<std::chrono::milliseconds>(pause);
}

void SnapshotLoader::begin(double fps)
{
    m_pause.setInterval(pauseFor(std::llround(fps)));
    m_running = true;
    const quint64 loop = m_loop;
    QMetaObject::invokeMethod(
        this,
        [this, loop] {
            if (loop == m_loop)
                runRound();
        },
        Qt::QueuedConnection);
}

void SnapshotLoader::halt()
{
    ++m_loop;
    m_running = false;
    m_pause.stop();
}

void SnapshotLoader::runRound()
{
    fetchFrom(urls(), 0, m_loop);
}

void SnapshotLoader::fetchFrom(const QList<QUrl> &urls, qsizetype index, quint64 loop)
{
    if (index == urls.size()) {
        finishRound(urls, false, loop);
        return;
    }
    const FetchRequest request{m_curlPath, urls[index], m_temporaryFolder, decodeTarget()};
    SnapshotFetch::start(request, this)
        .then([this, self = QPointer(this), urls, index, loop](FetchOutcome outcome) {
            if (!self)
                return;
            if (outcome.image) {
                publishPicture(std::move(*outcome.image));
                finishRound(urls, true, loop);
            } else {
                setErrorText(outcome.errorText);
                fetchFrom(urls, index + 1, loop);
            }
        });
}

void SnapshotLoader::finishRound(const QList<QUrl> &urls, bool gotPicture, quint64 loop)
{
    if (!gotPicture && !errorText() && !urls.isEmpty())
        setErrorText(QStringLiteral("Kein Bild von ") + absoluteString(urls.first()));
    emit roundFinished();
    if (loop == m_loop)
        m_pause.start();
}

} // namespace kestrel
