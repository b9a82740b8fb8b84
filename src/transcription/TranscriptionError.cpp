#include "transcription/TranscriptionError.h"

#include <fmt/format.h>

#include <utility>

namespace sonvale::transcription {

TranscriptionError TranscriptionError::networkError(UnderlyingError underlying) {
    return {Case::networkError, std::move(underlying)};
}

TranscriptionError TranscriptionError::apiError(std::int64_t statusCode, std::string body) {
    return {Case::apiError, statusCode, std::move(body)};
}

TranscriptionError TranscriptionError::noAudioFile() {
    return {Case::noAudioFile, "No audio file found for transcription."};
}

TranscriptionError TranscriptionError::apiKeyMissing() {
    return {Case::apiKeyMissing, "API key is not configured."};
}

TranscriptionError TranscriptionError::invalidResponse() {
    return {Case::invalidResponse, "Invalid response from transcription service."};
}

TranscriptionError TranscriptionError::engineUnavailable() {
    return {Case::engineUnavailable, "Transcription engine is not available."};
}

TranscriptionError TranscriptionError::timeout() {
    return {Case::timeout, "Transcription timed out."};
}

TranscriptionError TranscriptionError::upgradeRequired() {
    return {Case::upgradeRequired, "Please update Son Vale to the latest version."};
}

std::string TranscriptionError::name() const {
    switch (errorCase()) {
    case Case::networkError:
        return "networkError";
    case Case::apiError:
        return "apiError";
    case Case::noAudioFile:
        return "noAudioFile";
    case Case::apiKeyMissing:
        return "apiKeyMissing";
    case Case::invalidResponse:
        return "invalidResponse";
    case Case::engineUnavailable:
        return "engineUnavailable";
    case Case::timeout:
        return "timeout";
    case Case::upgradeRequired:
        return "upgradeRequired";
    }
    return {};
}

std::string failureKind(const std::exception& error) {
    const auto* failure = dynamic_cast<const TranscriptionError*>(&error);
    if (!failure)
        return "unexpected error";
    if (failure->errorCase() != TranscriptionError::Case::apiError)
        return failure->name();
    return fmt::format("{} ({})", failure->name(), failure->statusCode());
}

} // namespace sonvale::transcription
