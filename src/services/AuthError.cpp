#include "services/AuthError.h"

#include <utility>

namespace sonvale::services {

AuthError AuthError::networkError(UnderlyingError underlying) {
    return {Case::networkError, std::move(underlying)};
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
