#include "services/AuthService.h"

#include "base/Wipe.h"

#include <utility>

namespace sonvale::services {

namespace keys = persistence::keys;

namespace {

bool isSuccess(int status) {
    return status >= 200 && status <= 299;
}

std::optional<std::string> absentIfEmpty(std::optional<std::string> text) {
    return text && !text->empty() ? std::move(text) : std::nullopt;
}

} // namespace

AuthService::AuthService(Parts parts)
    : parts_(std::move(parts))
    , urlSession_(parts_.urlSessions)
    , accessToken_(parts_.settings.read(keys::accessToken))
    , refreshToken_(parts_.settings.read(keys::refreshToken)) {
    currentUserEmail = absentIfEmpty(parts_.settings.stored(keys::userEmail));
    isAuthenticated = (!accessToken_.empty() && !isExpired(accessToken_)) || !refreshToken_.empty();
}

bool AuthService::isExpired(const std::string& accessToken) const {
    const auto now = std::chrono::duration<double>(parts_.clock.date().time_since_epoch()).count();
    return isTokenExpired(accessToken, now);
}

runtime::Task<> AuthService::signIn(std::string email, std::string password) {
    return authenticate(shared_from_this(), "auth/login", std::move(email), std::move(password));
}

runtime::Task<> AuthService::signUp(std::string email, std::string password) {
    return authenticate(shared_from_this(), "auth/signup", std::move(email), std::move(password));
}

runtime::Task<> AuthService::authenticate(Self self, std::string path, std::string email,
                                          std::string password) {
    self->parts_.main.assertCurrent();
    self->isLoading = true;
    self->errorMessage = std::nullopt;
    std::exception_ptr failure;
    try {
        auto body = RequestBody::ofJson({{"email", email}, {"password", password}});
        base::wipe(password);
        self->store(co_await requestSession(self, std::move(path), std::move(body)));
    } catch (...) {
        failure = std::current_exception();
    }
    self->isLoading = false;
    if (failure)
        std::rethrow_exception(failure);
}

runtime::Task<AuthTokenResponse> AuthService::requestSession(Self self, std::string path, RequestBody body) {
    platform::UrlResponse response;
    std::optional<UnderlyingError> failure;
    try {
        response = co_await self->post(path, body);
    } catch (const std::exception& error) {
        failure = UnderlyingError::from(error, "AuthService");
    }
    if (failure)
        throw AuthError::networkError(*std::move(failure));
    if (!response.statusCode)
        throw AuthError::invalidResponse();
    if (!isSuccess(*response.statusCode))
        throw AuthError::serverError(authErrorText(*response.statusCode, response.body));
    auto session = authTokenResponse(response.body);
    if (!session)
        throw AuthError::invalidResponse();
    co_return *std::move(session);
}

runtime::Task<platform::UrlResponse> AuthService::post(const std::string& path, const RequestBody& body) {
    platform::UrlRequest request;
    request.method = "POST";
    request.url = parts_.addresses.backendURL(path);
    request.headers = {{"Content-Type", "application/json"}};
    request.timeoutSeconds = requestTimeout;
    request.body = body.bytes();
    return urlSession_.get().data(std::move(request));
}

void AuthService::store(AuthTokenResponse session) {
    ++session_;
    accessToken_ = std::move(session.accessToken);
    refreshToken_ = std::move(session.refreshToken);
    parts_.settings.set(keys::accessToken, accessToken_);
    parts_.settings.set(keys::refreshToken, refreshToken_);
    if (session.email) {
        parts_.settings.set(keys::userEmail, *session.email);
        currentUserEmail = absentIfEmpty(std::move(session.email));
    }
    isAuthenticated = true;
}

void AuthService::signOut() {
    parts_.main.assertCurrent();
    ++session_;
    parts_.settings.remove(keys::accessToken);
    parts_.settings.remove(keys::refreshToken);
    parts_.settings.remove(keys::userEmail);
    accessToken_.clear();
    refreshToken_.clear();
    currentUserEmail = std::nullopt;
    errorMessage = std::nullopt;
    isAuthenticated = false;
}

runtime::Task<AuthService::Token> AuthService::validAccessToken() {
    return runtime::runOn(parts_.main, currentToken(shared_from_this()));
}

void AuthService::adoptStoredSession() {
    auto accessToken = parts_.settings.read(keys::accessToken);
    auto refreshToken = parts_.settings.read(keys::refreshToken);
    if (accessToken == accessToken_ && refreshToken == refreshToken_)
        return;
    ++session_;
    accessToken_ = std::move(accessToken);
    refreshToken_ = std::move(refreshToken);
    currentUserEmail = absentIfEmpty(parts_.settings.stored(keys::userEmail));
    isAuthenticated = (!accessToken_.empty() && !isExpired(accessToken_)) || !refreshToken_.empty();
}

runtime::Task<AuthService::Token> AuthService::currentToken(Self self) {
    self->adoptStoredSession();
    if (self->accessToken_.empty())
        co_return std::nullopt;
    if (!self->isExpired(self->accessToken_))
        co_return self->accessToken_;
    if (self->refreshToken_.empty()) {
        self->signOut();
        co_return std::nullopt;
    }
    if (!self->refreshTask_ || self->refreshTask_.isDone())
        self->refreshTask_ = runtime::spawn(self->parts_.main, refresh(self));
    try {
        co_return co_await self->refreshTask_.valueUnlessCancelled();
    } catch (const runtime::CancellationError&) {
        co_return std::nullopt;
    }
}

runtime::Task<AuthService::Token> AuthService::refresh(Self self) {
    const auto session = self->session_;
    const auto body = RequestBody::ofJson({{"refresh_token", self->refreshToken_}});
    platform::UrlResponse response;
    try {
        response = co_await self->post("auth/refresh", body);
    } catch (const std::exception&) {
        // The link may be down: the session is kept, and the next call tries again.
        co_return std::nullopt;
    }
    // A sign-in or sign-out during the request takes precedence.
    if (self->session_ != session)
        co_return std::nullopt;
    // Tokens that another program of the user has received for the same refresh token take precedence too.
    // The backend accepts a refresh token only once.
    self->adoptStoredSession();
    if (self->session_ != session) {
        const bool isUsable = !self->accessToken_.empty() && !self->isExpired(self->accessToken_);
        co_return isUsable ? Token(self->accessToken_) : std::nullopt;
    }
    if (!response.statusCode)
        co_return std::nullopt;

    const int status = *response.statusCode;
    if (status == 401 || status == 403) {
        self->signOut();
        co_return std::nullopt;
    }
    auto answer = isSuccess(status) ? authTokenResponse(response.body) : std::nullopt;
    if (!answer)
        co_return std::nullopt;
    self->store(*std::move(answer));
    co_return self->accessToken_;
}

} // namespace sonvale::services
