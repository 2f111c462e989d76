// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/PiStatusMonitor.h"

#include "monitor/HostProbeBatch.h"
#include "settings/PrinterSettings.h"
#include "settings/SnapshotUrls.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>

namespace kestrel {

PiStatusMonitor::PiStatusMonitor(PrinterSettings &settings, QObject *parent,
                                 std::chrono::milliseconds interval, QString curlPath,
                                 HostProbeBatch *batch)
    : QObject(parent), m_settings(settings),
      m_batch(batch ? batch : new HostProbeBatch(std::move(curlPath), this)), m_interval(interval),
      m_network(new QNetworkAccessManager(this)), m_subscribedAddress(settings.printerIP())
{
    // The first printer's monitor follows the address as announced, before it is stored:
    // restart() reads the store and so probes the address from before the change. That lag is
    // how the monitor has always behaved; the next change, or the next start, catches up. Any
    // other printer's follows its address once typing rests, and probes nothing half typed.
    if (settings.isFirst()) {
        connect(&settings, &PrinterSettings::printerIPWillChange, this,
                [this](const QString &address) {
                    if (address == m_subscribedAddress)
                        return;
                    m_subscribedAddress = address;
                    restart();
                });
    } else {
        connect(&settings, &PrinterSettings::printerIPSettled, this, &PiStatusMonitor::restart);
    }
    // Once for the subscription's first delivery and once more directly, as the loop has always
    // been started: the first loop only sends its wake-up request before the second replaces it.
    restart();
    restart();
}

void PiStatusMonitor::restart()
{
    const quint64 loop = ++m_loop;
    // The old loop's next probe, waiting in the batch, is withdrawn with its round.
    delete m_round;
    m_round = new QObject(this);
    publish(PiReachability::checking());
    const QString host = m_settings.watchedPrinterIP().trimmed();
    QMetaObject::invokeMethod(
        this, [this, loop, host] { startLoop(loop, host); }, Qt::QueuedConnection);
}

void PiStatusMonitor::startLoop(quint64 loop, const QString &host)
{
    sendWakeUpRequest(host);
    if (loop != m_loop)
        return;
    m_host = host;
    probeAfter(std::chrono::milliseconds(0));
}

// The batch keeps the pause, and may end it a little early to ask this host together with others.
void PiStatusMonitor::probeAfter(std::chrono::milliseconds pause)
{
    const quint64 loop = m_loop;
    m_batch->probe(m_host, pause, m_round)
        .then([this, self = QPointer(this), loop](const PiReachability &result) {
            if (!self || loop != m_loop)
                return;
            publish(result);
            probeAfter(m_interval);
        });
}

// The Pi's network often dozes; a first request wakes it so the probe that follows answers in
// time. Nobody waits for it and its outcome does not matter.
void PiStatusMonitor::sendWakeUpRequest(const QString &host)
{
    const auto url = strictHttpUrl(QStringLiteral("http://") + host + u'/');
    if (!url)
        return;
    QNetworkRequest request(*url);
    request.setTransferTimeout(2000);
    // One request every ten seconds needs no connection kept open in between.
    request.setRawHeader("Connection", "close");
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    QNetworkReply *reply = m_network->head(request);
    connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
}

void PiStatusMonitor::publish(const PiReachability &reachability)
{
    m_reachability = reachability;
    emit reachabilityChanged(m_reachability);
}

} // namespace kestrel
