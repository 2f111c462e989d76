// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PiReachability.h"
#include "platform/ProcessRunner.h"

#include <QFuture>

namespace kestrel {

// Asks the printer host for the headers of its root page with curl (3 s at most) and says
// whether an HTTP/1.1 or HTTP/2 answer came back; any status counts, even 404.
// `host` is the trimmed printer address; an empty one is answered without starting curl.
QFuture<PiReachability> probePrinterHost(const QString &curlPath, const QString &host,
                                         QObject *owner);

// What a finished curl run says about the host.
PiReachability reachabilityFromProbe(const ProcessResult &result);

} // namespace kestrel
