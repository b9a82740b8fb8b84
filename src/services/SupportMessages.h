#pragma once

#include "base/Json.h"

#include <span>
#include <string>
#include <string_view>

namespace sonvale::services {

/// The greeting of the support assistant.
inline constexpr std::string_view supportGreeting =
    "Hi! I'm here to help with setup, troubleshooting, or account questions. What's going on?";

/// One message of the conversation in a request.
struct SupportMessage {
    std::string role; ///< "user" or "assistant"
    std::string content;
};

/// Returns the request for the next answer: every message in order except the greeting.
base::Json supportBody(std::span<const SupportMessage> messages);

/// Parses an answer of server-sent events, line by line.
class SupportStream {
public:
    struct Event {
        bool isData = false; ///< whether the line is a data line, with any content
        std::string text{};  ///< the piece of the answer in the line
    };

    /// Parses `line` without its line end. Ignores lines after the end of the answer.
    Event take(std::string_view line);

    /// Returns whether the service has reported the end of the answer.
    bool isEnded() const { return isEnded_; }

private:
    bool isEnded_ = false;
};

} // namespace sonvale::services
