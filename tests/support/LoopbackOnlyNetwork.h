// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QNetworkProxyFactory>
#include <QStringList>

namespace kestrel::test {

// Keeps this process's Qt network requests on 127.0.0.1: a request to any other host is sent to
// a loopback port where nothing listens, and its host is remembered, so that a test can fail on
// an address that would have left the machine (curl is kept home through http_proxy instead).
class LoopbackOnlyNetwork final : public QNetworkProxyFactory
{
public:
    // Installs itself as the application's proxy factory.
    static LoopbackOnlyNetwork &install();

    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery &query) override;
    QStringList strayHosts() const { return m_strayHosts; }

private:
    QStringList m_strayHosts;
};

} // namespace kestrel::test
