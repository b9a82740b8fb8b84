#pragma once

#include "services/ServiceError.h"

#include <string>

namespace sonvale::services {

enum class AuthErrorCase { networkError, serverError, invalidResponse, refreshFailed };

/// An error of signing in, signing up or refreshing a session.
class AuthError : public ServiceError<AuthErrorCase> {
public:
    static AuthError networkError(UnderlyingError underlying);
    static AuthError serverError(std::string message);
    static AuthError invalidResponse();
    static AuthError refreshFailed();

private:
    using ServiceError::ServiceError;
};

} // namespace sonvale::services
