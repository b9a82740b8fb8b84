#pragma once

#include "tests/support/TestServer.h"

namespace sonvale::tests {

// Answers in the full public form of the outside service and of the backend, including fields that this
// program does not read.

struct ChatDetails {
    std::string model = "gpt-4o-mini-2024-07-18";
    std::size_t promptTokens = 412;
};
Answer chatCompletion(const std::string& text, const ChatDetails& details = {});
/// Returns the approximate number of tokens that the service would count.
std::size_t roughTokens(const std::string& text);
/// Makes an event stream of chat completion chunks, one per piece, which ends with "[DONE]".
Answer chatStream(const std::vector<std::string>& pieces, double pieceSeconds = 0);
/// Makes the answer to a transcription with `response_format` "text".
Answer plainTranscript(const std::string& text);
/// Makes the short-lived token of the streaming socket in the newer form, which also contains
/// "client_secret".
Answer ephemeralToken(const std::string& value);
Answer nestedEphemeralToken(const std::string& value);
/// A session as sign-in, sign-up and refresh return it.
struct GivenSession {
    std::string email = {};
    std::string userIdentifier = "3f1c2a6e-6f0b-4c0e-9f5a-0c7d1b1f5a10";
    std::string accessToken = {};
    std::string refreshToken = {};
    double expiresInSeconds = 3600;
};
Answer authSession(const GivenSession& session);
/// Makes the same answer for a user of that address. The access token contains `expiresInSeconds`.
Answer authSession(const std::string& email, double expiresInSeconds = 3600);
/// Returns the claims of an access token.
base::Json accessClaims(const std::string& email, const std::string& userIdentifier, double expiresInSeconds);
/// Returns a JSON Web Token with this `exp` and no trusted signature.
std::string accessToken(const std::string& email, double expiresInSeconds);
/// Makes an error of the outside service.
Answer serviceError(int status, const std::string& message, const base::Json& code = nullptr);
/// Makes an error of the backend.
Answer backendError(int status, const std::string& message);
/// Makes an error of sign-in, sign-up and refresh, such as "invalid_credentials".
Answer authError(int status, const std::string& code, const std::string& message);

/// Makes the server answer every path of both services, and its sockets, with this text.
void serveEverything(TestServer& server, const std::string& text);

/// The same, but speech is transcribed, with `ofPcm` for the sockets and `ofAudioFile` for posted files, and
/// the chat cleans it by the rules of RuleBasedChat.h.
struct Listening {
    std::function<std::string(const std::string& pcm)> ofPcm;
    std::function<std::string(const std::string& audioFile)> ofAudioFile;
};
void serveEverything(TestServer& server, const Listening& listening);

} // namespace sonvale::tests
