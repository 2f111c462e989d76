// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "stream/PictureSource.h"

#include <QDir>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <optional>

namespace kestrel {

struct FetchOutcome;

// Fetches one camera's still pictures in rounds, pausing between rounds, and publishes the
// latest picture or the text of the latest failure.
//
// Each round tries the URLs in order until one gives a picture. Stopping ends the loop between
// rounds only: a round under way runs to its end and still publishes.
class SnapshotLoader : public PictureSource
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

    bool isRunning() const override { return m_running; }

signals:
    void roundFinished();

protected:
    // The first round begins at once, without a pause.
    void begin(double fps) override;
    void halt() override;

private:
    void runRound();
    void fetchFrom(const QList<QUrl> &urls, qsizetype index, quint64 loop);
    void finishRound(const QList<QUrl> &urls, bool gotPicture, quint64 loop);

    const QString m_curlPath;
    const QString m_temporaryFolder;
    QTimer m_pause;
    bool m_running = false;
    quint64 m_loop = 0; // bumped by every halt; a round of an older loop starts no next one
};

} // namespace kestrel
