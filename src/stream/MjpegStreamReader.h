// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "stream/MjpegPartReader.h"
#include "stream/NewestFirstDecoder.h"
#include "stream/PictureSource.h"

#include <QTimer>

#include <chrono>
#include <optional>

class QNetworkAccessManager;
class QNetworkReply;

namespace kestrel {

// When a stream counts as stalled, and how long to wait before connecting again.
struct StreamTimings
{
    std::chrono::milliseconds stall{5000};
    QList<std::chrono::milliseconds> retries{std::chrono::milliseconds(1000),
                                             std::chrono::milliseconds(2000),
                                             std::chrono::milliseconds(5000)};
};

// A camera's live picture: one HTTP GET of its MJPEG stream, read as it arrives. Pictures are
// decoded on a worker at the shown size, newest first: while one is decoded, a newer one waits
// and replaces any that waited before, so the window never lags behind the camera. Only the
// first address is used.
//
// A broken stream (no such stream, a part too large, endless headers, the connection lost, no
// picture decoded for the stall time) shows its failure over the last picture and is tried again
// after 1 s, 2 s, then every 5 s, but only while the window is shown.
class MjpegStreamReader : public PictureSource
{
    Q_OBJECT

public:
    explicit MjpegStreamReader(QObject *parent = nullptr, StreamTimings timings = {});

    bool isRunning() const override { return m_running; }

    // Bytes held for the part in progress and the picture waiting to be decoded.
    qsizetype heldBytes() const;

protected:
    void begin(double fps) override;
    void halt() override;

private:
    QUrl streamUrl() const { return urls().value(0); }
    void connectToStream();
    void readHeaders();
    void readBody();
    void connectionEnded();
    void showDecoded(std::optional<QImage> image);
    void fail(const QString &reason);
    void disconnectReply();

    const StreamTimings m_timings;
    QNetworkAccessManager *m_network;
    QNetworkReply *m_reply = nullptr;
    std::optional<MjpegPartReader> m_parts;
    bool m_running = false;
    NewestFirstDecoder *m_decoder;
    QTimer m_stall;
    QTimer m_retry;
    qsizetype m_failures = 0; // in a row, for the back-off
};

} // namespace kestrel
