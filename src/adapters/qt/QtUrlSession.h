#pragma once

#include "platform/UrlSession.h"

#include <functional>
#include <memory>

namespace sonvale::adapters::qt {

class NetworkThread;

/// Sessions on Qt's network library and a thread of their own, by HTTP/1.1. Errors hold no address and no
/// header; nothing is logged.
///
/// Make it after Qt's application object. Destroying it, not from within a continuation, ends what still runs
/// in any of its sessions with `cancelled` and waits for the thread; sessions that are left are invalid then.
/// The environment's SSL_CERT_FILE counts as it is when they are made.
class QtUrlSessions final : public platform::UrlSessions {
public:
    /// `uptime` returns seconds, those of the computer's sleep included; it is called on the network thread.
    explicit QtUrlSessions(const std::function<double()>& uptime = secondsSinceBoot);
    ~QtUrlSessions() override;

    std::shared_ptr<platform::UrlSession> makeEphemeral() override;

    /// Seconds since the computer was started, those of its sleep included. Any thread.
    static double secondsSinceBoot();

private:
    const std::shared_ptr<NetworkThread> thread_;
};

} // namespace sonvale::adapters::qt
