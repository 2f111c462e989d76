// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

namespace kestrel::bench {

// The value below which `fraction` of the values lie (0.5: the median); 0 for none.
double percentile(QList<double> values, double fraction);
// "  14.30 ms (p90  16.60)": the median and the 90th percentile.
QString spread(const QList<double> &values);
// CPU time so far, user and system, of RUSAGE_SELF or of the children waited for
// (RUSAGE_CHILDREN).
double cpuMilliseconds(int who);

} // namespace kestrel::bench
