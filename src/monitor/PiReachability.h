// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace kestrel {

// Whether the printer host answers HTTP, as the last probe found it.
class PiReachability
{
public:
    enum class Kind
    {
        unreachable,
        checking,
        reachable
    };

    // Nothing known yet: a probe is on its way.
    PiReachability() = default;

    static PiReachability unreachable(QString reason)
    {
        return {Kind::unreachable, std::move(reason)};
    }
    static PiReachability checking() { return {Kind::checking, {}}; }
    static PiReachability reachable() { return {Kind::reachable, {}}; }

    Kind kind() const { return m_kind; }
    bool isUnreachable() const { return m_kind == Kind::unreachable; }
    // Why the host is unreachable, ready to show; empty for the other kinds.
    QString reason() const { return m_reason; }

    QString title() const;
    QString detail() const;

    friend bool operator==(const PiReachability &, const PiReachability &) = default;

private:
    PiReachability(Kind kind, QString reason) : m_kind(kind), m_reason(std::move(reason)) {}

    Kind m_kind = Kind::checking;
    QString m_reason;
};

} // namespace kestrel
