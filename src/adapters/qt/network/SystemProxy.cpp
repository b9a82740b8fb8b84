#include "adapters/qt/network/SystemProxy.h"

#include "base/WebAddress.h"

namespace sonvale::adapters::qt {

namespace {

bool isThisMachine(const QString& host) {
    const QString name = host.toLower();
    return base::isLoopbackHost(name.toStdString()) || name.endsWith(QStringLiteral(".localhost"));
}

} // namespace

QList<QNetworkProxy> SystemProxy::queryProxy(const QNetworkProxyQuery& query) {
    if (isThisMachine(query.peerHostName()))
        return {QNetworkProxy(QNetworkProxy::NoProxy)};
    return systemProxyForQuery(query);
}

QNetworkProxy SystemProxy::forSocket(const QUrl& url) {
    const bool isSecure = url.scheme() == QStringLiteral("wss");
    const QNetworkProxyQuery query(url.host(), url.port(isSecure ? 443 : 80),
                                   isSecure ? QStringLiteral("https") : QStringLiteral("http"),
                                   QNetworkProxyQuery::TcpSocket);
    for (const auto& proxy : SystemProxy().queryProxy(query)) {
        if (proxy.type() == QNetworkProxy::NoProxy ||
            (proxy.capabilities() & QNetworkProxy::TunnelingCapability))
            return proxy;
    }
    return QNetworkProxy(QNetworkProxy::NoProxy);
}

} // namespace sonvale::adapters::qt
