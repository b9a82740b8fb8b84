#pragma once

#include "platform/UrlSession.h"

#include <memory>
#include <mutex>

namespace sonvale::services {

/// One session for any number of calls. The first call makes it, so that a program that uses no network does
/// not load the network library. Any thread; the session's factory must outlive it.
class SharedUrlSession {
public:
    explicit SharedUrlSession(platform::UrlSessions& urlSessions)
        : urlSessions_(urlSessions) {}

    platform::UrlSession& get() {
        std::call_once(isMade_, [this] { session_ = urlSessions_.makeEphemeral(); });
        return *session_;
    }

private:
    platform::UrlSessions& urlSessions_;
    std::once_flag isMade_;
    std::shared_ptr<platform::UrlSession> session_;
};

} // namespace sonvale::services
