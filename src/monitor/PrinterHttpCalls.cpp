// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/PrinterHttpCalls.h"

#include "monitor/PrintControlCall.h"
#include "settings/PrinterApi.h"
#include "settings/PrinterSettings.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QTimer>

#include <cmath>

namespace kestrel {

namespace {

// Why a call failed: the host's own message where it gives one.
QString failure(QNetworkReply *reply, const QByteArray &body)
{
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status == 401 || status == 403)
        return printerApi::unauthorizedText();
    const QString message = QJsonDocument::fromJson(body)
                                .object()
                                .value(u"error")
                                .toObject()
                                .value(u"message")
                                .toString()
                                .simplified()
                                .left(200);
    return message.isEmpty() ? reply->errorString() : message;
}

} // namespace

PrinterHttpCalls::PrinterHttpCalls(const PrinterSettings &settings, QObject *parent)
    : QObject(parent), m_settings(settings), m_network(new QNetworkAccessManager(this))
{}

QNetworkRequest PrinterHttpCalls::request(const QString &path) const
{
    QNetworkRequest request(printerApi::url(m_settings, path).value_or(QUrl()));
    const QByteArray key = printerApi::keyHeaderValue(m_settings.printerApiKey());
    if (!key.isEmpty())
        request.setRawHeader("X-Api-Key", key);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    return request;
}

void PrinterHttpCalls::askForEstimate(const QString &filename, std::function<void(double)> found)
{
    forget();
    QNetworkRequest request = this->request(QStringLiteral("/server/files/metadata"));
    QUrl url = request.url();
    if (url.isEmpty())
        return;
    // Every character that could mean something in a query is encoded: a host decodes "+" as
    // a blank.
    url.setQuery(QStringLiteral("filename=") +
                 QString::fromLatin1(QUrl::toPercentEncoding(filename)));
    request.setUrl(url);
    request.setTransferTimeout(5000);
    QNetworkReply *reply = m_network->get(request);
    m_estimateReply = reply;
    connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received) {
        if (received > largestAnswer)
            reply->abort();
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply, found = std::move(found)] {
        reply->deleteLater();
        if (m_estimateReply != reply)
            return; // dropped: a newer print, or no connection
        m_estimateReply = nullptr;
        const double estimate = QJsonDocument::fromJson(reply->readAll())
                                    .object()
                                    .value(u"result")
                                    .toObject()
                                    .value(u"estimated_time")
                                    .toDouble();
        if (reply->error() == QNetworkReply::NoError && estimate > 0 && std::isfinite(estimate))
            found(estimate);
    });
}

void PrinterHttpCalls::forget()
{
    if (QNetworkReply *reply = std::exchange(m_estimateReply, nullptr))
        reply->abort(); // its own handler deletes it
}

void PrinterHttpCalls::emergencyStop(PrintControlCall *call)
{
    const QNetworkRequest request = this->request(QStringLiteral("/printer/emergency_stop"));
    if (request.url().isEmpty()) {
        QTimer::singleShot(0, call, [call] { call->fail(tr("Keine Verbindung zum Drucker")); });
        return;
    }
    QNetworkReply *reply = m_network->post(request, QByteArray());
    connect(call, &QObject::destroyed, reply, &QNetworkReply::abort);
    connect(reply, &QNetworkReply::finished, this, [reply, call = QPointer(call)] {
        reply->deleteLater();
        const QByteArray body = reply->read(largestAnswer);
        if (!call)
            return;
        if (reply->error() == QNetworkReply::NoError)
            call->succeed();
        else
            call->fail(failure(reply, body));
    });
}

} // namespace kestrel
