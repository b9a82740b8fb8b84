#pragma once

#include "services/ServiceError.h"

#include <cstdint>
#include <exception>
#include <string>

namespace sonvale::transcription {

using services::UnderlyingError;

enum class TranscriptionErrorCase {
    networkError,
    apiError,
    noAudioFile,
    apiKeyMissing,
    invalidResponse,
    engineUnavailable,
    timeout,
    upgradeRequired,
};

/// The error of every engine and every backend call of transcription. Its description is the text for the
/// user.
class TranscriptionError : public services::ServiceError<TranscriptionErrorCase> {
public:
    static TranscriptionError networkError(UnderlyingError underlying);
    static TranscriptionError apiError(std::int64_t statusCode, std::string body);
    static TranscriptionError noAudioFile();
    static TranscriptionError apiKeyMissing();
    static TranscriptionError invalidResponse();
    static TranscriptionError engineUnavailable();
    static TranscriptionError timeout();
    static TranscriptionError upgradeRequired();

    /// Returns the case as it is written in the code, such as "engineUnavailable".
    std::string name() const;

private:
    using ServiceError::ServiceError;
};

/// Returns the description of a failed transcription for the log: the case, and the status of an API error,
/// such as "apiError (500)". Never contains a server's message.
std::string failureKind(const std::exception& error);

} // namespace sonvale::transcription
