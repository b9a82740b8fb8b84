#pragma once

#include "tests/support/TestServer.h"

namespace sonvale::tests {

// Answers in the full public shape of the outside service and of the backend, fields included that this
// program does not read.

struct ChatDetails {
    std::string model = "gpt-4o-mini-2024-07-18";
    std::size_t promptTokens = 412;
};
Answer chatCompletion(const std::string& text, const ChatDetails& details = {});
/// About as many tokens as the service would count.
std::size_t roughTokens(const std::string& text);
/// An event stream of chat completion chunks, one for each piece, ended by "[DONE]".
Answer chatStream(const std::vector<std::string>& pieces, double pieceSeconds = 0);
/// The body of a transcription with `response_format` "text".
Answer plainTranscript(const std::string& text);
/// The short-lived token of the streaming socket in the newer form, and with it inside "client_secret".
Answer ephemeralToken(const std::string& value);
Answer nestedEphemeralToken(const std::string& value);
/// A session as sign-in, sign-up and refresh hand it out.
struct GivenSession {
    std::string email = {};
    std::string userIdentifier = "3f1c2a6e-6f0b-4c0e-9f5a-0c7d1b1f5a10";
    std::string accessToken = {};
    std::string refreshToken = {};
    double expiresInSeconds = 3600;
};
Answer authSession(const GivenSession& session);
/// The same for a user of that address. `expiresInSeconds` is written into the access token.
Answer authSession(const std::string& email, double expiresInSeconds = 3600);
/// What an access token says.
base::Json accessClaims(const std::string& email, const std::string& userIdentifier, double expiresInSeconds);
/// A JSON Web Token with such an `exp`, signed by nobody whom anybody trusts.
std::string accessToken(const std::string& email, double expiresInSeconds);
/// An error of the outside service.
Answer serviceError(int status, const std::string& message, const base::Json& code = nullptr);
/// An error of the backend.
Answer backendError(int status, const std::string& message);
/// The same for sign-in, sign-up and refresh, such as "invalid_credentials".
Answer authError(int status, const std::string& code, const std::string& message);

/// Lets the server answer every path of both, and its sockets, with this text.
void serveEverything(TestServer& server, const std::string& text);

/// The same, but what is said is transcribed, `ofPcm` for the sockets, `ofAudioFile` for posted files, and
/// the chat cleans it by the rules of RuleBasedChat.h.
struct Listening {
    std::function<std::string(const std::string& pcm)> ofPcm;
    std::function<std::string(const std::string& audioFile)> ofAudioFile;
};
void serveEverything(TestServer& server, const Listening& listening);

} // namespace sonvale::tests
