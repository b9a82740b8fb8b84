#include "tests/support/Accounts.h"

#include "base/Text.h"
#include "base/Uuid.h"
#include "tests/support/RealtimeConversation.h"
#include "tests/support/ServiceAnswers.h"
#include "tests/support/WebToken.h"

#include <chrono>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace sonvale::tests {

namespace {

using base::Json;

constexpr std::size_t shortestPassword = 6;
constexpr double socketTokenSeconds = 600; ///< as the answer says that contains one

double dateNow() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::string sameForEveryCase(const std::string& email) {
    return base::lowercased(base::trimmed(email));
}

/// Returns the text after "Bearer " in the request's head; empty if there is none.
std::string bearerIn(const Request& head) {
    constexpr std::string_view scheme = "Bearer ";
    const auto value = head.header("Authorization");
    return value.starts_with(scheme) ? value.substr(scheme.size()) : "";
}

struct Credentials {
    std::string email;
    std::string password;
};

/// The reason why the body of a sign-in or sign-up is invalid, or its content.
struct ParsedCredentials {
    std::optional<Credentials> credentials = {};
    std::string code = {};
    std::string message = {};
};

ParsedCredentials credentialsIn(const Request& request) {
    const auto body = base::parseJson(request.body);
    if (!body || !body->is_object())
        return {.code = "bad_json", .message = "Could not read body"};
    const auto email = base::jsonString(*body, "email").value_or("");
    if (email.empty())
        return {.code = "validation_failed", .message = "missing email or phone"};
    return {.credentials = Credentials{email, base::jsonString(*body, "password").value_or("")}};
}

} // namespace

struct Accounts::State {
    struct User {
        std::string email = {};
        std::string password = {};
        std::string identifier = base::lowercased(base::Uuid::make().toString());
        bool isConfirmed = true;
    };
    struct Refresh {
        std::string email = {};
        bool isUsed = false;
    };
    struct Fault {
        std::optional<Answer> answer = {}; ///< nullopt means the real answer
        double delaySeconds = 0;
    };

    // Each of these answers one request. They need the mutex locked.
    Answer logIn(const Request& request);
    Answer signUp(const Request& request);
    Answer refresh(const Request& request);
    Answer openSession(const Request& request);

    void play(TestServer& server, const std::string& path, Answer (State::*answer)(const Request&),
              const std::shared_ptr<State>& self);
    Answer give(const std::string& path, const Request& request, Answer (State::*answer)(const Request&));
    std::optional<Answer> requestRefusal(const Request& head);
    std::optional<Answer> socketRefusal(const Request& head);

    User* find(const std::string& email);
    Tokens makeTokens(const User& user);
    Answer session(const User& user);
    Answer refuseSignIn(int status, const std::string& code, const std::string& message);

    std::mutex mutex; // guards everything except the secret
    const std::string secret = randomSecret();
    std::map<std::string, User> users; ///< by `sameForEveryCase`
    std::map<std::string, Refresh> refreshTokens;
    std::map<std::string, double> socketTokens; ///< and their times of expiry
    std::map<std::string, std::deque<Fault>> faults;
    double tokenSeconds = GivenSession{}.expiresInSeconds;
    bool confirmsSignUps = false;
    Counts counts;
};

Answer Accounts::State::logIn(const Request& request) {
    const auto parsed = credentialsIn(request);
    if (!parsed.credentials)
        return refuseSignIn(400, parsed.code, parsed.message);
    const auto* const user = find(parsed.credentials->email);
    // An unknown address gets the same answer as a wrong password, so that no client can find out who has an
    // account.
    if (user == nullptr || user->password != parsed.credentials->password)
        return refuseSignIn(400, "invalid_credentials", "Invalid login credentials");
    if (!user->isConfirmed)
        return refuseSignIn(400, "email_not_confirmed", "Email not confirmed");
    ++counts.signIns;
    return session(*user);
}

