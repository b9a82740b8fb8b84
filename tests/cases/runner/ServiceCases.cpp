#include "base/Base64.h"
#include "services/AuthAnswers.h"
#include "services/SupportMessages.h"
#include "tests/cases/runner/CaseInput.h"
#include "tests/fakes/FakeSampleRateConverters.h"
#include "tests/fakes/FakeUrlSessions.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestRuntime.h"
#include "textprocessing/ChatMessages.h"
#include "textprocessing/TextProcessingError.h"
#include "transcription/RealtimeMessages.h"
#include "transcription/RealtimeTranscriptionEngine.h"
#include "transcription/TranscriptionManager.h"
#include "transcription/WhisperCloudEngine.h"

namespace sonvale::tests {

using nlohmann::json;
using transcription::TranscriptionError;

namespace {

TranscriptionError errorNamed(const std::string& name) {
    for (auto error : {TranscriptionError::networkError({"NSURLErrorDomain", -1009, "offline"}),
                       TranscriptionError::apiError(500, "down"), TranscriptionError::noAudioFile(),
                       TranscriptionError::apiKeyMissing(), TranscriptionError::invalidResponse(),
                       TranscriptionError::engineUnavailable(), TranscriptionError::timeout(),
                       TranscriptionError::upgradeRequired()}) {
        if (error.name() == name)
            return error;
    }
    throw BadCase("unknown error " + name);
}

/// An engine that returns its own name, or fails.
class NamedEngine final : public transcription::TranscriptionEngine {
public:
    NamedEngine(std::string name, const std::string& behavior)
        : name_(std::move(name))
        , isAvailable_(behavior != "unavailable") {
        if (behavior != "ok" && behavior != "unavailable")
            error_ = errorNamed(behavior);
    }

