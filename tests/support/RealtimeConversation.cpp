#include "tests/support/RealtimeConversation.h"

#include "base/Base64.h"

#include <fmt/format.h>

#include <atomic>
#include <ctime>

namespace sonvale::tests {

namespace {

using base::Json;

constexpr std::size_t bytesPerSecond = 48000;
constexpr std::size_t shortestCommit = bytesPerSecond / 10;
constexpr std::size_t audioTokensPerSecond = 10;

/// Splits a text as the service streams it: each word with the blank before it.
std::vector<std::string> words(const std::string& text) {
    std::vector<std::string> result;
    for (std::size_t start = 0; start < text.size();) {
        const auto blank = text.find(' ', start + 1);
        result.push_back(text.substr(start, blank - start));
        start = blank == std::string::npos ? text.size() : blank;
    }
    return result;
}

Json logProbabilities(const std::vector<std::string>& tokens) {
    auto result = Json::array();
    for (const auto& token : tokens) {
        auto bytes = Json::array();
        for (const unsigned char byte : token)
            bytes.push_back(byte);
        result.push_back({{"token", token}, {"logprob", -0.0125}, {"bytes", std::move(bytes)}});
    }
    return result;
}

Json conversationItem(const std::string& id) {
    return {
        {"id", id},          {"object", "realtime.item"},
        {"type", "message"}, {"status", "completed"},
        {"role", "user"},    {"content", Json::array({{{"type", "input_audio"}, {"transcript", nullptr}}})}};
}

Json rateLimits() {
    return {{"type", "rate_limits.updated"},
            {"rate_limits",
             Json::array(
                 {{{"name", "requests"}, {"limit", 5000}, {"remaining", 4999}, {"reset_seconds", 0.012}},
                  {{"name", "tokens"}, {"limit", 400000}, {"remaining", 399728}, {"reset_seconds", 0.04}}})}};
}

} // namespace

std::string serviceIdentifier(const std::string& kind) {
    static std::atomic<unsigned> last = 0;
    return fmt::format("{}_CQ{:020X}", kind, (std::uint64_t{0x9E3779B97F4A7C15} * ++last));
}

Json transcriptionSession() {
    return {{"id", serviceIdentifier("sess")},
            {"object", "realtime.transcription_session"},
            {"type", "transcription"},
            {"expires_at", std::time(nullptr) + 1800},
            {"include", nullptr},
            {"audio",
             {{"input",
               {{"format", {{"type", "audio/pcm"}, {"rate", 24000}}},
                {"transcription", nullptr},
                {"noise_reduction", nullptr},
                {"turn_detection",
                 {{"type", "server_vad"},
                  {"threshold", 0.5},
                  {"prefix_padding_ms", 300},
                  {"silence_duration_ms", 200},
                  {"idle_timeout_ms", nullptr}}}}}}}};
}

RealtimeConversation::RealtimeConversation(Realtime script)
    : script_(std::move(script))
    , session_(transcriptionSession()) {}

std::vector<SocketAction> RealtimeConversation::opened() {
    Actions actions;
    if (!script_.isEcho)
        actions.push_back(event({{"type", "session.created"}, {"session", session_}}));
    for (const auto& frame : script_.framesAtOpen)
        actions.push_back({.bytes = frame.bytes, .isBinary = frame.isBinary});
    return actions;
}

RealtimeConversation::Reaction RealtimeConversation::received(const std::string& bytes, bool isBinary) {
    if (script_.isEcho)
        return {.actions = {{.bytes = bytes, .isBinary = isBinary}}};

    const auto json = base::parseJson(bytes);
    const auto type = json ? base::jsonString(*json, "type") : std::nullopt;
    if (!type)
        return {.actions = {error(
                    {.message = "Could not parse the event as JSON with a 'type'.", .code = "invalid_event"},
                    json ? *json : Json())}};
    if (*type == "input_audio_buffer.append")
        return {.actions = appended(*json), .isAppend = true};
    if (*type == "input_audio_buffer.commit")
        return {.actions = committed(*json), .isCommit = true};
    if (*type == "session.update")
        return {.actions = updated(*json)};
    if (*type == "input_audio_buffer.clear") {
        samples_.clear();
        return {.actions = {event({{"type", "input_audio_buffer.cleared"}})}};
    }
    return {.actions = {error({.message = "Invalid value: '" + *type + "'.", .code = "invalid_value"}, *json,
                              "type")}};
}

std::vector<SocketAction> RealtimeConversation::updated(const Json& event) {
    const auto* const session = base::jsonMember(event, "session");
    if (!session || base::jsonString(*session, "type") != "transcription")
        return {error({.message = "Passing a transcription session update requires 'transcription' as type.",
                       .code = "invalid_session_type"},
                      event, "session.type")};
    const auto* const audio = base::jsonMember(*session, "audio");
    if (const auto* const input = audio ? base::jsonMember(*audio, "input") : nullptr;
        input && input->is_object())
        session_["audio"]["input"].update(*input);
    return {this->event({{"type", "session.updated"}, {"session", session_}})};
}

std::vector<SocketAction> RealtimeConversation::appended(const Json& event) {
    const auto samples = base::decodeBase64(base::jsonString(event, "audio").value_or("?"));
    if (!samples)
        return {
            error({.message = "Invalid 'audio'. Expected base64-encoded audio bytes (mono PCM16 at 24kHz) "
                              "but got an invalid value.",
                   .code = "invalid_value"},
                  event, "audio")};
    samples_ += *samples;
    if (++appends_ == script_.dropsAfterAppends)
        return {end()};
    return {};
}

std::vector<SocketAction> RealtimeConversation::committed(const Json& event) {
    Actions actions;
    for (const auto& frame : script_.framesAtCommit)
        actions.push_back({.bytes = frame.bytes, .isBinary = frame.isBinary});
    if (script_.closesAtCommit) {
        actions.push_back(end());
        return actions;
    }
    if (script_.refusesShortAudio && samples_.size() < shortestCommit) {
        const auto message = fmt::format("Error committing input audio buffer: buffer too small. Expected at "
                                         "least 100ms of audio, but buffer only has {:.2f}ms of audio.",
                                         1000.0 * static_cast<double>(samples_.size()) / bytesPerSecond);
        actions.push_back(error({.message = message, .code = "input_audio_buffer_commit_empty"}, event));
        return actions;
    }

    const auto item = serviceIdentifier("item");
    const auto previous = std::exchange(lastItem_, item);
    const auto samples = std::exchange(samples_, {});
    actions.push_back(this->event(
        {{"type", "input_audio_buffer.committed"}, {"previous_item_id", previous}, {"item_id", item}}));
    for (const auto* const type :
         {"conversation.item.added", "conversation.item.created", "conversation.item.done"})
        actions.push_back(
            this->event({{"type", type}, {"previous_item_id", previous}, {"item", conversationItem(item)}}));

    if (script_.isSilent)
        return actions;
    if (script_.error) {
        auto failure = error(*script_.error, event);
        failure.delaySeconds = script_.transcriptSeconds;
        actions.push_back(std::move(failure));
    } else if (script_.transcriber) {
        waiting_.push_back({.item = item, .bytes = samples.size()});
        actions.push_back({.kind = SocketAction::Kind::transcribe, .bytes = samples});
    } else {
        auto answer = answered(item, script_.transcript, samples.size());
        std::ranges::move(answer, std::back_inserter(actions));
    }
    return actions;
}

std::vector<SocketAction> RealtimeConversation::transcribed(const std::optional<std::string>& text) {
    const auto commit = std::move(waiting_.front());
    waiting_.pop_front();
    if (text)
        return answered(commit.item, *text, commit.bytes);
    return {event({{"type", "conversation.item.input_audio_transcription.failed"},
                   {"item_id", commit.item},
                   {"content_index", 0},
                   {"error",
                    {{"type", "transcription_error"},
                     {"code", "audio_unintelligible"},
                     {"message", "The audio could not be transcribed."},
                     {"param", nullptr}}}})};
}

std::vector<SocketAction> RealtimeConversation::answered(const std::string& item,
                                                         const std::string& transcript, std::size_t bytes) {
    Actions actions;
    const auto tokens = words(transcript);
    const auto delay = script_.transcriptSeconds;
    if (script_.sendsDeltas)
        for (const auto& token : tokens)
            actions.push_back(event({{"type", "conversation.item.input_audio_transcription.delta"},
                                     {"item_id", item},
                                     {"content_index", 0},
                                     {"delta", token},
                                     {"logprobs", logProbabilities({token})},
                                     {"obfuscation", "x7Qp2"}},
                                    delay));
    const auto audioTokens = bytes * audioTokensPerSecond / bytesPerSecond;
    actions.push_back(event({{"type", "conversation.item.input_audio_transcription.completed"},
                             {"item_id", item},
                             {"content_index", 0},
                             {"transcript", transcript},
                             {"logprobs", logProbabilities(tokens)},
                             {"usage",
                              {{"type", "tokens"},
                               {"total_tokens", audioTokens + tokens.size()},
                               {"input_tokens", audioTokens},
                               {"input_token_details", {{"text_tokens", 0}, {"audio_tokens", audioTokens}}},
                               {"output_tokens", tokens.size()}}}},
                            delay));
    actions.push_back(event(rateLimits(), delay));
    return actions;
}

SocketAction RealtimeConversation::event(Json body, double delaySeconds) {
    body["event_id"] = serviceIdentifier("event");
    return {.bytes = base::jsonText(body), .delaySeconds = delaySeconds};
}

SocketAction RealtimeConversation::error(const Realtime::Error& error, const Json& cause,
                                         const char* parameter) {
    const auto causeIdentifier = base::jsonString(cause, "event_id");
    return event({{"type", "error"},
                  {"error",
                   {{"type", error.type},
                    {"code", error.code},
                    {"message", error.message},
                    {"param", parameter ? Json(parameter) : Json()},
                    {"event_id", causeIdentifier ? Json(*causeIdentifier) : Json()}}}});
}

SocketAction RealtimeConversation::end() const {
    if (script_.ending == Realtime::Ending::reset)
        return {.kind = SocketAction::Kind::reset};
    return {.kind = SocketAction::Kind::close, .closeCode = script_.closeCode};
}

} // namespace sonvale::tests
