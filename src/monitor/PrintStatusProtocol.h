// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PrintControl.h"
#include "monitor/PrintStatus.h"

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QList>

#include <optional>
#include <utility>

namespace kestrel {

// The printer host's status API as JSON-RPC 2.0 text frames, without the connection: what to
// send on connecting, and what each frame that arrives means. It introduces Kestrel, asks whether
// Klipper is ready, subscribes to the print's objects once it is, and merges every status update
// into the state the subscription gave. After Klipper goes away (the host then forgets every
// subscription) it asks again until Klipper is back, and subscribes anew. When Klipper shuts
// itself down it subscribes anew at once, for the reason, and keeps the print it stopped.
// A host that refuses Kestrel's key says so in every answer, which ends the conversation.
// The user's controls are calls of their own, whose answers are handed back by number.
//
// It keeps only the fields it shows, so a host that sends much, or odd, or endless updates
// costs no more memory than one that behaves.
class PrintStatusProtocol
{
public:
    PrintStatusProtocol(QString version, QString homepage);

    // The host's answer to a control: none of the error, or why it failed.
    struct ControlAnswer
    {
        qint64 id = 0;
        std::optional<QString> error;
    };

    // What one frame brought about.
    struct Step
    {
        QList<QByteArray> send; // frames to send now
        bool statusChanged = false;
        bool askAgainLater = false; // Klipper is not ready: ask again after a while
        bool refused = false;       // the host wants another key: asking again is no use
        std::optional<ControlAnswer> controlAnswer;
    };

    // A control's frame, and the number its answer will come back with.
    std::pair<qint64, QByteArray> control(PrintControl control);

    // The frames to send once connected: the introduction, with the API key if there is one,
    // and the first question. What an earlier connection said is forgotten.
    QList<QByteArray> opening(const QByteArray &apiKey = {});
    // The host refused the key: in an answer, or before the connection was open (HTTP 401).
    Step refuse();
    // The connection could not be opened: why, where the user should know, else nothing.
    Step failed(const QString &reason);
    // Forgets what the host said, and what was asked of it: the connection is gone.
    void forget();
    // The question whether Klipper is ready, for asking again.
    QByteArray askIfReady();
    Step handle(QByteArrayView frame);

    const PrintStatus &status() const { return m_status; }

private:
    enum class Call
    {
        identify,
        info,
        subscribe,
        control
    };

    QByteArray call(Call kind, const char *method, const QJsonObject &params, qint64 *id = nullptr);
    Step answered(Call kind, qint64 id, const QJsonObject &message);
    Step notified(const QString &method, const QJsonValue &params);
    Step notReady();
    bool knowOnly(PrintStatus::State state);
    void merge(const QJsonObject &changes);

    const QString m_version;
    const QString m_homepage;
    qint64 m_nextId = 1;
    QHash<qint64, Call> m_pending;
    QJsonObject m_objects;
    PrintStatus m_status;
};

} // namespace kestrel
