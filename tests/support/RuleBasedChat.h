#pragma once

#include "tests/support/TestServer.h"

#include <string>

// A rule-based replacement for the language model of the chat. It is not a model: it knows a few words and no
// grammar, and gives the same answer to the same text, so that clean-up can be shown and tested without a
// network. If a case is ambiguous it assumes the more common one: "you know" is removed, unless a word like
// "do" or "if" is before it.

namespace sonvale::tests {

/// Returns an English dictation without fillers ("um", "uh", "you know", "I mean") and stutters ("I I went",
/// "wh- what"), with a capital first letter, "I" in capitals, single blanks and a final period. Empty if
/// nothing is left. Any bytes, any thread.
std::string cleanedByRules(const std::string& dictation);

/// Answers a request for a chat completion with the cleaned text between the <dictation> tags of its last
/// user message, or with the whole message if there are no tags. Answers 400 to any other body.
Answer chatByRules(const Request& request);

/// Makes the chat of the outside service and of the backend answer this way.
void serveChatByRules(TestServer& server);

} // namespace sonvale::tests
