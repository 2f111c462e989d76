// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/CameraOrientation.h"
#include "stream/PictureRate.h"

#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QList>
#include <QObject>
#include <QSize>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <chrono>
#include <optional>

namespace kestrel {

struct FetchOutcome;

// Fetches one camera's still pictures in rounds, pausing between rounds, and publishes the
// latest picture or the text of the latest failure. A failure never clears the picture, so a
// window keeps its last good picture under the error.
//
// Each round tries the URLs in order until one gives a picture. Stopping ends the loop between
// rounds only: a round under way runs to its end and still publishes.
class SnapshotLoader : public QObject
{
    Q_OBJECT

public:
    explicit SnapshotLoader(QObject *parent = nullptr,
                            QString curlPath = QStringLiteral("/usr/bin/curl"),
                            QString temporaryFolder = QDir::tempPath());

    // 1,000,000,000 ns divided by max(fps, 1), rounded up to whole milliseconds so a camera
    // never gets more pictures than it asked for.
    static std::chrono::milliseconds pauseFor(qint64 fps);
    // The rate a camera's pictures are fetched at: its own, kept between 1 and 6 a second.
    static qint64 shownRate(qint64 cameraFPS) { return std::clamp<qint64>(cameraFPS, 1, 6); }

    // Starts fetching from these URLs, or keeps the running loop if they are the same, in the
    // same order. Any other list restarts at once, without a pause.
    void start(const QList<QUrl> &urls, qint64 fps);
    void stop();
    // A pause is a stop that resume() can take back: resuming the same list is no new start, so
    // the picture and the error text stay until the next round publishes. Any other list
    // starts afresh.
    void pause();
    void resume(const QList<QUrl> &urls, qint64 fps);

    // Pictures are decoded to fit this size (device pixels), which keeps decoding cheap.
    void setDecodeSize(QSize size, qreal devicePixelRatio);
    // Pictures fetched from now on are turned and mirrored so.
    void setOrientation(const CameraOrientation &orientation) { m_orientation = orientation; }

    QImage image() const { return m_image; }
    std::optional<QString> errorText() const { return m_errorText; }
    QList<QUrl> currentURLs() const { return m_currentURLs; }
    bool isRunning() const { return m_running; }
    // Pictures published per second lately; none right after the first.
    std::optional<double> picturesPerSecond() const { return m_rate.perSecond(m_clock.elapsed()); }

signals:
    void imageChanged();
    void errorTextChanged();
    void roundFinished();

private:
    void runLoop(qint64 fps);
    void runRound();
    void fetchFrom(const QList<QUrl> &urls, qsizetype index, quint64 loop);
    void finishRound(const QList<QUrl> &urls, bool gotPicture, quint64 loop);
    void setErrorText(std::optional<QString> text);

    const QString m_curlPath;
    const QString m_temporaryFolder;
    QTimer m_pause;
    QSize m_decodeSize;
    qreal m_devicePixelRatio = 1.0;
    CameraOrientation m_orientation;
    QElapsedTimer m_clock;
    PictureRate m_rate;
    QImage m_image;
    std::optional<QString> m_errorText;
    QList<QUrl> m_currentURLs;
    QList<QUrl> m_pausedURLs;
    bool m_running = false;
    quint64 m_loop = 0; // bumped by start and stop; a round of an older loop starts no next one
};

} // namespace kestrel
