// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PiReachability.h"

#include <QFuture>
#include <QObject>
#include <QPointer>
#include <QPromise>

#include <chrono>
#include <list>
#include <memory>

class QTimer;

namespace kestrel {

// Probes many printer hosts with as few curl runs as their timing allows. Starting curl costs far
// more than asking one more host, so probes that fall due close together go into one run: a probe
// wanted after a pause joins a run that is already due between half that pause and the whole of
// it. A run of one host is the plain probe; a run of several asks them all at once and reads each
// host's outcome from curl's own report. Hosts that keep the same pause fall into step after their
// first rounds and then share every run.
class HostProbeBatch : public QObject
{
    Q_OBJECT

public:
    explicit HostProbeBatch(QString curlPath = QStringLiteral("/usr/bin/curl"),
                            QObject *parent = nullptr);
    ~HostProbeBatch() override;

    // `host` is the trimmed printer address, answered as probePrinterHost answers it. A probe
    // whose `owner` is gone before its run starts is withdrawn, and its future cancelled.
    QFuture<PiReachability> probe(const QString &host, std::chrono::milliseconds after,
                                  const QObject *owner = nullptr);

    // How many curl runs have started, for those who count what probing costs.
    int runs() const { return m_runs; }

private:
    struct Probe
    {
        QString host;
        std::shared_ptr<QPromise<PiReachability>> promise;
        QPointer<const QObject> owner;
        bool owned = false;
    };
    struct Run
    {
        qint64 due; // on m_clock, in ms
        QList<Probe> probes;
        QTimer *timer;
    };

    void start(std::list<Run>::iterator run);
    void finish(const QList<Probe> &probes, const QList<PiReachability> &outcomes);

    const QString m_curlPath;
    std::list<Run> m_scheduled;
    int m_runs = 0;
};

// One curl run for several hosts, and what it says about each, in the order given.
QFuture<QList<PiReachability>> probePrinterHosts(const QString &curlPath, const QStringList &hosts,
                                                 QObject *owner);

} // namespace kestrel
