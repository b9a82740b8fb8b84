#pragma once

#include "tests/e2e/Session.h"
#include "tests/support/TestServer.h"

#include <string>
#include <vector>

// The outside service as the program streams to it, with transcripts that a test chooses.

namespace sonvale::tests {

constexpr const char* serviceKey = "sk-of-this-test";
constexpr const char* chatPath = "/v1/chat/completions";

/// A user of the streaming engine whose program has the service's key; `isCleaned`: with clean-up by the
/// chat.
Session::Options streamingTo(const TestServer& server, bool isCleaned,
                             Editor::Program editor = Editor::Program::mousepad);

/// Each commit of the sockets to come is answered with the next of these, and then with an empty one.
void hear(TestServer& server, std::vector<std::string> transcripts);

/// How many there were on all sockets.
int commits(const TestServer& server);
bool comesToCommits(const TestServer& server, int count);

/// The messages of a chat request.
std::string systemPromptOf(const Request& request);
std::string userMessageOf(const Request& request);

} // namespace sonvale::tests
