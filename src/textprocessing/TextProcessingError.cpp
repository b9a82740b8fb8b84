#include "textprocessing/TextProcessingError.h"

#include <fmt/format.h>

#include <utility>

namespace sonvale::textprocessing {

TextProcessingError::TextProcessingError(Case errorCase, std::string description)
    : case_(errorCase)
    , description_(std::move(description)) {}

TextProcessingError TextProcessingError::networkError(UnderlyingError underlying) {
    TextProcessingError error(Case::networkError, "Network error: " + underlying.localizedDescription);
    error.underlying_ = std::move(underlying);
    return error;
}

TextProcessingError TextProcessingError::apiError(int statusCode, std::string body) {
    TextProcessingError error(Case::apiError, fmt::format("API error ({}): {}", statusCode, body));
    error.statusCode_ = statusCode;
    error.body_ = std::move(body);
    return error;
}

TextProcessingError TextProcessingError::apiKeyMissing() {
    return {Case::apiKeyMissing, "API key is not configured."};
}

TextProcessingError TextProcessingError::invalidResponse() {
    return {Case::invalidResponse, "Invalid response from API."};
}

TextProcessingError TextProcessingError::emptyResponse() {
    return {Case::emptyResponse, "API returned an empty response."};
}

TextProcessingError TextProcessingError::upgradeRequired() {
    return {Case::upgradeRequired, "Please update Son Vale to the latest version."};
}

} // namespace sonvale::textprocessing
