#pragma once

#include "tests/support/TestServer.h"

#include <string>

// A stand-in for the support assistant: it knows a few words, and no language.

namespace sonvale::tests {

/// The answer to a question, by the first word in it that is known. Any bytes, any thread.
std::string supportWordsFor(const std::string& question);

/// Answers a request to the support chat with words for its last user message, streamed word by word; for a
/// body that is no such request, with what it says to any question.
Answer supportByRules(const Request& request);

} // namespace sonvale::tests
