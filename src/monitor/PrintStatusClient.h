// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PrintStatusProtocol.h"

#include <QObject>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <optional>

class QNetworkAccessManager;
class QNetworkReply;
class QWebSocket;

namespace kestrel {

class AppSettings;
class PiStatusMonitor;
class PiReachability;

// How often to look again: for Klipper while it is not ready, for the host after a lost
// connection (doubling up to the longest), and how long to gather updates before showing them.
struct PrintStatusTimings
{
    std::chrono::milliseconds askAgain{2000};
    std::chrono::milliseconds reconnectFirst{2000};
    std::chrono::milliseconds reconnectLongest{30000};
    std::chrono::milliseconds gather{100};
};

// What the printer is doing, from the printer host's API over its websocket: connected only while
// the host monitor finds the host answering, reconnecting after a drop. A host without that API
// is no failure the user sees; its status simply stays empty. For each print it asks the host
// once for the slicer's estimate of the print time, which the time left takes into account.
class PrintStatusClient : public QObject
{
    Q_OBJECT

public:
    PrintStatusClient(const AppSettings &settings, const PiStatusMonitor &monitor,
                      QObject *parent = nullptr, PrintStatusTimings timings = {});
    ~PrintStatusClient() override;

    PrintStatus status() const { return m_protocol.status(); }
    std::optional<double> slicerEstimate() const { return m_slicerEstimate; }
    PrintStatusLine line() const { return printStatusLine(status(), m_slicerEstimate); }
    bool isConnected() const;

    // Frames larger than this close the connection: no status of ours is anywhere near it.
    static constexpr qint64 largestFrame = 1024 * 1024;

signals:
    // At most once per gathering time, however fast the host sends.
    void statusChanged(const kestrel::PrintStatus &status);

private:
    void followHost(const PiReachability &reachability);
    void connectToHost();
    void disconnectFromHost();
    void connectionLost();
    void received(const QString &frame);
    void askForEstimate();
    QUrl hostUrl(const QString &path) const;

    const AppSettings &m_settings;
    const PrintStatusTimings m_timings;
    PrintStatusProtocol m_protocol;
    QWebSocket *m_socket = nullptr;
    QNetworkAccessManager *m_network;
    QNetworkReply *m_estimateReply = nullptr;
    QString m_estimatedFile;
    std::optional<double> m_slicerEstimate;
    bool m_hostAnswers = false;
    std::chrono::milliseconds m_reconnectDelay;
    QTimer m_askAgain;
    QTimer m_reconnect;
    QTimer m_gather;
};

} // namespace kestrel
