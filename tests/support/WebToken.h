#pragma once

#include "base/Json.h"

#include <optional>
#include <string>

// JSON Web Tokens (RFC 7519) that are signed by HMAC with SHA-256, "HS256". Any thread.

namespace sonvale::tests {

std::string signedWebToken(const base::Json& claims, const std::string& secret);

/// Returns the claims of a token that was signed with this secret, and nullopt for anything else. A token
/// that names another algorithm, such as "none", counts as unsigned. Does not check its dates.
std::optional<base::Json> webTokenClaims(const std::string& token, const std::string& secret);

/// Returns random bytes.
std::string randomSecret();

} // namespace sonvale::tests