Answer Accounts::State::signUp(const Request& request) {
    const auto parsed = credentialsIn(request);
    if (!parsed.credentials)
        return refuseSignIn(400, parsed.code, parsed.message);
    const auto& [email, password] = *parsed.credentials;
    if (find(email) != nullptr)
        return refuseSignIn(422, "user_already_exists", "User already registered");
    if (password.size() < shortestPassword)
        return refuseSignIn(422, "weak_password", "Password should be at least 6 characters.");

    const auto place = users.emplace(
        sameForEveryCase(email), User{.email = email, .password = password, .isConfirmed = !confirmsSignUps});
    ++counts.signUps;
    // There is no session before the link was followed.
    if (confirmsSignUps)
        return authError(400, "email_not_confirmed", "Email not confirmed");
    return session(place.first->second);
}

Answer Accounts::State::refresh(const Request& request) {
    const auto refuse = [this](const std::string& code, const std::string& message) {
        ++counts.refusedRefreshes;
        return authError(401, code, "Invalid Refresh Token: " + message);
    };
    const auto body = base::parseJson(request.body);
    const auto token = body ? base::jsonString(*body, "refresh_token") : std::nullopt;
    if (!token)
        return authError(400, "validation_failed", "refresh_token required");
    const auto found = refreshTokens.find(*token);
    const auto* const user = found == refreshTokens.end() ? nullptr : find(found->second.email);
    if (user == nullptr)
        return refuse("refresh_token_not_found", "Refresh Token Not Found");
    if (std::exchange(found->second.isUsed, true))
        return refuse("refresh_token_already_used", "Already Used");
    ++counts.refreshes;
    return session(*user);
}

Answer Accounts::State::openSession(const Request&) {
    const auto token = serviceIdentifier("ek");
    socketTokens[token] = dateNow() + socketTokenSeconds;
    return ephemeralToken(token);
}

void Accounts::State::play(TestServer& server, const std::string& path,
                           Answer (State::*answer)(const Request&), const std::shared_ptr<State>& self) {
    faults[path];
    server.answerBy(path, [self, path, answer](const Request& request) {
        return request.method == "POST" ? self->give(path, request, answer)
                                        : backendError(405, "Method not allowed");
    });
}

Answer Accounts::State::give(const std::string& path, const Request& request,
                             Answer (State::*answer)(const Request&)) {
    const std::lock_guard lock(mutex);
    auto& queue = faults.at(path);
    if (queue.empty())
        return (this->*answer)(request);
    const auto fault = std::move(queue.front());
    queue.pop_front();
    if (fault.answer)
        return *fault.answer;
    auto late = (this->*answer)(request);
    late.delaySeconds = fault.delaySeconds;
    return late;
}

std::optional<Answer> Accounts::State::requestRefusal(const Request& head) {
    const std::lock_guard lock(mutex);
    const auto refuse = [this](const char* message) {
        ++counts.refusedRequests;
        return backendError(401, message);
    };
    const auto token = bearerIn(head);
    if (token.empty())
        return refuse("Missing authorization token");
    const auto claims = webTokenClaims(token, secret);
    const auto email = claims ? base::jsonString(*claims, "email") : std::nullopt;
    if (!email || find(*email) == nullptr)
        return refuse("Invalid token");
    if (base::jsonNumber(*claims, "exp").value_or(0) <= dateNow())
        return refuse("Token has expired");
    return std::nullopt;
}

std::optional<Answer> Accounts::State::socketRefusal(const Request& head) {
    const std::lock_guard lock(mutex);
    const auto found = socketTokens.find(bearerIn(head));
    if (found != socketTokens.end() && found->second > dateNow())
        return std::nullopt;
    ++counts.refusedSockets;
    return serviceError(401, "Incorrect API key provided.", "invalid_api_key");
}

