#include "adapters/qt/network/KeptConnections.h"

#include "adapters/qt/network/SystemProxy.h"

#include <QNetworkCookie>
#include <QNetworkCookieJar>
#include <algorithm>
#include <utility>

namespace sonvale::adapters::qt {

namespace {

/// Margin before the server's own limit, for the time that a request needs to reach it.
constexpr double marginSeconds = 1;

/// Drops every cookie.
class NoCookies final : public QNetworkCookieJar {
public:
    QList<QNetworkCookie> cookiesForUrl(const QUrl&) const override { return {}; }
    bool setCookiesFromUrl(const QList<QNetworkCookie>&, const QUrl&) override { return false; }
};

std::shared_ptr<QNetworkAccessManager> makeManager() {
    // Deleted later: it owns the replies, and one of them may be reporting its end.
    const auto later = [](QNetworkAccessManager* manager) { manager->deleteLater(); };
    std::shared_ptr<QNetworkAccessManager> manager(new QNetworkAccessManager, later);
    manager->setCookieJar(new NoCookies);
    manager->setProxyFactory(new SystemProxy);
    return manager;
}

} // namespace

KeptConnections::KeptConnections(Uptime uptime)
    : uptime_(std::move(uptime)) {}

std::shared_ptr<QNetworkAccessManager> KeptConnections::take(const std::string& origin) {
    auto& kept = kept_[origin];
    const double now = uptime_();
    if (!kept.manager || now - kept.lastUse > kept.maxIdle)
        kept = {.manager = makeManager(), .lastUse = now};
    return kept.manager;
}

void KeptConnections::used(const std::string& origin, const std::shared_ptr<QNetworkAccessManager>& manager,
                           std::optional<int> idleLimit) {
    const auto found = kept_.find(origin);
    if (found == kept_.end() || found->second.manager != manager)
        return;
    found->second.lastUse = uptime_();
    if (idleLimit)
        found->second.maxIdle = std::clamp(*idleLimit - marginSeconds, 0.0, maxIdleSeconds);
}

std::optional<int> keepAliveTimeout(const QByteArray& header) {
    for (const auto& part : header.split(',')) {
        const auto equals = part.indexOf('=');
        if (part.left(equals).trimmed().compare("timeout", Qt::CaseInsensitive) != 0)
            continue;
        bool isNumber = false;
        const int seconds = part.mid(equals + 1).trimmed().toInt(&isNumber);
        return isNumber && seconds >= 0 ? std::optional(seconds) : std::nullopt;
    }
    return std::nullopt;
}

} // namespace sonvale::adapters::qt
