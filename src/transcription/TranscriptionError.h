#pragma once

#include "services/UnderlyingError.h"

#include <cstdint>
#include <exception>
#include <string>

namespace sonvale::transcription {

using services::UnderlyingError;

/// The error of every engine and every backend call of transcription.
class TranscriptionError : public std::exception {
public:
    enum class Case {
        networkError,
        apiError,
        noAudioFile,
        apiKeyMissing,
        invalidResponse,
        engineUnavailable,
        timeout,
        upgradeRequired,
    };

    static TranscriptionError networkError(UnderlyingError underlying);
    static TranscriptionError apiError(std::int64_t statusCode, std::string body);
    static TranscriptionError noAudioFile();
    static TranscriptionError apiKeyMissing();
    static TranscriptionError invalidResponse();
    static TranscriptionError engineUnavailable();
    static TranscriptionError timeout();
    static TranscriptionError upgradeRequired();

    Case errorCase() const { return case_; }
    /// Returns the case as it is written in the code, such as "engineUnavailable".
    std::string name() const;

    /// Returns the text for the user.
    const std::string& errorDescription() const { return description_; }
    const char* what() const noexcept override { return description_.c_str(); }

    /// Returns the cause of a `networkError`. Empty for the other cases.
    const UnderlyingError& underlying() const { return underlying_; }
    /// Return the parts of an `apiError`. 0 and empty for the other cases.
    std::int64_t statusCode() const { return statusCode_; }
    const std::string& body() const { return body_; }

private:
    TranscriptionError(Case errorCase, std::string description);

    Case case_;
    std::string description_;
    UnderlyingError underlying_;
    std::int64_t statusCode_ = 0;
    std::string body_;
};

/// Returns the description of a failed transcription for the log: the case, and the status of an API error,
/// such as "apiError (500)". Never contains a server's message.
std::string failureKind(const std::exception& error);

} // namespace sonvale::transcription
