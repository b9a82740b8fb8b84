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

/// The user's account: signs in, keeps the session across launches, and hands every client a usable bearer
/// token.
///
/// Lives on the main actor; `validAccessToken` alone may be awaited from any. Held by a shared pointer. The
/// session is kept in the settings, and nowhere else; the user's other desktop sessions share it by them.
class AuthService : public std::enable_shared_from_this<AuthService> {
public:
    static constexpr double requestTimeout = 30; ///< seconds without a byte moving

    /// What it works with; everything referred to outlives it.
    struct Parts {
        runtime::Actor main;
        runtime::Clock& clock;
        platform::UrlSessions& urlSessions;
        persistence::Settings& settings;
        ServiceAddresses addresses;
    };

    /// Takes up the session of the last launch. A session that has a refresh token counts as one, however old
    /// its access token is.
    explicit AuthService(Parts parts);
    AuthService(const AuthService&) = delete;
    AuthService& operator=(const AuthService&) = delete;

    base::Observed<bool> isAuthenticated{false};                 ///< a usable session is believed to exist
    base::Observed<std::optional<std::string>> currentUserEmail; ///< never empty
    base::Observed<bool> isLoading{false};                       ///< a sign-in or sign-up is on its way
    base::Observed<std::optional<std::string>> errorMessage;

    /// Throw `AuthError`. Cancelling the task ends the request with `networkError`.
    runtime::Task<> signIn(std::string email, std::string password);
    runtime::Task<> signUp(std::string email, std::string password);

    /// Forgets the session on this machine; the backend is not told. What a refresh that is on its way brings
    /// is dropped.
    void signOut();

    /// Returns the bearer token, refreshed where it has run out; nullopt if there is no session or it cannot
    /// be refreshed now. Concurrent callers share one refresh. Takes up what another program of the user has
    /// made of the session: new tokens, a sign-in, a sign-out. Never throws. A cancelled caller gets nullopt
    /// at once; the refresh goes on.
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
    void takeUpStoredSession();
    bool isExpired(const std::string& accessToken) const;

    const Parts parts_;
    SharedUrlSession urlSession_;
    std::string accessToken_;                ///< empty for none
    std::string refreshToken_;               ///< empty for none
    std::uint64_t session_ = 0;              ///< grows with every sign-in and sign-out
    runtime::TaskHandle<Token> refreshTask_; ///< the one on its way
};

} // namespace sonvale::services
