#pragma once

#include "base/Base64.h"
#include "base/Json.h"
#include "tests/unit/core/CoreFixture.h"

#include <algorithm>
#include <deque>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sonvale::tests {

/// Dictations with a realtime service and a key for it; the test acts as the service.
class StreamingFixture : public CoreFixture {
protected:
    StreamingFixture() {
        addresses.service = "https://service.example";
        addresses.key = "sk-own";
        settings().set(persistence::keys::aiProcessingEnabled, false);
        rebuildState();
    }

    FakeSocket& socket() { return *network().lastSocket(); }

    /// Sets the next transcripts of the service. It answers each later commit with one of them; nullopt is an
    /// error of the service. If none is left, a commit waits for `answer`.
    void willHear(std::vector<std::optional<std::string>> transcripts) {
        transcripts_.assign(transcripts.begin(), transcripts.end());
        network().onMessage([this](FakeSocket& from, const FakeSocket::Message& message) {
            if (message.bytes.find("input_audio_buffer.commit") == std::string::npos || transcripts_.empty())
                return;
            const auto transcript = std::move(transcripts_.front());
            transcripts_.pop_front();
            from.deliverText(transcript
                                 ? completed(*transcript)
                                 : base::jsonText({{"type", "error"}, {"error", {{"message", "down"}}}}));
        });
        // The hook applies to the sockets that are created from now on.
        state().transcriptionManager->cancelStream();
        runtimeSupport().runUntilIdle();
    }
    void answer(const std::string& text) {
        socket().deliverText(completed(text));
        runtimeSupport().runUntilIdle();
    }

    std::size_t countOf(const std::string& type) {
        const auto texts = socket().texts();
        return static_cast<std::size_t>(std::ranges::count_if(
            texts, [&](const std::string& text) { return base::Json::parse(text).at("type") == type; }));
    }
    std::size_t commits() {
        std::size_t count = 0;
        for (const auto& each : network().sockets()) {
            for (const auto& text : each->texts())
                count += base::Json::parse(text).at("type") == "input_audio_buffer.commit" ? 1 : 0;
        }
        return count;
    }
    std::size_t bytesHeard() { return bytesHeard(socket()); }
    static std::size_t bytesHeard(const FakeSocket& of) {
        std::size_t bytes = 0;
        for (const auto& text : of.texts()) {
            const auto frame = base::Json::parse(text);
            if (frame.at("type") == "input_audio_buffer.append")
                bytes += base::decodeBase64(frame.at("audio").get<std::string>()).value().size();
        }
        return bytes;
    }
    bool printed(const std::string& beginning) const {
        return std::ranges::any_of(
            perfLines, [&](const std::string& line) { return line.starts_with("[PERF] " + beginning); });
    }
    void prefer(transcription::TranscriptionEnginePreference preference) {
        state().transcriptionManager->preferredEngine = preference;
    }
    int undone() { return input().count(FakeSyntheticInput::Press::undo); }

    /// Turns the clean-up on. Each request is answered with one of these texts.
    void willClean(const std::vector<std::string>& answers) {
        settings().set(persistence::keys::aiProcessingEnabled, true);
        for (const auto& text : answers)
            network().answerNext(200, base::jsonText({{"choices", {{{"message", {{"content", text}}}}}}}));
    }

    static std::string completed(const std::string& text) {
        return base::jsonText(
            {{"type", "conversation.item.input_audio_transcription.completed"}, {"transcript", text}});
    }

private:
    std::deque<std::optional<std::string>> transcripts_;
};

} // namespace sonvale::tests
