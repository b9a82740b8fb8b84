#pragma once

#include "platform/UrlSession.h"

#include <memory>
#include <mutex>

namespace sonvale::services {

/// One session for any number of calls, made with the first of them: a program that stays on this machine
/// need not load what a session takes. Any thread; what makes the session outlives it.
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
