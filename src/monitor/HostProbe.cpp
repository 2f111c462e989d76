// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/HostProbe.h"

namespace kestrel {

QFuture<PiReachability> probePrinterHost(const QString &curlPath, const QString &host,
                                         QObject *owner)
{
    if (host.isEmpty()) {
        return QtFuture::makeReadyFuture(
            PiReachability::unreachable(QStringLiteral("Keine Drucker-IP eingetragen")));
    }
    const ProcessCommand command{
        .program = curlPath,
        .arguments = {QStringLiteral("-I"), QStringLiteral("-sS"), QStringLiteral("--max-time"),
                      QStringLiteral("3"), QStringLiteral("--http1.1"),
                      QStringLiteral("http://") + host + u'/'},
        .captureStandardOutput = true,
    };
    return runProcess(command, owner).then(reachabilityFromProbe);
}

PiReachability reachabilityFromProbe(const ProcessResult &result)
{
    if (!result.succeeded())
        return PiReachability::unreachable(curlFailureText(result));
    // Substrings, not status-line matches: curl may print more than one header block.
    if (result.standardOutput.contains(u"HTTP/1.1") || result.standardOutput.contains(u"HTTP/2"))
        return PiReachability::reachable();
    return PiReachability::unreachable(QStringLiteral("Keine gueltige HTTP-Antwort vom Pi"));
}

} // namespace kestrel
