#pragma once

#include "tests/support/TestServer.h"

namespace sonvale::tests {

// Answers in the full public shape of the outside service and of the backend, fields included that this
// program does not read.

Answer chatCompletion(const std::string& text);
/// An event stream of chat completion chunks, one for each piece, ended by "[DONE]".
Answer chatStream(const std::vector<std::string>& pieces, double pieceSeconds = 0);
/// The body of a transcription with `response_format` "text".
Answer plainTranscript(const std::string& text);
/// The short-lived token of the streaming socket in the newer form, and with it inside "client_secret".
Answer ephemeralToken(const std::string& value);
Answer nestedEphemeralToken(const std::string& value);
/// Sign-in, sign-up and refresh. `expiresInSeconds` is written into the access token.
Answer authSession(const std::string& email, double expiresInSeconds = 3600);
/// A JSON Web Token with such an `exp`; its signature is none.
std::string accessToken(const std::string& email, double expiresInSeconds);
/// An error of the outside service.
Answer serviceError(int status, const std::string& message, const base::Json& code = nullptr);
/// An error of the backend.
Answer backendError(int status, const std::string& message);

/// Lets the server answer every path of both, and its sockets, with this text.
void serveEverything(TestServer& server, const std::string& text);

/// The same, but what is said is transcribed: `ofPcm` for the sockets, `ofAudioFile` for posted files.
struct Listening {
    std::function<std::string(const std::string& pcm)> ofPcm;
    std::function<std::string(const std::string& audioFile)> ofAudioFile;
};
void serveEverything(TestServer& server, const Listening& listening);

} // namespace sonvale::tests
