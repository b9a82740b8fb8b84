#pragma once

#include "tests/unit/core/StreamingFixture.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sonvale::tests {

/// Hands-free dictations; the test acts as the service.
class HandsFreeFixture : public StreamingFixture {
protected:
    void tap() {
        press(hotkeys::HotkeyAction::handsFree);
        release(hotkeys::HotkeyAction::handsFree);
    }
    /// Speaks an utterance, and is silent for the pause that ends it.
    void utter(double seconds = 0.5, double pause = 2.2) {
        speak(seconds, 0.1F);
        speak(pause, 0.0F);
    }
    void start(std::vector<std::optional<std::string>> transcripts) {
        willHear(std::move(transcripts));
        tap();
        runtimeSupport().runUntilIdle();
    }
    void stop() {
        tap();
        advance(10);
    }
    bool isListening() {
        return state().isHandsFreeMode.get() &&
               state().recordingState.get() == platform::RecordingState::recording;
    }
    void expectAtRest() {
        EXPECT_FALSE(state().isHandsFreeMode.get());
        EXPECT_EQ(state().recordingState.get(), platform::RecordingState::idle);
        EXPECT_FALSE(state().audioRecorder->isRecording.get());
        EXPECT_EQ(state().audioRecorder->audioEngine(), nullptr);
        EXPECT_EQ(panel().shown(), std::nullopt);
        EXPECT_EQ(recordingsLeft(), 0U);
        EXPECT_EQ(state().voiceActivityDetector->onEndOfUtterance, nullptr);
        EXPECT_EQ(state().voiceActivityDetector->endOfUtteranceDelay, 1.5);
    }
};

} // namespace sonvale::tests
