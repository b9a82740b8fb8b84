#pragma once

#include "services/UnderlyingError.h"

#include <cstdint>
#include <exception>
#include <string>

namespace sonvale::transcription {

using services::UnderlyingError;

/// What every engine and every backend call of transcription throws.
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
    /// The case as it is written in the code: "engineUnavailable".
    std::string name() const;

    /// Words for the user.
    const std::string& errorDescription() const { return description_; }
    const char* what() const noexcept override { return description_.c_str(); }

    /// Of `networkError`; empty for the others.
    const UnderlyingError& underlying() const { return underlying_; }
    /// Of `apiError`; 0 and empty for the others.
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

/// Returns what the log may say of a failed transcription: the case, and the status of an API error, such as
/// "apiError (500)". Never contains a server's message.
std::string failureKind(const std::exception& error);

} // namespace sonvale::transcription
