// SPDX-License-Identifier: GPL-3.0-or-later
#include "BenchFigures.h"

#include <sys/resource.h>

#include <algorithm>

namespace kestrel::bench {

double percentile(QList<double> values, double fraction)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0.0 : values[qsizetype(fraction * (values.size() - 1) + 0.5)];
}

QString spread(const QList<double> &values)
{
    return QStringLiteral("%1 ms (p90 %2)")
        .arg(percentile(values, 0.5), 7, 'f', 2)
        .arg(percentile(values, 0.9), 6, 'f', 2);
}

double cpuMilliseconds(int who)
{
    rusage usage{};
    getrusage(who, &usage);
    auto ms = [](const timeval &t) { return t.tv_sec * 1000.0 + t.tv_usec / 1000.0; };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

} // namespace kestrel::bench
