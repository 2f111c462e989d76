// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/PrintStatusProtocol.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace kestrel {

namespace {

// The objects and fields that make the status line; nothing else the host sends is kept.
const QHash<QString, QStringList> &shownFields()
{
    static const QHash<QString, QStringList> fields{
        {QStringLiteral("print_stats"),
         {QStringLiteral("state"), QStringLiteral("filename"), QStringLiteral("print_duration"),
          QStringLiteral("total_duration"), QStringLiteral("message"), QStringLiteral("info")}},
        {QStringLiteral("display_status"), {QStringLiteral("progress")}},
        {QStringLiteral("virtual_sdcard"),
         {QStringLiteral("progress"), QStringLiteral("is_active"),
          QStringLiteral("file_position")}}};
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

QList<QByteArray> PrintStatusProtocol::opening()
{
    forget();
    return {call(Call::identify, "server.connection.identify",
                 {{QStringLiteral("client_name"), QStringLiteral("Kestrel")},
                  {QStringLiteral("version"), m_version},
                  {QStringLiteral("type"), QStringLiteral("desktop")},
                  {QStringLiteral("url"), m_homepage}}),
            askIfReady()};
}

QByteArray PrintStatusProtocol::askIfReady()
{
    return call(Call::info, "server.info", {});
}

QByteArray PrintStatusProtocol::call(Call kind, const char *method, const QJsonObject &params)
{
    const qint64 id = m_nextId++;
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
    m_pending.erase(call);
    return answered(kind, message);
}

PrintStatusProtocol::Step PrintStatusProtocol::answered(Call kind, const QJsonObject &message)
{
    const QJsonObject result = message.value(u"result").toObject();
    switch (kind) {
    case Call::identify:
        return {};
    case Call::info:
        if (result.value(u"klippy_state").toString() != u"ready")
            return notReady();
        return {.send = {call(Call::subscribe, "printer.objects.subscribe", subscription())}};
    case Call::subscribe:
        if (!result.value(u"status").isObject())
            return notReady();
        m_objects = {};
        merge(result.value(u"status").toObject());
        return {.statusChanged = true};
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
    if (method == u"notify_klippy_disconnected" || method == u"notify_klippy_shutdown")
        return notReady();
    if (method == u"notify_klippy_ready")
        return {.send = {askIfReady()}};
    return {};
}

PrintStatusProtocol::Step PrintStatusProtocol::notReady()
{
    m_objects = {};
    const bool changed = m_status.state != PrintStatus::State::klippyNotReady;
    m_status = {.state = PrintStatus::State::klippyNotReady};
    return {.statusChanged = changed, .askAgainLater = true};
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
            kept.insert(field, field == u"info" ? mergedInfo(kept.value(field), changed.value(field))
                                                : changed.value(field));
        }
        m_objects.insert(object.key(), kept);
    }
    m_status = PrintStatus::fromObjects(m_objects);
}

} // namespace kestrel
