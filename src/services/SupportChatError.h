#pragma once

#include "base/TypedError.h"

#include <string>

namespace sonvale::services {

enum class SupportChatErrorCase { serverError, invalidResponse };

/// An error of the support assistant.
class SupportChatError : public base::TypedError<SupportChatErrorCase> {
public:
    static SupportChatError serverError(int status);
    static SupportChatError invalidResponse();

    /// Returns the HTTP status of `serverError`; 0 for the other case.
    int status() const { return status_; }

private:
    SupportChatError(Case errorCase, int status, std::string description);

    int status_;
};

} // namespace sonvale::services
