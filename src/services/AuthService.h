#pragma once

#include "base/Observed.h"
#include "persistence/Settings.h"
#include "runtime/Clock.h"
#include "services/AuthAnswers.h"
#include "services/AuthError.h"
#include "services/RequestBody.h"
#include "services/ServiceAddresses.h"
#include "services/SharedUrlSession.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace sonvale::services {

/// The user's account: signs in, keeps the session across launches, and gives every client a valid bearer
/// token.
///
/// Lives on the main actor; only `validAccessToken` may be awaited from any actor. Owned by a shared pointer.
/// The session is stored in the settings only; the user's other desktop sessions share it there.
class AuthService : public std::enable_shared_from_this<AuthService> {
public:
    static constexpr double requestTimeout = 30; ///< seconds without any data

    /// The objects that it uses. All of them outlive it.
    struct Parts {
        runtime::Actor main;
        runtime::Clock& clock;
        platform::UrlSessions& urlSessions;
        persistence::Settings& settings;
        ServiceAddresses addresses;
    };

    /// Restores the session of the last launch. A session with a refresh token is valid, even if its access
    /// token is old.
    explicit AuthService(Parts parts);
    AuthService(const AuthService&) = delete;
    AuthService& operator=(const AuthService&) = delete;

    /// whether a usable session is expected to exist
    base::Observed<bool> isAuthenticated{false};
    base::Observed<std::optional<std::string>> currentUserEmail; ///< never empty
    base::Observed<bool> isLoading{false};                       ///< whether a sign-in or sign-up is running
    base::Observed<std::optional<std::string>> errorMessage;

    /// Sign in or sign up. Throw `AuthError`. Cancelling the task ends the request with `networkError`.
    runtime::Task<> signIn(std::string email, std::string password);
    runtime::Task<> signUp(std::string email, std::string password);

    /// Forgets the session on this machine without a request to the backend. Drops the result of a running
    /// refresh.
    void signOut();

    /// Returns the bearer token, refreshed if it has expired; nullopt if there is no session or it cannot be
    /// refreshed now. Concurrent callers share one refresh. Adopts changes that another program of the user
    /// has made to the session: new tokens, a sign-in, a sign-out. Never throws. A cancelled caller gets
    /// nullopt at once; the refresh continues.
    runtime::Task<std::optional<std::string>> validAccessToken();

private:
    using Self = std::shared_ptr<AuthService>;
    using Token = std::optional<std::string>;

    static runtime::Task<> authenticate(Self self, std::string path, std::string email, std::string password);
    static runtime::Task<Token> currentToken(Self self);
    static runtime::Task<Token> refresh(Self self);
    static runtime::Task<AuthTokenResponse> requestSession(Self self, std::string path, RequestBody body);
    /// `body` must outlive the task.
    runtime::Task<platform::UrlResponse> post(const std::string& path, const RequestBody& body);
    void store(AuthTokenResponse session);
    void adoptStoredSession();
    bool isExpired(const std::string& accessToken) const;

    const Parts parts_;
    SharedUrlSession urlSession_;
    std::string accessToken_;                ///< empty for none
    std::string refreshToken_;               ///< empty for none
    std::uint64_t session_ = 0;              ///< increases with every sign-in and sign-out
    runtime::TaskHandle<Token> refreshTask_; ///< the running refresh
};

} // namespace sonvale::services
