#include "services/AuthError.h"

#include <utility>

namespace sonvale::services {

AuthError::AuthError(Case errorCase, std::string description)
    : case_(errorCase)
    , description_(std::move(description)) {}

AuthError AuthError::networkError(UnderlyingError underlying) {
    AuthError error(Case::networkError, "Network error: " + underlying.localizedDescription);
    error.underlying_ = std::move(underlying);
    return error;
}

AuthError AuthError::serverError(std::string message) {
    return {Case::serverError, std::move(message)};
}

AuthError AuthError::invalidResponse() {
    return {Case::invalidResponse, "Unexpected response from the server. Please try again."};
}

AuthError AuthError::refreshFailed() {
    return {Case::refreshFailed, "Your session has expired. Please sign in again."};
}

} // namespace sonvale::services
