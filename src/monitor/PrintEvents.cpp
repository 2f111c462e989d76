// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/PrintEvents.h"

#include <QCoreApplication>

namespace kestrel {

std::optional<PrintEvent> PrintEvents::next(const PrintStatus &status)
{
    using State = PrintStatus::State;
    // Without a connection, or while Klipper is away, nothing is known: the next state seen
    // starts the count afresh.
    if (status.state == State::none || status.state == State::klippyNotReady) {
        m_last.reset();
        return std::nullopt;
    }
    const std::optional<State> before = std::exchange(m_last, status.state);
    if (!before || *before == status.state)
        return std::nullopt;
    const bool wasPrinting = *before == State::printing;
    const bool wasUnderWay = wasPrinting || *before == State::paused;
    const auto tr = [](const char *text) { return QCoreApplication::translate("PrintEvents", text); };
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
