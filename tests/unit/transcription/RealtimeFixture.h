#pragma once

#include "base/Base64.h"
#include "tests/fakes/FakeSampleRateConverters.h"
#include "tests/fakes/FakeUrlSessions.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestRuntime.h"
#include "transcription/RealtimeTranscriptionEngine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::transcription {

/// A realtime engine with a service that the test controls, on the manual clock.
class RealtimeFixture : public testing::Test {
protected:
    static constexpr platform::AudioFormat format{24000, 1};

    RealtimeFixture() { makeEngine(); }

    /// Creates the engine. If `key` is absent, it works through the backend.
    void makeEngine(std::optional<std::string> key = "sk-own", std::optional<std::string> token = "sk-own") {
        services::ServiceAddresses addresses;
        addresses.backend = "https://backend.example/base";
        addresses.service = "https://service.example";
        addresses.appVersion = "2.5";
        addresses.key = std::move(key);
        engine_ = std::make_shared<RealtimeTranscriptionEngine>(RealtimeTranscriptionEngine::Parts{
            .pool = runtime_.pool(),
            .sending = runtime_.makeSerialActor("sending"),
            .clock = runtime_.clock(),
            .urlSessions = sessions_,
            .converters = converters_,
            .addresses = addresses,
            .tokenProvider = [this, token = std::move(token)] { return provide(this, token); },
            .language = [this] { return language_; },
        });
    }

    tests::FakeUrlSessions::Control& network() { return sessions_.control(); }
    tests::FakeSocket& socket() { return *network().lastSocket(); }
    runtime::ManualClock& clock() { return runtime_.clock(); }
    void run() { runtime_.runUntilIdle(); }

    void start() { runtime_.wait(engine_->startSession(format)); }

    /// Appends one buffer of so many bytes in the target format. Each sample is the next number.
    void append(std::size_t bytes) {
        platform::PcmBuffer buffer(format, bytes / 2);
        for (auto& sample : buffer.channel(0))
            sample = static_cast<float>(nextSample_++ % 30000) / 32767.0F;
        engine_->appendAudio(buffer);
    }

    std::vector<base::Json> frames(tests::FakeSocket& of) const {
        std::vector<base::Json> frames;
        for (const auto& text : of.texts())
            frames.push_back(base::Json::parse(text));
        return frames;
    }
    std::vector<std::string> types() {
        std::vector<std::string> types;
        for (const auto& each : frames(socket()))
            types.push_back(each.at("type"));
        return types;
    }
    /// Returns the audio of every append frame.
    std::vector<std::string> audioFrames(tests::FakeSocket& of) const {
        std::vector<std::string> audio;
        for (const auto& each : frames(of)) {
            if (each.at("type") == "input_audio_buffer.append")
                audio.push_back(base::decodeBase64(each.at("audio").get<std::string>()).value());
        }
        return audio;
    }
    std::vector<std::size_t> frameSizes() {
        std::vector<std::size_t> sizes;
        for (const auto& audio : audioFrames(socket()))
            sizes.push_back(audio.size());
        return sizes;
    }

    runtime::TaskHandle<std::string> finalize() {
        auto task = runtime::spawn(runtime_.main(), engine_->finalizeStreamingTranscription());
        run();
        return task;
    }
    void complete(const std::string& text) {
        const base::Json event = {{"type", "conversation.item.input_audio_transcription.completed"},
                                  {"transcript", text}};
        socket().deliverText(event.dump());
        run();
    }

    /// Returns the task's text or the text of its error; "waiting" while it has neither.
    static std::string outcome(const runtime::TaskHandle<std::string>& task) {
        if (!task.isDone())
            return "waiting";
        auto outcome = task.state()->outcome;
        try {
            return runtime::detail::take<std::string>(std::move(outcome));
        } catch (const TranscriptionError& error) {
            return error.errorDescription();
        } catch (const std::exception& error) {
            return error.what();
        }
    }
    template <class T>
    std::string errorOf(runtime::Task<T> task) {
        try {
            runtime_.wait(std::move(task));
            return "no error";
        } catch (const TranscriptionError& error) {
            return error.name();
        } catch (const std::exception& error) {
            return error.what();
        }
    }

    int countOf(const std::string& line) const {
        const auto lines = log_.lines();
        return static_cast<int>(std::ranges::count(lines, line, &base::LogLine::text));
    }
    bool logged(const std::string& line) const { return countOf(line) > 0; }
    bool printed(const std::string& line) const {
        const auto lines = log_.perf();
        return std::ranges::find(lines, "[PERF] " + line) != lines.end();
    }

    tests::LogCapture log_;
    tests::TestRuntime runtime_;
    tests::FakeUrlSessions sessions_;
    tests::FakeSampleRateConverters converters_;
    std::optional<std::string> language_;
    double tokenSeconds_ = 0; ///< seconds that the provider takes
    int tokensAsked_ = 0;
    std::shared_ptr<RealtimeTranscriptionEngine> engine_;

private:
    static runtime::Task<std::optional<std::string>> provide(RealtimeFixture* self,
                                                             std::optional<std::string> token) {
        ++self->tokensAsked_;
        if (self->tokenSeconds_ > 0)
            co_await runtime::sleep(self->runtime_.clock(), self->tokenSeconds_);
        co_return token;
    }

    int nextSample_ = 0;
};

} // namespace sonvale::transcription
