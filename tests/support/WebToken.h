#pragma once

#include "base/Json.h"

#include <optional>
#include <string>

// JSON Web Tokens (RFC 7519) that are signed by HMAC with SHA-256, "HS256". Any thread.

namespace sonvale::tests {

std::string signedWebToken(const base::Json& claims, const std::string& secret);

/// The claims of a token that was signed with this secret; nothing for any other token and for what is none.
/// A token that names another algorithm, "none" above all, is not signed. Its dates are not looked at.
std::optional<base::Json> webTokenClaims(const std::string& token, const std::string& secret);

/// Bytes that nobody can guess.
std::string randomSecret();

} // namespace sonvale::tests
