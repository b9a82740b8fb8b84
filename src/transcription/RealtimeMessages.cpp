#include "transcription/RealtimeMessages.h"

#include "audio/PCMResampler.h"
#include "base/Base64.h"
#include "base/Log.h"
#include "transcription/TranscriptionError.h"

#include <utility>

namespace sonvale::transcription {

using platform::WebSocketMessage;

namespace {

WebSocketMessage frame(const base::Json& object) {
    return {WebSocketMessage::Kind::text, base::jsonText(object)};
}

} // namespace

base::Json sessionUpdate(const std::optional<std::string>& language) {
    base::Json transcription = {{"model", "gpt-4o-mini-transcribe"}};
    if (language && *language != "auto")
        transcription["language"] = *language;
    constexpr auto sampleRate = static_cast<int>(audio::PCMResampler::targetSampleRate);
    const base::Json input = {
        {"format", {{"type", "audio/pcm"}, {"rate", sampleRate}}},
        {"noise_reduction", {{"type", "near_field"}}},
        {"transcription", std::move(transcription)},
        {"turn_detection", nullptr},
    };
    return {{"type", "session.update"},
            {"session", {{"type", "transcription"}, {"audio", {{"input", input}}}}}};
}

std::string ephemeralTokenFrom(const platform::UrlResponse& response) {
    static const base::Logger logger("RealtimeSTT");
    if (!response.statusCode) {
        logger.error("RealtimeSTT: Ephemeral token request returned non-HTTP response");
        throw TranscriptionError::invalidResponse();
    }
    const int status = *response.statusCode;
    if (status == 426) {
        logger.error("RealtimeSTT: App version too old, upgrade required");
        throw TranscriptionError::upgradeRequired();
    }
    if (status < 200 || status > 299) {
        logger.error("RealtimeSTT: Ephemeral token request failed (HTTP {})", status);
        throw TranscriptionError::apiKeyMissing();
    }
    const auto body = base::parseJson(response.body);
    if (!body || !body->is_object()) {
        logger.error("RealtimeSTT: Ephemeral token response is not valid JSON");
        throw TranscriptionError::invalidResponse();
    }
    auto token = base::jsonString(*body, "value");
    if (!token || token->empty()) {
        const auto* secret = base::jsonMember(*body, "client_secret");
        token = secret ? base::jsonString(*secret, "value") : std::nullopt;
    }
    if (!token || token->empty()) {
        logger.error("RealtimeSTT: Ephemeral token response missing token value");
        throw TranscriptionError::invalidResponse();
    }
    return *token;
}

WebSocketMessage sessionUpdateFrame(const std::optional<std::string>& language) {
    return frame(sessionUpdate(language));
}

WebSocketMessage audioFrame(std::string_view pcm) {
    return frame({{"type", "input_audio_buffer.append"}, {"audio", base::encodeBase64(pcm)}});
}

WebSocketMessage commitFrame() {
    return frame({{"type", "input_audio_buffer.commit"}});
}

} // namespace sonvale::transcription
