#pragma once

#include "base/Json.h"
#include "platform/UrlSession.h"

#include <cstdint>
#include <string>

// Requests to the chat service and parsing of its answers. Pure functions; any thread.

namespace sonvale::textprocessing {

inline constexpr const char* chatModel = "gpt-4o-mini";

base::Json chatBody(const std::string& systemPrompt, const std::string& userMessage, std::int64_t maxTokens,
                    double temperature);

/// The first choice of an answer.
struct ChatAnswer {
    std::string content; ///< unchanged, never empty
    std::int64_t promptTokens = 0;
    std::int64_t completionTokens = 0;
};

/// Parses an answer. Throws `TextProcessingError`; a body that is not JSON counts as a network error.
ChatAnswer chatAnswerFrom(const platform::UrlResponse& response);

} // namespace sonvale::textprocessing
