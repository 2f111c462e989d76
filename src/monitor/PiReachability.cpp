// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/PiReachability.h"

#include <QCoreApplication>

namespace kestrel {

QString PiReachability::title() const
{
    switch (m_kind) {
    case Kind::checking:
        return QCoreApplication::translate("PiReachability", "Pruefe Raspberry Pi");
    case Kind::reachable:
        return QCoreApplication::translate("PiReachability", "Raspberry Pi erreichbar");
    case Kind::unreachable:
        break;
    }
    return QCoreApplication::translate("PiReachability", "Raspberry Pi nicht erreichbar");
}

QString PiReachability::detail() const
{
    switch (m_kind) {
    case Kind::checking:
        return QCoreApplication::translate("PiReachability", "Verbindung wird geprueft");
    case Kind::reachable:
        return QCoreApplication::translate("PiReachability",
                                           "Klipper-Host antwortet im lokalen Netzwerk");
    case Kind::unreachable:
        break;
    }
    return m_reason;
}

} // namespace kestrel
