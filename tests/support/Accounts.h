#pragma once

#include "tests/support/TestServer.h"

#include <memory>
#include <string>

namespace sonvale::tests {

/// The accounts of the backend that a `TestServer` simulates. "/auth/login", "/auth/signup" and
/// "/auth/refresh" return JSON Web Tokens that are really signed and really expire. "/api/chat",
/// "/api/transcribe", "/api/realtime/session" and "/api/support-chat" answer 401 to requests without a valid
/// token, and "/v1/realtime" to requests without a token from "/api/realtime/session".
///
/// The server decides what the guarded paths answer otherwise: call `serveEverything` before this, and
/// `TestServer::answer` and the like for these paths at any time. Any thread. The server may outlive this
/// object, and keeps these accounts.
class Accounts {
public:
    explicit Accounts(TestServer& server);
    Accounts(const Accounts&) = delete;
    Accounts& operator=(const Accounts&) = delete;

    /// Adds a user, or replaces the user of that address. The case of addresses does not count.
    void add(const std::string& email, const std::string& password);
    /// Adds a user who has not followed the link in the mail yet: the right password gets
    /// "email_not_confirmed".
    void addUnconfirmed(const std::string& email, const std::string& password);
    void confirm(const std::string& email);
    /// Sets whether a new user must follow such a link; false at first.
    void setConfirmsSignUps(bool confirmsSignUps);

    /// Sets the lifetime of later access tokens, in seconds; 3600 at first. With 0 or less they are expired
    /// on arrival. A lifetime below a minute is valid here, but too short for a careful client.
    void setTokenSeconds(double seconds);

    struct Tokens {
        std::string access;
        std::string refresh;
    };
    /// Returns the tokens of a sign-in. Throws `std::invalid_argument` if there is no such user.
    Tokens signIn(const std::string& email);
    /// Invalidates all refresh tokens of the user. Access tokens last to their end.
    void revoke(const std::string& email);

    /// Replaces the next answers of an "/auth/" path or of "/api/realtime/session". Nothing else happens
    /// then: a refresh token is not used up. Throws for other paths, as `delayNext` does.
    void failNext(const std::string& path, const Answer& answer, int times = 1);
    /// Delays the next, unchanged answers of such a path.
    void delayNext(const std::string& path, double seconds, int times = 1);

    /// The events so far. Failures and delays by `failNext` are not counted.
    struct Counts {
        int signIns = 0;
        int signUps = 0;
        int refreshes = 0;
        int refusedSignIns = 0; ///< including sign-ups
        int refusedRefreshes = 0;
        int refusedRequests = 0; ///< requests of the guarded paths
        int refusedSockets = 0;
    };
    Counts counts() const;

private:
    struct State;
    std::shared_ptr<State> state_;
};

} // namespace sonvale::tests
