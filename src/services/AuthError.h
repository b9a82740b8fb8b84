#pragma once

#include "services/UnderlyingError.h"

#include <exception>
#include <string>

namespace sonvale::services {

/// Why signing in or up failed.
class AuthError : public std::exception {
public:
    enum class Case { networkError, serverError, invalidResponse, refreshFailed };

    static AuthError networkError(UnderlyingError underlying);
    static AuthError serverError(std::string message);
    static AuthError invalidResponse();
    static AuthError refreshFailed();

    Case errorCase() const { return case_; }
    /// Words for the user.
    const std::string& errorDescription() const { return description_; }
    const char* what() const noexcept override { return description_.c_str(); }
    /// Of `networkError`; empty for the others.
    const UnderlyingError& underlying() const { return underlying_; }

private:
    AuthError(Case errorCase, std::string description);

    Case case_;
    std::string description_;
    UnderlyingError underlying_;
};

} // namespace sonvale::services
