#pragma once

#include <QNetworkAccessManager>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace sonvale::adapters::qt {

/// The connections that a session keeps open between its requests, by origin. Network thread only.
///
/// A connection that was idle for long may be dead without either side knowing: the server closes it while
/// the next request is on its way, or a router has forgotten it. Such a request fails, because it is not sent
/// twice. So a connection is closed before that becomes likely, and the next request opens another one.
class KeptConnections {
public:
    /// Idle time, in seconds, after which a connection is closed if the server does not name a shorter one.
    /// Load balancers and servers commonly close theirs after 60 to 75 s.
    static constexpr double maxIdleSeconds = 50;

    /// Returns seconds, including the computer's sleep.
    using Uptime = std::function<double()>;

    explicit KeptConnections(Uptime uptime);

    /// Returns the manager that sends the next request to this origin; never null.
    std::shared_ptr<QNetworkAccessManager> take(const std::string& origin);

    /// Records that `manager` has just finished a request. `idleLimit` is the value of the server's
    /// Keep-Alive header, in seconds.
    void used(const std::string& origin, const std::shared_ptr<QNetworkAccessManager>& manager,
              std::optional<int> idleLimit);

private:
    struct Kept {
        std::shared_ptr<QNetworkAccessManager> manager;
        double lastUse = 0;
        double maxIdle = maxIdleSeconds;
    };

    const Uptime uptime_;
    std::map<std::string, Kept> kept_;
};

/// Returns the "timeout" of a Keep-Alive header, in seconds; nullopt if it has none.
std::optional<int> keepAliveTimeout(const QByteArray& header);

} // namespace sonvale::adapters::qt
