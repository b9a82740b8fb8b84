#pragma once

#include "services/ServiceError.h"

#include <cstdint>
#include <string>

namespace sonvale::textprocessing {

using services::UnderlyingError;

enum class TextProcessingErrorCase {
    networkError,
    apiError,
    apiKeyMissing,
    invalidResponse,
    emptyResponse,
    upgradeRequired
};

/// An error of a request to the language model.
class TextProcessingError : public services::ServiceError<TextProcessingErrorCase> {
public:
    static TextProcessingError networkError(UnderlyingError underlying);
    static TextProcessingError apiError(std::int64_t statusCode, std::string body);
    static TextProcessingError apiKeyMissing();
    static TextProcessingError invalidResponse();
    static TextProcessingError emptyResponse();
    static TextProcessingError upgradeRequired();

private:
    using ServiceError::ServiceError;
};

} // namespace sonvale::textprocessing
