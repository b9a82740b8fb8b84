#pragma once

#include "tests/support/TestServer.h"

#include <memory>
#include <string>

namespace sonvale::tests {

/// The accounts of the backend that a `TestServer` plays. "/auth/login", "/auth/signup" and "/auth/refresh"
/// hand out JSON Web Tokens that are really signed and really expire; "/api/chat", "/api/transcribe",
/// "/api/realtime/session" and "/api/support-chat" answer 401 to whoever brings none that is good, and
/// "/v1/realtime" to whoever brings no token from "/api/realtime/session".
///
/// What the guarded paths answer otherwise is the server's own affair: `serveEverything` comes before this,
/// and `TestServer::answer` and the like for these paths at any time. Any thread; the server may outlive it,
/// and goes on with these accounts.
class Accounts {
public:
    explicit Accounts(TestServer& server);
    Accounts(const Accounts&) = delete;
    Accounts& operator=(const Accounts&) = delete;

    /// Addresses are the same whatever the case of their letters. Replaces a user of that address.
    void add(const std::string& email, const std::string& password);
    /// Of one who has yet to follow the link in the mail: the right password gets "email_not_confirmed".
    void addUnconfirmed(const std::string& email, const std::string& password);
    void confirm(const std::string& email);
    /// Whether who signs up has to follow such a link first; not so at the beginning.
    void setConfirmsSignUps(bool confirmsSignUps);

    /// How long access tokens last that are made from now on, 3600 at the beginning. With 0 or less they are
    /// expired when they arrive. One of less than a minute is good here, but too short for a careful client.
    void setTokenSeconds(double seconds);

    struct Tokens {
        std::string access;
        std::string refresh;
    };
    /// As a sign-in would give them. Throws `std::invalid_argument` when nobody has that address.
    Tokens signIn(const std::string& email);
    /// No refresh token of the user's is good any more; access tokens last to their end.
    void revoke(const std::string& email);

    /// The next answers of an "/auth/" path or of "/api/realtime/session" in place of the true ones. Nothing
    /// else happens then: a refresh token is not used up. Throws for other paths, as `delayNext` does.
    void failNext(const std::string& path, const Answer& answer, int times = 1);
    /// The next answers of such a path come so much later, and are true.
    void delayNext(const std::string& path, double seconds, int times = 1);

    /// What happened so far. Failures and delays by `failNext` are in none of them.
    struct Counts {
        int signIns = 0;
        int signUps = 0;
        int refreshes = 0;
        int refusedSignIns = 0; ///< sign-ups too
        int refusedRefreshes = 0;
        int refusedRequests = 0; ///< of the guarded paths
        int refusedSockets = 0;
    };
    Counts counts() const;

private:
    struct State;
    std::shared_ptr<State> state_;
};

} // namespace sonvale::tests
