#pragma once

#include "tests/e2e/Session.h"
#include "tests/support/TestServer.h"

#include <string>
#include <vector>

// The outside service that the program streams to, with transcripts that a test chooses.

namespace sonvale::tests {

constexpr const char* serviceKey = "sk-of-this-test";
constexpr const char* chatPath = "/v1/chat/completions";

/// Returns the options for a user of the streaming engine whose program has the service's key. `isCleaned`:
/// the chat cleans the texts.
Session::Options streamingTo(const TestServer& server, bool isCleaned,
                             Editor::Program editor = Editor::Program::mousepad);

/// Makes later sockets answer each commit with the next of these transcripts, and then with an empty one.
void hear(TestServer& server, std::vector<std::string> transcripts);

/// Returns the number of commits on all sockets.
int commits(const TestServer& server);
bool waitForCommits(const TestServer& server, int count);

/// Return the messages of a chat request.
std::string systemPromptOf(const Request& request);
std::string userMessageOf(const Request& request);

} // namespace sonvale::tests
