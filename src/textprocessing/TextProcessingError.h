#pragma once

#include "services/UnderlyingError.h"

#include <exception>
#include <string>

namespace sonvale::textprocessing {

using services::UnderlyingError;

/// Why a text could not be worked on by the language model.
class TextProcessingError : public std::exception {
public:
    enum class Case {
        networkError,
        apiError,
        apiKeyMissing,
        invalidResponse,
        emptyResponse,
        upgradeRequired
    };

    static TextProcessingError networkError(UnderlyingError underlying);
    static TextProcessingError apiError(int statusCode, std::string body);
    static TextProcessingError apiKeyMissing();
    static TextProcessingError invalidResponse();
    static TextProcessingError emptyResponse();
    static TextProcessingError upgradeRequired();

    Case errorCase() const { return case_; }
    /// Words for the user.
    const std::string& errorDescription() const { return description_; }
    const char* what() const noexcept override { return description_.c_str(); }

    /// Of `networkError`; empty for the others.
    const UnderlyingError& underlying() const { return underlying_; }
    /// Of `apiError`; 0 and empty for the others.
    int statusCode() const { return statusCode_; }
    const std::string& body() const { return body_; }

private:
    TextProcessingError(Case errorCase, std::string description);

    Case case_;
    std::string description_;
    UnderlyingError underlying_;
    int statusCode_ = 0;
    std::string body_;
};

} // namespace sonvale::textprocessing
