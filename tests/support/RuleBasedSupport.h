#pragma once

#include "tests/support/TestServer.h"

#include <string>

// A replacement for the support assistant: it knows a few words, and no language.

namespace sonvale::tests {

/// Returns the answer to a question, by the first known word in it. Any bytes, any thread.
std::string supportWordsFor(const std::string& question);

/// Answers a request to the support chat with an answer to its last user message, streamed word by word. For
/// an invalid body it gives the answer to any question.
Answer supportByRules(const Request& request);

} // namespace sonvale::tests
