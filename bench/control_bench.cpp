// SPDX-License-Identifier: GPL-3.0-or-later
// How quickly a print control takes effect. Against the demo printer (--demo-printer, a process
// of its own on 127.0.0.1), the status client pauses and resumes a print many times with the
// app's own timings, and prints medians and 90th percentiles of two times: until the host's
// answer, and until the new state reaches the windows, which includes the status client's
// 100 ms gathering. It also prints the client's CPU time over the run, the print's own status
// updates included, per control. It asserts nothing.

#include "BenchFigures.h"
#include "DemoPrinter.h"
#include "monitor/PiStatusMonitor.h"
#include "monitor/PrintControlCall.h"
#include "monitor/PrintStatusClient.h"
#include "platform/MemoryKeyValueStore.h"
#include "settings/PrinterSettings.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSignalSpy>

#include <sys/resource.h>

#include <cstdio>

using namespace kestrel;
using bench::cpuMilliseconds;
using bench::spread;

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption demoOption(QStringLiteral("demo-printer"),
                                        QStringLiteral("The demo printer's program."),
                                        QStringLiteral("path"));
    const QCommandLineOption roundsOption(QStringLiteral("rounds"),
                                          QStringLiteral("Pauses and resumes (default 100)."),
                                          QStringLiteral("n"), QStringLiteral("100"));
    parser.addOptions({demoOption, roundsOption});
    parser.process(app);

    const test::DemoPrinter printer(parser.value(demoOption),
                                    {QStringLiteral("--print-seconds"), QStringLiteral("3600")});
    if (printer.address().isEmpty()) {
        std::fprintf(stderr, "control_bench: the demo printer did not start\n");
        return 1;
    }
    MemoryKeyValueStore store({{QStringLiteral("printerIP"), printer.address()}});
    PrinterSettings settings(store);
    PiStatusMonitor monitor(settings);
    PrintStatusClient client(settings, monitor);
    QSignalSpy changes(&client, &PrintStatusClient::statusChanged);
    while (client.status().state != PrintStatus::State::printing && changes.wait(20000)) {
    }
    if (client.status().state != PrintStatus::State::printing) {
        std::fprintf(stderr, "control_bench: the demo printer's print did not show\n");
        return 1;
    }

    QList<double> answered;
    QList<double> shown;
    int failed = 0;
    const double cpuBefore = cpuMilliseconds(RUSAGE_SELF);
    const int rounds = parser.value(roundsOption).toInt();
    for (int round = 0; round < 2 * rounds; ++round) {
        const bool pause = round % 2 == 0;
        const auto wanted = pause ? PrintStatus::State::paused : PrintStatus::State::printing;
        QElapsedTimer clock;
        clock.start();
        PrintControlCall *call = client.send(pause ? PrintControl::pause : PrintControl::resume);
        QObject::connect(call, &PrintControlCall::succeeded, &client,
                         [&] { answered.append(clock.nsecsElapsed() / 1e6); });
        QObject::connect(call, &PrintControlCall::failed, &client, [&] { ++failed; });
        while (client.status().state != wanted && changes.wait(20000)) {
        }
        shown.append(clock.nsecsElapsed() / 1e6);
    }
    const double cpu = cpuMilliseconds(RUSAGE_SELF) - cpuBefore;

    std::printf("Print controls against the demo printer, %d pauses and %d resumes\n", rounds,
                rounds);
    std::printf("  answered by the host   %s\n", qPrintable(spread(answered)));
    std::printf("  new state shown        %s, of which 100 ms gathering\n",
                qPrintable(spread(shown)));
    std::printf("  client CPU per control %7.3f ms, the print's updates included\n",
                cpu / (2 * rounds));
    std::printf("  failed                 %d\n", failed);
    return 0;
}