Accounts::State::User* Accounts::State::find(const std::string& email) {
    const auto found = users.find(sameForEveryCase(email));
    return found == users.end() ? nullptr : &found->second;
}

Accounts::Tokens Accounts::State::makeTokens(const User& user) {
    auto refreshToken = serviceIdentifier("rt");
    refreshTokens[refreshToken] = {.email = user.email};
    return {.access = signedWebToken(accessClaims(user.email, user.identifier, tokenSeconds), secret),
            .refresh = std::move(refreshToken)};
}

Answer Accounts::State::session(const User& user) {
    auto tokens = makeTokens(user);
    return authSession({.email = user.email,
                        .userIdentifier = user.identifier,
                        .accessToken = std::move(tokens.access),
                        .refreshToken = std::move(tokens.refresh),
                        .expiresInSeconds = tokenSeconds});
}

Answer Accounts::State::refuseSignIn(int status, const std::string& code, const std::string& message) {
    ++counts.refusedSignIns;
    return authError(status, code, message);
}

Accounts::Accounts(TestServer& server)
    : state_(std::make_shared<State>()) {
    state_->play(server, "/auth/login", &State::logIn, state_);
    state_->play(server, "/auth/signup", &State::signUp, state_);
    state_->play(server, "/auth/refresh", &State::refresh, state_);
    state_->play(server, "/api/realtime/session", &State::openSession, state_);
    for (const auto* const path :
         {"/api/chat", "/api/transcribe", "/api/realtime/session", "/api/support-chat"})
        server.guard(path, [state = state_](const Request& head) { return state->requestRefusal(head); });
    server.guard("/v1/realtime",
                 [state = state_](const Request& head) { return state->socketRefusal(head); });
}

void Accounts::add(const std::string& email, const std::string& password) {
    const std::lock_guard lock(state_->mutex);
    state_->users[sameForEveryCase(email)] = {.email = email, .password = password};
}

void Accounts::addUnconfirmed(const std::string& email, const std::string& password) {
    const std::lock_guard lock(state_->mutex);
    state_->users[sameForEveryCase(email)] = {.email = email, .password = password, .isConfirmed = false};
}

void Accounts::confirm(const std::string& email) {
    const std::lock_guard lock(state_->mutex);
    if (auto* const user = state_->find(email))
        user->isConfirmed = true;
}

void Accounts::setConfirmsSignUps(bool confirmsSignUps) {
    const std::lock_guard lock(state_->mutex);
    state_->confirmsSignUps = confirmsSignUps;
}

void Accounts::setTokenSeconds(double seconds) {
    const std::lock_guard lock(state_->mutex);
    state_->tokenSeconds = seconds;
}

Accounts::Tokens Accounts::signIn(const std::string& email) {
    const std::lock_guard lock(state_->mutex);
    const auto* const user = state_->find(email);
    if (user == nullptr)
        throw std::invalid_argument("nobody has the address " + email);
    return state_->makeTokens(*user);
}

void Accounts::revoke(const std::string& email) {
    const std::lock_guard lock(state_->mutex);
    std::erase_if(state_->refreshTokens, [&](const auto& token) {
        return sameForEveryCase(token.second.email) == sameForEveryCase(email);
    });
}

void Accounts::failNext(const std::string& path, const Answer& answer, int times) {
    const std::lock_guard lock(state_->mutex);
    auto& queue = state_->faults.at(path);
    queue.insert(queue.end(), static_cast<std::size_t>(times), State::Fault{.answer = answer});
}

void Accounts::delayNext(const std::string& path, double seconds, int times) {
    const std::lock_guard lock(state_->mutex);
    auto& queue = state_->faults.at(path);
    queue.insert(queue.end(), static_cast<std::size_t>(times), State::Fault{.delaySeconds = seconds});
}

Accounts::Counts Accounts::counts() const {
    const std::lock_guard lock(state_->mutex);
    return state_->counts;
}

} // namespace sonvale::tests
