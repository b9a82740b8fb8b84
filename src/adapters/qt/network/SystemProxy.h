#pragma once

#include <QNetworkProxy>
#include <QUrl>

namespace sonvale::adapters::qt {

/// The system's proxies. This machine itself is always reached without one.
class SystemProxy final : public QNetworkProxyFactory {
public:
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery& query) override;

    /// Returns the proxy for a socket to this `ws` or `wss` address, which tunnels through it.
    static QNetworkProxy forSocket(const QUrl& url);
};

} // namespace sonvale::adapters::qt
