#include "services/SupportChatError.h"

#include <fmt/format.h>

#include <utility>

namespace sonvale::services {

SupportChatError::SupportChatError(Case errorCase, int status, std::string description)
    : TypedError(errorCase, std::move(description))
    , status_(status) {}

SupportChatError SupportChatError::serverError(int status) {
    return {Case::serverError, status,
            fmt::format("Server returned an error (HTTP {}). Please try again.", status)};
}

SupportChatError SupportChatError::invalidResponse() {
    return {Case::invalidResponse, 0, "Received an unexpected response from the server. Please try again."};
}

} // namespace sonvale::services
