#include "textprocessing/TextProcessingError.h"

#include <utility>

namespace sonvale::textprocessing {

TextProcessingError TextProcessingError::networkError(UnderlyingError underlying) {
    return {Case::networkError, std::move(underlying)};
}

TextProcessingError TextProcessingError::apiError(std::int64_t statusCode, std::string body) {
    return {Case::apiError, statusCode, std::move(body)};
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
