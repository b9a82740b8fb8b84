#pragma once

#include "platform/UrlSession.h"

#include <functional>
#include <memory>

namespace sonvale::adapters::qt {

class NetworkThread;

/// Sessions that use Qt's network library on a thread of their own, with HTTP/1.1. Errors contain no address
/// and no header; nothing is logged.
///
/// Must be made after Qt's application object. Its destruction, which must not happen inside a continuation,
/// ends all running requests and sockets with `cancelled`, waits for the thread, and invalidates the
/// remaining sessions. SSL_CERT_FILE is read at construction.
class QtUrlSessions final : public platform::UrlSessions {
public:
    /// `uptime` returns seconds, including the computer's sleep. It is called on the network thread.
    explicit QtUrlSessions(const std::function<double()>& uptime = secondsSinceBoot);
    ~QtUrlSessions() override;

    std::shared_ptr<platform::UrlSession> makeEphemeral() override;

    /// Returns the seconds since the computer was started, including its sleep. Any thread.
    static double secondsSinceBoot();

private:
    const std::shared_ptr<NetworkThread> thread_;
};

} // namespace sonvale::adapters::qt
