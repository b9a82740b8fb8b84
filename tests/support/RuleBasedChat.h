#pragma once

#include "tests/support/TestServer.h"

#include <string>

// A rule-based stand-in for the language model behind the chat: it is no model. It knows a few words and no
// grammar, and gives the same answer to the same text, so that clean-up can be shown and tested without a
// network. What it cannot tell apart it takes for the commoner case: "you know" goes, unless a word like "do"
// or "if" stands before it.

namespace sonvale::tests {

/// An English dictation without fillers ("um", "uh", "you know", "I mean") and stutters ("I I went", "wh-
/// what"), with a capital first letter, "I" in capitals, single blanks and a final period. Empty when nothing
/// is left. Any bytes, any thread.
std::string cleanedByRules(const std::string& dictation);

/// Answers a request for a chat completion with what stands between the <dictation> tags of its last user
/// message, cleaned; with the whole message where there are no tags. A body that is no such request gets 400.
Answer chatByRules(const Request& request);

/// Lets the chat of the outside service and of the backend answer so.
void serveChatByRules(TestServer& server);

} // namespace sonvale::tests
