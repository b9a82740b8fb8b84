#include "tests/support/ServiceAnswers.h"

#include "tests/support/RealtimeConversation.h"
#include "tests/support/RuleBasedChat.h"
#include "tests/support/RuleBasedSupport.h"
#include "tests/support/WebToken.h"

#include <ctime>
#include <stdexcept>

namespace sonvale::tests {

namespace {

using base::Json;

constexpr const char* fingerprint = "fp_560af6e559";

Answer json(const Json& body, int status = 200) {
    return {.status = status,
            .headers = {{"Content-Type", "application/json"},
                        {"X-Request-Id", serviceIdentifier("req")},
                        {"Openai-Version", "2020-10-01"},
                        {"Openai-Processing-Ms", "312"},
                        {"X-Ratelimit-Remaining-Requests", "9999"},
                        {"Strict-Transport-Security", "max-age=31536000; includeSubDomains; preload"},
                        {"Cf-Cache-Status", "DYNAMIC"}},
            .body = base::jsonText(body)};
}

/// Returns the file of a multipart form (RFC 7578).
std::string fileIn(const Request& request) {
    const auto type = request.header("Content-Type");
    const auto mark = type.find("boundary=");
    if (mark == std::string::npos)
        throw std::runtime_error("there is no boundary");
    const auto boundary = "--" + type.substr(mark + std::string_view("boundary=").size());
    const auto& body = request.body;
    const auto disposition = body.find("name=\"file\"");
    const auto start = body.find("\r\n\r\n", disposition);
    const auto end = body.find("\r\n" + boundary, start);
    if (disposition == std::string::npos || start == std::string::npos || end == std::string::npos)
        throw std::runtime_error("there is no file");
    return body.substr(start + 4, end - start - 4);
}

/// Returns the address of the sign-in, so that the answer names the same user.
std::string emailIn(const Request& request) {
    const auto body = base::parseJson(request.body);
    const auto email = body ? base::jsonString(*body, "email") : std::nullopt;
    return email.value_or("ada@example.com");
}

void serveAccountsAndSupport(TestServer& server) {
    for (const auto* const path : {"/auth/login", "/auth/signup", "/auth/refresh"})
        server.answerBy(path, [](const Request& request) { return authSession(emailIn(request)); });
    server.answerBy("/api/realtime/session",
                    [](const Request&) { return ephemeralToken(serviceIdentifier("ek")); });
    server.answerBy("/api/support-chat", supportByRules);
}

} // namespace

std::size_t roughTokens(const std::string& text) {
    return text.size() / 4 + 1;
}

Answer chatCompletion(const std::string& text, const ChatDetails& details) {
    const auto tokens = roughTokens(text);
    return json({{"id", serviceIdentifier("chatcmpl")},
                 {"object", "chat.completion"},
                 {"created", std::time(nullptr)},
                 {"model", details.model},
                 {"choices", Json::array({{{"index", 0},
                                           {"message",
                                            {{"role", "assistant"},
                                             {"content", text},
                                             {"refusal", nullptr},
                                             {"annotations", Json::array()}}},
                                           {"logprobs", nullptr},
                                           {"finish_reason", "stop"}}})},
                 {"usage",
                  {{"prompt_tokens", details.promptTokens},
                   {"completion_tokens", tokens},
                   {"total_tokens", details.promptTokens + tokens},
                   {"prompt_tokens_details", {{"cached_tokens", 0}, {"audio_tokens", 0}}},
                   {"completion_tokens_details",
                    {{"reasoning_tokens", 0},
                     {"audio_tokens", 0},
                     {"accepted_prediction_tokens", 0},
                     {"rejected_prediction_tokens", 0}}}}},
                 {"service_tier", "default"},
                 {"system_fingerprint", fingerprint}});
}

Answer chatStream(const std::vector<std::string>& pieces, double pieceSeconds) {
    const auto id = serviceIdentifier("chatcmpl");
    const auto event = [&](const Json& delta, const Json& finish) {
        return "data: " +
               base::jsonText({{"id", id},
                               {"object", "chat.completion.chunk"},
                               {"created", std::time(nullptr)},
                               {"model", ChatDetails{}.model},
                               {"service_tier", "default"},
                               {"system_fingerprint", fingerprint},
                               {"choices", Json::array({{{"index", 0},
                                                         {"delta", delta},
                                                         {"logprobs", nullptr},
                                                         {"finish_reason", finish}}})},
                               {"usage", nullptr},
                               {"obfuscation", "Zk3"}}) +
               "\n\n";
    };
    Answer answer{.headers = {{"Content-Type", "text/event-stream; charset=utf-8"},
                              {"Cache-Control", "no-cache"},
                              {"X-Request-Id", serviceIdentifier("req")}},
                  .pieceSeconds = pieceSeconds};
    answer.pieces.push_back(": keep-alive\n\n" +
                            event({{"role", "assistant"}, {"content", ""}, {"refusal", nullptr}}, nullptr));
    for (const auto& piece : pieces)
        answer.pieces.push_back(event({{"content", piece}}, nullptr));
    answer.pieces.push_back(event(Json::object(), "stop"));
    answer.pieces.push_back("data: [DONE]\n\n");
    return answer;
}

Answer plainTranscript(const std::string& text) {
    auto answer = json(nullptr);
    answer.headers.front() = {"Content-Type", "text/plain; charset=utf-8"};
    answer.body = text + "\n";
    return answer;
}

Answer ephemeralToken(const std::string& value) {
    return json(
        {{"value", value}, {"expires_at", std::time(nullptr) + 600}, {"session", transcriptionSession()}});
}

Answer nestedEphemeralToken(const std::string& value) {
    auto session = transcriptionSession();
    session["client_secret"] = {{"value", value}, {"expires_at", std::time(nullptr) + 60}};
    return json(session);
}

Json accessClaims(const std::string& email, const std::string& userIdentifier, double expiresInSeconds) {
    const auto now = std::time(nullptr);
    return {{"iss", "https://auth.example.com"},
            {"sub", userIdentifier},
            {"aud", "authenticated"},
            {"iat", now},
            {"exp", now + static_cast<std::time_t>(expiresInSeconds)},
            {"email", email},
            {"phone", ""},
            {"app_metadata", {{"provider", "email"}, {"providers", Json::array({"email"})}}},
            {"role", "authenticated"},
            {"session_id", "9a0f0d4e-51f2-4f0e-8f3e-4a8a2bd0a3b1"}};
}

std::string accessToken(const std::string& email, double expiresInSeconds) {
    return signedWebToken(accessClaims(email, GivenSession{}.userIdentifier, expiresInSeconds),
                          "a secret of nobody's");
}

Answer authSession(const GivenSession& session) {
    return json({{"access_token", session.accessToken},
                 {"token_type", "bearer"},
                 {"expires_in", session.expiresInSeconds},
                 {"expires_at", std::time(nullptr) + static_cast<std::time_t>(session.expiresInSeconds)},
                 {"refresh_token", session.refreshToken},
                 {"user",
                  {{"id", session.userIdentifier},
                   {"aud", "authenticated"},
                   {"role", "authenticated"},
                   {"email", session.email},
                   {"email_confirmed_at", "2025-01-10T09:12:33.120Z"},
                   {"phone", ""},
                   {"app_metadata", {{"provider", "email"}, {"providers", Json::array({"email"})}}},
                   {"user_metadata", {{"email_verified", true}}},
                   {"identities", Json::array()},
                   {"created_at", "2025-01-10T09:11:02.000Z"},
                   {"updated_at", "2025-01-10T09:12:33.120Z"},
                   {"is_anonymous", false}}}});
}

Answer authSession(const std::string& email, double expiresInSeconds) {
    return authSession({.email = email,
                        .accessToken = accessToken(email, expiresInSeconds),
                        .refreshToken = serviceIdentifier("rt"),
                        .expiresInSeconds = expiresInSeconds});
}

Answer serviceError(int status, const std::string& message, const Json& code) {
    return json({{"error",
                  {{"message", message},
                   {"type", status >= 500 ? "server_error" : "invalid_request_error"},
                   {"param", nullptr},
                   {"code", code}}}},
                status);
}

Answer backendError(int status, const std::string& message) {
    return json({{"error", message}, {"code", status}, {"request_id", serviceIdentifier("req")}}, status);
}

Answer authError(int status, const std::string& code, const std::string& message) {
    return json({{"code", status}, {"error_code", code}, {"msg", message}}, status);
}

void serveEverything(TestServer& server, const std::string& text) {
    serveAccountsAndSupport(server);
    for (const auto* const path : {"/v1/chat/completions", "/api/chat"})
        server.answerBy(path, [=](const Request&) { return chatCompletion(text); });
    for (const auto* const path : {"/v1/audio/transcriptions", "/api/transcribe"})
        server.answerBy(path, [=](const Request&) { return plainTranscript(text); });
    server.setRealtime({.transcript = text});
}

void serveEverything(TestServer& server, const Listening& listening) {
    serveAccountsAndSupport(server);
    serveChatByRules(server);
    for (const auto* const path : {"/v1/audio/transcriptions", "/api/transcribe"})
        server.answerBy(path, [ofAudioFile = listening.ofAudioFile](const Request& request) {
            return plainTranscript(ofAudioFile(fileIn(request)));
        });
    server.setRealtime({.transcriber = listening.ofPcm});
}

} // namespace sonvale::tests
