// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "stream/PictureSource.h"

#include <QElapsedTimer>
#include <QTimer>

class QNetworkAccessManager;
class QNetworkReply;

namespace kestrel {

class NewestFirstDecoder;

// A camera's still pictures fetched in-process, for many cameras at once: each host keeps its
// HTTP/1.1 connection open from picture to picture, so a picture costs one request and no new
// process or connection. A picture is asked for at the wished rate, never while the last request
// still waits, and decoded newest first at the size it is shown at. Failures read as the curl
// snapshots' do, with the address after them.
class KeepAliveSnapshotSource : public PictureSource
{
    Q_OBJECT

public:
    // Every source shares one connection pool unless it is given its own.
    explicit KeepAliveSnapshotSource(QObject *parent = nullptr,
                                     QNetworkAccessManager *network = nullptr);

    bool isRunning() const override { return m_pace.isActive(); }

    // Whether a request is on its way; for the wall's figures and tests.
    bool isFetching() const { return m_reply != nullptr; }

    static constexpr std::chrono::milliseconds timeout{5000};

protected:
    void begin(double fps) override;
    void halt() override;

private:
    void fetch(qsizetype index);
    void received(qsizetype index);
    void abortFetch();

    QNetworkAccessManager &m_network;
    NewestFirstDecoder *m_decoder;
    QTimer m_pace;
    QNetworkReply *m_reply = nullptr;
    QElapsedTimer m_sent;
    qint64 m_received = 0;
};

} // namespace kestrel
