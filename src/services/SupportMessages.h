#pragma once

#include "base/Json.h"

#include <span>
#include <string>
#include <string_view>

namespace sonvale::services {

/// What the support assistant says before anything was asked.
inline constexpr std::string_view supportGreeting =
    "Hi! I'm here to help with setup, troubleshooting, or account questions. What's going on?";

/// One message of the conversation, as it is sent.
struct SupportMessage {
    std::string role; ///< "user" or "assistant"
    std::string content;
};

/// The request for the next answer: every message in order but the greeting.
base::Json supportBody(std::span<const SupportMessage> messages);

/// Reads an answer that comes as server-sent events, line by line.
class SupportStream {
public:
    struct Event {
        bool isData = false; ///< a data line, whatever it holds
        std::string text{};  ///< the piece of the answer in it
    };

    /// `line` without its line end. After the end nothing counts any more.
    Event take(std::string_view line);

    /// Whether the answer has been said to be complete.
    bool isEnded() const { return isEnded_; }

private:
    bool isEnded_ = false;
};

} // namespace sonvale::services
