// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/PrintEvents.h"

#include <QCoreApplication>

namespace kestrel {

std::optional<PrintEvent> PrintEvents::next(const PrintStatus &status, bool stoppedHere)
{
    using State = PrintStatus::State;
    // Without a connection the print goes on unseen: what it was stays, to be compared with what
    // the connection finds once it is back.
    if (status.state == State::none || status.state == State::apiUnavailable)
        return std::nullopt;
    // A Klipper that restarts, or a host that refuses us, knows of no print: the next state seen
    // starts the count afresh.
    if (status.state == State::klippyNotReady || status.state == State::unauthorized) {
        m_last.reset();
        return std::nullopt;
    }
    const std::optional<Seen> before = std::exchange(m_last, Seen{status.state, status.filename});
    if (!before || before->state == status.state || before->filename != status.filename)
        return std::nullopt;
    const bool wasPrinting = before->state == State::printing;
    const bool wasUnderWay = wasPrinting || before->state == State::paused;
    const auto tr = [](const char *text) {
        return QCoreApplication::translate("PrintEvents", text);
    };
    const QString file = status.filename + QStringLiteral(" · ");
    switch (status.state) {
    case State::complete:
        if (wasUnderWay)
            return PrintEvent{tr("Druck fertig"), file + durationText(status.printDuration)};
        break;
    case State::cancelled:
        if (wasUnderWay)
            return PrintEvent{tr("Druck abgebrochen"), file + durationText(status.printDuration)};
        break;
    case State::shutdown:
        if (wasUnderWay && stoppedHere)
            return PrintEvent{
                .title = tr("Not-Aus ausgelöst"), .body = status.filename, .isOwnStop = true};
        [[fallthrough]];
    case State::error:
        if (wasUnderWay)
            return PrintEvent{tr("Druckfehler"), file + status.message, true};
        break;
    case State::paused:
        if (wasPrinting)
            return PrintEvent{tr("Druck pausiert"), file + durationText(status.printDuration)};
        break;
    default:
        break;
    }
    return std::nullopt;
}

} // namespace kestrel
