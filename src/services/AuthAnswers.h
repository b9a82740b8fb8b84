#pragma once

#include <optional>
#include <string>
#include <string_view>

// Parsing of the backend's answers about accounts. Pure functions; any bytes; any thread.

namespace sonvale::services {

/// A session in the backend's answer.
struct AuthTokenResponse {
    std::string accessToken;
    std::string refreshToken;
    std::optional<std::string> email; ///< of the user, if the answer contains it
    bool operator==(const AuthTokenResponse&) const = default;
};

/// Returns nullopt if the body is not such an answer.
std::optional<AuthTokenResponse> authTokenResponse(std::string_view body);

/// Returns the text for the user about a refused request.
std::string authErrorText(int status, std::string_view body);

/// Returns whether an access token (a JSON Web Token, RFC 7519) has less than a minute left. `now` is in
/// seconds since 1970. Returns true for a text that is not such a token. Does not check the signature, which
/// is the backend's task.
bool isTokenExpired(std::string_view token, double now);

} // namespace sonvale::services
