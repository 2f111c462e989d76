// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/HostProbeBatch.h"

#include "monitor/HostProbe.h"
#include "platform/ProcessRunner.h"

#include <QDeadlineTimer>
#include <QPointer>
#include <QTimer>

namespace kestrel {

namespace {

const QString reportMark = QStringLiteral("kestrel-probe ");

qint64 now()
{
    return QDeadlineTimer::current().deadline();
}

// curl's report after each host: its number, curl's exit code, the HTTP version of the answer
// (0 for none) and curl's error message.
PiReachability outcomeOf(const QStringList &report)
{
    const QString exitCode = report.value(1);
    if (exitCode != u"0") {
        const QString message = report.mid(3).join(u' ').trimmed();
        return PiReachability::unreachable(
            message.isEmpty() ? QStringLiteral("curl-Fehler ") + exitCode
                              : QStringLiteral("curl: (%1) %2").arg(exitCode, message));
    }
    const QString version = report.value(2);
    if (version == u"1.1" || version == u"2")
        return PiReachability::reachable();
    return PiReachability::unreachable(QStringLiteral("Keine gueltige HTTP-Antwort vom Pi"));
}

} // namespace

QFuture<QList<PiReachability>> probePrinterHosts(const QString &curlPath, const QStringList &hosts,
                                                 QObject *owner)
{
    QStringList arguments{
        QStringLiteral("-I"), QStringLiteral("-sS"), QStringLiteral("--max-time"),
        QStringLiteral("3"), QStringLiteral("--http1.1"),
        // A "[" or "{" in one printer's address would otherwise be a pattern that ends the whole
        // run, every other printer's probe with it.
        QStringLiteral("--globoff"), QStringLiteral("--parallel"), QStringLiteral("--parallel-max"),
        QString::number(hosts.size()), QStringLiteral("-w"),
        u'\n' + reportMark + QStringLiteral("%{urlnum} %{exitcode} %{http_version} %{errormsg}\n")};
    for (const QString &host : hosts)
        arguments.append(QStringLiteral("http://") + host + u'/');
    const ProcessCommand command{
        .program = curlPath, .arguments = arguments, .captureStandardOutput = true};
    return runProcess(command, owner).then([count = hosts.size()](const ProcessResult &result) {
        // A host curl says nothing about (it could not even start) fails as the run failed.
        QList<PiReachability> outcomes(count, PiReachability::unreachable(curlFailureText(result)));
        for (const QString &line : result.standardOutput.split(u'\n')) {
            if (!line.startsWith(reportMark))
                continue;
            const QStringList report = line.sliced(reportMark.size()).split(u' ');
            bool ok = false;
            const qsizetype index = report.value(0).toLongLong(&ok);
            if (ok && index >= 0 && index < count)
                outcomes[index] = outcomeOf(report);
        }
        return outcomes;
    });
}

HostProbeBatch::HostProbeBatch(QString curlPath, QObject *parent)
    : QObject(parent), m_curlPath(std::move(curlPath))
{}

// Whoever still waits is told nothing: their owners are going too.
HostProbeBatch::~HostProbeBatch() = default;

QFuture<PiReachability> HostProbeBatch::probe(const QString &host, std::chrono::milliseconds after,
                                              const QObject *owner)
{
    auto promise = std::make_shared<QPromise<PiReachability>>();
    promise->start();
    QFuture<PiReachability> future = promise->future();
    // A run that is due already but has not started yet takes the probe too.
    const qint64 current = now();
    const qint64 latest = current + after.count();
    const qint64 earliest = current + after.count() / 2;
    for (Run &run : m_scheduled) {
        if (run.due <= latest && (run.due >= earliest || run.due <= current)) {
            run.probes.append({host, promise, owner, owner != nullptr});
            return future;
        }
    }
    auto *timer = new QTimer(this);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    const auto run = m_scheduled.insert(
        m_scheduled.end(), {latest, {{host, promise, owner, owner != nullptr}}, timer});
    connect(timer, &QTimer::timeout, this, [this, run] { start(run); });
    timer->start(after);
    return future;
}

void HostProbeBatch::start(std::list<Run>::iterator run)
{
    QList<Probe> probes = run->probes;
    run->timer->deleteLater();
    m_scheduled.erase(run);
    probes.removeIf([](const Probe &probe) { return probe.owned && !probe.owner; });
    if (probes.isEmpty())
        return;
    QStringList hosts;
    for (const Probe &probe : probes) {
        if (!probe.host.isEmpty() && !hosts.contains(probe.host))
            hosts.append(probe.host);
    }
    const auto report = [this, probes, hosts](const QList<PiReachability> &outcomes) {
        QList<PiReachability> byProbe;
        for (const Probe &probe : probes) {
            byProbe.append(probe.host.isEmpty() ? PiReachability::unreachable(QStringLiteral(
                                                      "Keine Drucker-IP eingetragen"))
                                                : outcomes.value(hosts.indexOf(probe.host)));
        }
        finish(probes, byProbe);
    };
    if (hosts.isEmpty()) {
        report({});
        return;
    }
    ++m_runs;
    // One host is asked exactly as a single printer's host always has been. A run still going
    // when the batch goes reports nothing: the probes' owners are going too.
    if (hosts.size() == 1) {
        probePrinterHost(m_curlPath, hosts.first(), this)
            .then([self = QPointer(this), report](const PiReachability &outcome) {
                if (self)
                    report({outcome});
            });
    } else {
        probePrinterHosts(m_curlPath, hosts, this)
            .then([self = QPointer(this), report](const QList<PiReachability> &outcomes) {
                if (self)
                    report(outcomes);
            });
    }
}

void HostProbeBatch::finish(const QList<Probe> &probes, const QList<PiReachability> &outcomes)
{
    for (qsizetype i = 0; i < probes.size(); ++i) {
        probes[i].promise->addResult(outcomes[i]);
        probes[i].promise->finish();
    }
}

} // namespace kestrel
