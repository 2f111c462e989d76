// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/PrintStatusProtocol.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>

namespace kestrel {

namespace {

// The objects and fields that make the status line and the temperatures; nothing else the host
// sends is kept.
const QHash<QString, QStringList> &shownFields()
{
    static const QHash<QString, QStringList> fields{
        {QStringLiteral("print_stats"),
         {QStringLiteral("state"), QStringLiteral("filename"), QStringLiteral("print_duration"),
          QStringLiteral("total_duration"), QStringLiteral("message"), QStringLiteral("info")}},
        {QStringLiteral("display_status"), {QStringLiteral("progress")}},
        {QStringLiteral("virtual_sdcard"),
         {QStringLiteral("progress"), QStringLiteral("is_active"),
          QStringLiteral("file_position")}},
        {QStringLiteral("webhooks"), {QStringLiteral("state"), QStringLiteral("state_message")}},
        {QStringLiteral("extruder"), {QStringLiteral("temperature"), QStringLiteral("target")}},
        {QStringLiteral("extruder1"), {QStringLiteral("temperature"), QStringLiteral("target")}},
        {QStringLiteral("heater_bed"), {QStringLiteral("temperature"), QStringLiteral("target")}}};
    return fields;
}

QJsonObject subscription()
{
    QJsonObject objects;
    objects.insert(QStringLiteral("print_stats"), QJsonValue::Null); // every field
    objects.insert(QStringLiteral("display_status"), QJsonArray{QStringLiteral("progress")});
    objects.insert(QStringLiteral("virtual_sdcard"),
                   QJsonArray{QStringLiteral("progress"), QStringLiteral("is_active"),
                              QStringLiteral("file_position")});
    objects.insert(QStringLiteral("webhooks"),
                   QJsonArray{QStringLiteral("state"), QStringLiteral("state_message")});
    // A host without a second nozzle or a heated bed answers those with nothing.
    for (const char *heater : {"extruder", "extruder1", "heater_bed"}) {
        objects.insert(QString::fromLatin1(heater),
                       QJsonArray{QStringLiteral("temperature"), QStringLiteral("target")});
    }
    return {{QStringLiteral("objects"), objects}};
}

// Only the layer numbers of print_stats.info, which may come whole or in part.
QJsonValue mergedInfo(const QJsonValue &before, const QJsonValue &change)
{
    QJsonObject info = before.toObject();
    const QJsonObject changed = change.toObject();
    for (const char *key : {"current_layer", "total_layer"}) {
        const QString name = QString::fromLatin1(key);
        if (changed.contains(name))
            info.insert(name, changed.value(name));
    }
    return info;
}

// The host's answer to a client outside its trusted networks, or with a wrong key: error
// -32602 "Unauthorized" or "Invalid API Key", or the HTTP status itself as the code.
bool isRefusal(const QJsonObject &error)
{
    const int code = error.value(u"code").toInt();
    const QString message = error.value(u"message").toString();
    return code == 401 || code == 403 ||
           (code == -32602 && (message.contains(u"Unauthorized", Qt::CaseInsensitive) ||
                               message.contains(u"API Key", Qt::CaseInsensitive)));
}

// Why the host did not do what was asked, as one short line: its message, else its code. An
// answer without an error did it ("ok").
std::optional<QString> controlError(const QJsonObject &answer)
{
    if (!answer.contains(u"error"))
        return std::nullopt;
    const QJsonValue error = answer.value(u"error");
    QString message = error.toObject().value(u"message").toString().simplified();
    constexpr qsizetype longest = 200;
    if (message.size() > longest)
        message = message.left(longest - 1) + u'…';
    if (!message.isEmpty())
        return message;
    const QJsonValue code = error.toObject().value(u"code");
    return code.isDouble()
               ? QCoreApplication::translate("PrintStatusProtocol", "Fehler %1")
                     .arg(code.toInteger())
               : QCoreApplication::translate("PrintStatusProtocol", "unbekannter Fehler");
}

} // namespace

PrintStatusProtocol::PrintStatusProtocol(QString version, QString homepage)
    : m_version(std::move(version)), m_homepage(std::move(homepage))
{}

void PrintStatusProtocol::forget()
{
    m_pending.clear();
    m_objects = {};
    m_status = {};
}

QList<QByteArray> PrintStatusProtocol::opening(const QByteArray &apiKey)
{
    forget();
    QJsonObject introduction{{QStringLiteral("client_name"), QStringLiteral("Kestrel")},
                             {QStringLiteral("version"), m_version},
                             {QStringLiteral("type"), QStringLiteral("desktop")},
                             {QStringLiteral("url"), m_homepage}};
    // Hosts that do not read the key from the handshake's header take it here.
    if (!apiKey.isEmpty())
        introduction.insert(QStringLiteral("api_key"), QString::fromLatin1(apiKey));
    return {call(Call::identify, "server.connection.identify", introduction), askIfReady()};
}

QByteArray PrintStatusProtocol::askIfReady()
{
    return call(Call::info, "server.info", {});
}

std::pair<qint64, QByteArray> PrintStatusProtocol::control(PrintControl control)
{
    qint64 id = 0;
    QByteArray frame = call(Call::control, controlMethod(control), {}, &id);
    return {id, std::move(frame)};
}

QByteArray PrintStatusProtocol::call(Call kind, const char *method, const QJsonObject &params,
                                     qint64 *callId)
{
    const qint64 id = m_nextId++;
    if (callId)
        *callId = id;
    // A host that never answers must not make the list of open questions grow.
    if (m_pending.size() > 16)
        m_pending.clear();
    m_pending.insert(id, kind);
    QJsonObject message{{QStringLiteral("jsonrpc"), QStringLiteral("2.0")},
                        {QStringLiteral("method"), QString::fromLatin1(method)},
                        {QStringLiteral("id"), id}};
    if (!params.isEmpty())
        message.insert(QStringLiteral("params"), params);
    return QJsonDocument(message).toJson(QJsonDocument::Compact);
}

PrintStatusProtocol::Step PrintStatusProtocol::handle(QByteArrayView frame)
{
    const QJsonObject message = QJsonDocument::fromJson(frame.toByteArray()).object();
    if (message.contains(u"method"))
        return notified(message.value(u"method").toString(), message.value(u"params"));
    const QJsonValue id = message.value(u"id");
    if (!id.isDouble())
        return {};
    const auto call = m_pending.constFind(qint64(id.toDouble()));
    if (call == m_pending.cend())
        return {};
    const Call kind = *call;
    const qint64 callId = call.key();
    m_pending.erase(call);
    return answered(kind, callId, message);
}

PrintStatusProtocol::Step PrintStatusProtocol::answered(Call kind, qint64 id,
                                                        const QJsonObject &message)
{
    if (isRefusal(message.value(u"error").toObject()))
        return refuse();
    const QJsonObject result = message.value(u"result").toObject();
    switch (kind) {
    case Call::identify:
        return {};
    case Call::info: {
        // A Klipper that shut down still answers for its objects, and they say why it stopped.
        const QString klippy = result.value(u"klippy_state").toString();
        if (klippy != u"ready" && klippy != u"shutdown")
            return notReady();
        return {.send = {call(Call::subscribe, "printer.objects.subscribe", subscription())}};
    }
    case Call::subscribe:
        if (!result.value(u"status").isObject())
            return notReady();
        m_objects = {};
        merge(result.value(u"status").toObject());
        return {.statusChanged = true};
    case Call::control:
        return {.controlAnswer = ControlAnswer{id, controlError(message)}};
    }
    return {};
}

PrintStatusProtocol::Step PrintStatusProtocol::notified(const QString &method,
                                                        const QJsonValue &params)
{
    if (method == u"notify_status_update") {
        merge(params.toArray().first().toObject());
        return {.statusChanged = true};
    }
    if (method == u"notify_klippy_disconnected")
        return notReady();
    // What the print was stays until the new subscription says why Klipper stopped.
    if (method == u"notify_klippy_shutdown")
        return {.send = {askIfReady()}};
    if (method == u"notify_klippy_ready")
        return {.send = {askIfReady()}};
    return {};
}

// Nothing of the print is known in these states; true when the state is new.
bool PrintStatusProtocol::knowOnly(PrintStatus::State state)
{
    m_objects = {};
    const bool changed = m_status.state != state;
    m_status = {.state = state};
    return changed;
}

PrintStatusProtocol::Step PrintStatusProtocol::notReady()
{
    return {.statusChanged = knowOnly(PrintStatus::State::klippyNotReady), .askAgainLater = true};
}

PrintStatusProtocol::Step PrintStatusProtocol::refuse()
{
    m_pending.clear();
    return {.statusChanged = knowOnly(PrintStatus::State::unauthorized), .refused = true};
}

PrintStatusProtocol::Step PrintStatusProtocol::failed(const QString &reason)
{
    const PrintStatus before = std::exchange(m_status, {});
    forget();
    if (!reason.isEmpty())
        m_status = {.state = PrintStatus::State::apiUnavailable, .message = reason};
    return {.statusChanged = m_status != before};
}

void PrintStatusProtocol::merge(const QJsonObject &changes)
{
    for (auto object = changes.begin(); object != changes.end(); ++object) {
        const auto fields = shownFields().constFind(object.key());
        if (fields == shownFields().cend() || !object.value().isObject())
            continue;
        QJsonObject kept = m_objects.value(object.key()).toObject();
        const QJsonObject changed = object.value().toObject();
        for (const QString &field : *fields) {
            if (!changed.contains(field))
                continue;
            kept.insert(field, field == u"info"
                                   ? mergedInfo(kept.value(field), changed.value(field))
                                   : changed.value(field));
        }
        m_objects.insert(object.key(), kept);
    }
    m_status = PrintStatus::fromObjects(m_objects);
}

} // namespace kestrel
