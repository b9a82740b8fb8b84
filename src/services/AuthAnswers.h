#pragma once

#include <optional>
#include <string>
#include <string_view>

// What the backend's answers about accounts mean. Pure; any bytes; any thread.

namespace sonvale::services {

/// A session as the backend gives it out.
struct AuthTokenResponse {
    std::string accessToken;
    std::string refreshToken;
    std::optional<std::string> email; ///< of the user, where the answer names one
    bool operator==(const AuthTokenResponse&) const = default;
};

/// Nothing when the body is not such an answer.
std::optional<AuthTokenResponse> authTokenResponse(std::string_view body);

/// What the user is told about a refusal.
std::string authErrorText(int status, std::string_view body);

/// Whether an access token (a JSON Web Token, RFC 7519) has less than a minute left, `now` being seconds
/// since 1970. So has what is not such a token. The signature is the backend's business.
bool isTokenExpired(std::string_view token, double now);

} // namespace sonvale::services
