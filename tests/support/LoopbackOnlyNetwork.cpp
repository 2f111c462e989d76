// SPDX-License-Identifier: GPL-3.0-or-later
#include "LoopbackOnlyNetwork.h"

namespace kestrel::test {

LoopbackOnlyNetwork &LoopbackOnlyNetwork::install()
{
    auto *factory = new LoopbackOnlyNetwork;
    QNetworkProxyFactory::setApplicationProxyFactory(factory); // takes ownership
    return *factory;
}

QList<QNetworkProxy> LoopbackOnlyNetwork::queryProxy(const QNetworkProxyQuery &query)
{
    const QString host = query.peerHostName();
    if (host == u"127.0.0.1" || host == u"localhost")
        return {QNetworkProxy::NoProxy};
    m_strayHosts.append(host);
    return {QNetworkProxy(QNetworkProxy::HttpProxy, QStringLiteral("127.0.0.1"), 9)};
}

} // namespace kestrel::test
