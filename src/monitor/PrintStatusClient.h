// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PrintIdentity.h"
#include "monitor/PrintStatusProtocol.h"
#include "monitor/PrinterHttpCalls.h"

#include <QHash>

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <optional>

class QWebSocket;

namespace kestrel {

class PrinterSettings;
class PiStatusMonitor;
class PrintControlCall;
class PiReachability;

// How often to look again: for Klipper while it is not ready, for the host after a lost
// connection (doubling up to the longest), and after the host refused the key; how long to
// gather updates before showing them; how long a handshake may take; how often to ping an open
// connection, and how long a silent one lives; when a control's answer is late, and when it is
// given up.
struct PrintStatusTimings
{
    std::chrono::milliseconds askAgain{2000};
    std::chrono::milliseconds reconnectFirst{2000};
    std::chrono::milliseconds reconnectLongest{30000};
    std::chrono::milliseconds refusedAgain{60000};
    std::chrono::milliseconds gather{100};
    std::chrono::milliseconds handshake{10000};
    std::chrono::milliseconds ping{5000};
    std::chrono::milliseconds silence{15000};
    std::chrono::milliseconds controlSlow{10000};
    std::chrono::milliseconds controlGiveUp{300000};
};

// What the printer is doing, from the printer host's API over its websocket, with the user's API
// key. A new connection is opened only while the host monitor finds the host answering; an open
// one lives until it fails itself (no answer to pings), since one missed probe is no lost host.
// A broken connection or handshake is tried again, less often each time; a refused key only once
// a minute, or as soon as the key or the address changes. A host without that API is no failure
// the user sees; its status simply stays empty. For each print it asks the host once for the
// slicer's estimate of the print time, which the time left takes into account.
class PrintStatusClient : public QObject
{
    Q_OBJECT

public:
    PrintStatusClient(const PrinterSettings &settings, const PiStatusMonitor &monitor,
                      QObject *parent = nullptr, PrintStatusTimings timings = {});
    ~PrintStatusClient() override;

    PrintStatus status() const { return m_protocol.status(); }
    std::optional<double> slicerEstimate() const { return m_slicerEstimate; }
    PrintStatusLine line() const { return printStatusLine(status(), m_slicerEstimate); }
    bool isConnected() const;

    // The print under way, running or paused, as a question names it; none without one.
    std::optional<PrintIdentity> printUnderWay() const;

    // Asks the host to pause, cancel and so on, over the open connection. The call says once
    // whether the host did it; it fails without a connection, when the connection goes before
    // the answer, and when none comes in time. What changes shows through the status as ever.
    // The emergency stop takes the host API's HTTP way where the connection is down or has not
    // been heard from lately, since the host may well answer all the same.
    PrintControlCall *send(PrintControl control);
    // Kestrel sent the emergency stop, and has heard of Klipper since only that it is shut down,
    // or nothing at all: a shutdown it hears of now, also once a lost connection is back, is
    // that stop's.
    bool stoppedHere() const { return m_stopped.isValid(); }

    // Frames larger than this close the connection: no status of ours is anywhere near it.
    static constexpr qint64 largestFrame = 1024 * 1024;

signals:
    // At most once per gathering time, however fast the host sends.
    void statusChanged(const kestrel::PrintStatus &status);

private:
    void followHost(const PiReachability &reachability);
    void connectToHost();
    void closeSocket();
    void disconnectFromHost();
    void connectionLost();
    void handshakeFailed();
    void refused();
    void retryLater();
    void take(const PrintStatusProtocol::Step &step);
    void answerControl(const PrintStatusProtocol::ControlAnswer &answer);
    void received(const QString &frame);
    void heard();
    void askForEstimate();
    void forgetOwnStopOnceUp();
    bool isHeardLately() const;

    const PrinterSettings &m_settings;
    const PrintStatusTimings m_timings;
    PrintStatusProtocol m_protocol;
    QWebSocket *m_socket = nullptr;
    PrinterHttpCalls m_http;
    QString m_estimatedFile;
    std::optional<double> m_slicerEstimate;
    qint64 m_statusAtMs = 0; // when the status last changed, on the steady clock
    QElapsedTimer m_heard;   // since the connection was last heard from
    QElapsedTimer m_stopped; // since Kestrel's own emergency stop, until Klipper is seen up
    QHash<qint64, PrintControlCall *> m_controls; // by the number of their call
    bool m_hostAnswers = false;
    bool m_refused = false; // until the key or the address changes, or a minute has passed
    std::chrono::milliseconds m_reconnectDelay;
    QTimer m_askAgain;
    QTimer m_reconnect;
    QTimer m_gather;
    QTimer m_handshake;
    QTimer m_ping;
    QTimer m_silence;
};

} // namespace kestrel
