// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QNetworkRequest>
#include <QObject>

#include <functional>

class QNetworkAccessManager;
class QNetworkReply;

namespace kestrel {

class PrintControlCall;
class PrinterSettings;

// The printer host API's calls over plain HTTP, beside its websocket: at the settled address,
// with the user's key in a header, and following no redirect, which would carry the key to
// wherever it points.
class PrinterHttpCalls : public QObject
{
    Q_OBJECT

public:
    explicit PrinterHttpCalls(const PrinterSettings &settings, QObject *parent = nullptr);

    // A request for one of the API's paths; its URL is empty while the address is no valid one.
    QNetworkRequest request(const QString &path) const;

    // Asks for the slicer's estimate of the whole print time of `filename`, in seconds; `found`
    // hears of it only if the file has one. A newer question, or forget(), drops the answer.
    void askForEstimate(const QString &filename, std::function<void(double)> found);
    void forget();

    // The emergency stop, as a one-off request; what the host answers is the call's outcome.
    void emergencyStop(PrintControlCall *call);

    // Answers larger than this are broken off: none of the API's is anywhere near it.
    static constexpr qint64 largestAnswer = 1024 * 1024;

private:
    const PrinterSettings &m_settings;
    QNetworkAccessManager *m_network;
    QNetworkReply *m_estimateReply = nullptr;
};

} // namespace kestrel