    bool isAvailable() const override { return isAvailable_; }
    runtime::Task<std::string> transcribe(std::filesystem::path /*file*/,
                                          std::optional<std::string> /*language*/) override {
        if (error_)
            throw TranscriptionError(*error_);
        co_return name_;
    }

private:
    const std::string name_;
    const bool isAvailable_;
    std::optional<TranscriptionError> error_;
};

json batchRoute(const json& in) {
    TestRuntime runtime;
    const auto local = text(in, "local");
    transcription::TranscriptionManager manager(std::make_shared<NamedEngine>("cloud", text(in, "cloud")),
                                                nullptr);
    if (local != "absent")
        manager.localEngine = std::make_shared<NamedEngine>("local", local);
    manager.preferredEngine =
        known(transcription::preferenceFromRawValue(text(in, "preference")), "preference");
    try {
        return {{"result", runtime.wait(manager.transcribe("recording.m4a", std::nullopt))}};
    } catch (const TranscriptionError& error) {
        return {{"error", error.name()}};
    }
}

runtime::Task<std::string> waitFor(transcription::RealtimeTranscript* transcript) {
    std::function<void(runtime::Continuation<std::string>)> start =
        [transcript](runtime::Continuation<std::string> continuation) {
            transcript->installContinuation(std::move(continuation));
        };
    co_return co_await runtime::suspend<std::string>(std::move(start));
}

json realtimeEvents(const json& in) {
    using Effect = transcription::RealtimeTranscript::Effect;
    const LogCapture log;
    TestRuntime runtime;
    transcription::RealtimeTranscript transcript(runtime.clock());
    const auto waiting = runtime::spawn(runtime.main(), waitFor(&transcript));
    runtime.runUntilIdle();

    int extra = 0;
    for (const auto& frame : array(in, "frames")) {
        if (!frame.is_string())
            throw BadCase("a frame is no string");
        if (transcript.handleMessage({platform::WebSocketMessage::Kind::text, frame.get<std::string>()}) ==
            Effect::unawaited)
            ++extra;
        runtime.runUntilIdle();
    }

    json outcome;
    if (waiting.isDone()) {
        auto result = waiting.state()->outcome;
        try {
            outcome = {{"text", runtime::detail::take<std::string>(std::move(result))}};
        } catch (const std::exception& error) {
            outcome = {{"error", error.what()}};
        }
    } else {
        transcript.resolveContinuation(std::string());
        runtime.runUntilIdle();
    }
    return {{"outcome", outcome}, {"extra", extra}};
}

runtime::Task<std::optional<std::string>> key() {
    co_return "key";
}

/// Returns the sizes of the audio frames that the last session has sent, in bytes of audio.
std::vector<std::size_t> frameSizes(FakeUrlSessions& sessions) {
    std::vector<std::size_t> sizes;
    for (const auto& message : sessions.control().lastSocket()->texts()) {
        const auto frame = json::parse(message);
        if (frame.at("type") == "input_audio_buffer.append")
            sizes.push_back(base::decodeBase64(frame.at("audio").get<std::string>()).value().size());
    }
    return sizes;
}

json preHandshake(const json& in) {
    const LogCapture log;
    TestRuntime runtime;
    FakeUrlSessions sessions;
    FakeSampleRateConverters converters;
    services::ServiceAddresses addresses;
    addresses.key = "key";
    const auto engine = std::make_shared<transcription::RealtimeTranscriptionEngine>(
        transcription::RealtimeTranscriptionEngine::Parts{
            .pool = runtime.pool(),
            .sending = runtime.makeSerialActor("sending"),
            .clock = runtime.clock(),
            .urlSessions = sessions,
            .converters = converters,
            .addresses = addresses,
            .tokenProvider = key,
            .language = [] { return std::nullopt; },
        });
    constexpr platform::AudioFormat format{24000, 1};
    const auto append = [&](std::int64_t bytes) {
        if (bytes < 0 || bytes % 2 != 0)
            throw BadCase("audio comes in samples of two bytes");
        engine->appendAudio(platform::PcmBuffer(format, static_cast<std::size_t>(bytes / 2)));
    };
    append(integer(in, "bytes"));
    runtime.wait(engine->startSession(format));
    for (const auto& size : array(in, "later"))
        append(size.get<std::int64_t>());
    runtime.runUntilIdle();
    const auto sent = frameSizes(sessions);

    // The retained audio is sent at the end of the utterance.
    const auto end = runtime::spawn(runtime.main(), engine->finalizeStreamingTranscription());
    runtime.runUntilIdle();
    const auto all = frameSizes(sessions);
    engine->cancelSession();
    runtime.runUntilIdle();
    return {{"frames", sent}, {"left", all.size() > sent.size() ? all.back() : 0}};
}

json ephemeralToken(const json& in) {
    const LogCapture log;
    try {
        return {{"token", transcription::ephemeralTokenFrom(
                              {static_cast<int>(integer(in, "status")), {}, text(in, "body")})}};
    } catch (const TranscriptionError& error) {
        return {{"error", error.name()}};
    }
}

json cloudResponse(const json& in) {
    try {
        return {{"text", transcription::transcriptFrom(
                             {static_cast<int>(integer(in, "status")), {}, text(in, "body")})}};
    } catch (const TranscriptionError& error) {
        return {{"error", error.errorDescription()}};
    }
}

json multipart(const json& in) {
    const auto body = transcription::multipartBody(text(in, "boundary"), textOrNull(in, "language"),
                                                   text(in, "filename"), text(in, "content"));
    return std::string(reinterpret_cast<const char*>(body.data()), body.size());
}

json chatResponse(const json& in) {
    using textprocessing::TextProcessingError;
    try {
        const auto answer =
            textprocessing::chatAnswerFrom({static_cast<int>(integer(in, "status")), {}, text(in, "body")});
        return {{"text", answer.content},
                {"promptTokens", answer.promptTokens},
                {"completionTokens", answer.completionTokens}};
    } catch (const TextProcessingError& error) {
        if (error.errorCase() == TextProcessingError::Case::networkError)
            return {{"error", "networkError"}};
        return {{"error", error.errorDescription()}};
    }
}

} // namespace

void addServiceCases(CaseRegistry& registry) {
    registry["supportStream"] = [](const json& in) {
        services::SupportStream stream;
        std::string answer;
        for (const auto& line : array(in, "lines")) {
            if (!line.is_string())
                throw BadCase("a line is no string");
            answer += stream.take(line.get<std::string>()).text;
        }
        return json{{"text", answer}, {"ended", stream.isEnded()}};
    };
    registry["supportBody"] = [](const json& in) {
        std::vector<services::SupportMessage> messages;
        for (const auto& message : array(in, "messages"))
            messages.push_back({text(message, "role"), text(message, "content")});
        return services::supportBody(messages);
    };
    registry["baseURL"] = [](const json& in) {
        return services::usableBackendURL(field(in, "value")).value_or("default");
    };
    registry["sessionUpdate"] = [](const json& in) {
        return transcription::sessionUpdate(textOrNull(in, "language"));
    };
    registry["batchRoute"] = batchRoute;
    registry["realtimeEvents"] = realtimeEvents;
    registry["preHandshake"] = preHandshake;
    registry["ephemeralToken"] = ephemeralToken;
    registry["cloudResponse"] = cloudResponse;
    registry["multipart"] = multipart;
    registry["chatBody"] = [](const json& in) {
        return textprocessing::chatBody(text(in, "systemPrompt"), text(in, "userMessage"),
                                        integer(in, "maxTokens"), number(in, "temperature"));
    };
    registry["chatResponse"] = chatResponse;
    registry["tokenExpired"] = [](const json& in) {
        return services::isTokenExpired(text(in, "token"), number(in, "now"));
    };
    registry["authErrorText"] = [](const json& in) {
        return services::authErrorText(static_cast<int>(integer(in, "status")), text(in, "body"));
    };
}

} // namespace sonvale::tests
