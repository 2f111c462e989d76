// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace kestrel {

// The printer's power state as far as Kestrel knows it.
class HomeKitAccessoryState
{
public:
    enum class Kind
    {
        unknown,
        unavailable,
        checking,
        on,
        off
    };

    // Nothing has been checked yet.
    HomeKitAccessoryState()
        : HomeKitAccessoryState(Kind::unavailable,
                                QStringLiteral("HomeKit-Statuspruefung nicht verfuegbar"))
    {}

    // No usable state; the message says why.
    static HomeKitAccessoryState unknown(QString message)
    {
        return {Kind::unknown, std::move(message)};
    }
    // No status check is possible at all; the message says why.
    static HomeKitAccessoryState unavailable(QString message)
    {
        return {Kind::unavailable, std::move(message)};
    }
    static HomeKitAccessoryState checking() { return {Kind::checking, {}}; }
    static HomeKitAccessoryState on() { return {Kind::on, {}}; }
    static HomeKitAccessoryState off() { return {Kind::off, {}}; }

    Kind kind() const { return m_kind; }
    // The message of unknown and unavailable; empty for the other kinds.
    QString message() const { return m_message; }

    friend bool operator==(const HomeKitAccessoryState &, const HomeKitAccessoryState &) = default;

private:
    HomeKitAccessoryState(Kind kind, QString message) : m_kind(kind), m_message(std::move(message))
    {}

    Kind m_kind;
    QString m_message;
};

} // namespace kestrel
