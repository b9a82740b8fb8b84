#include "tests/unit/core/HandsFreeFixture.h"

#include <gtest/gtest.h>

#include <memory>

namespace sonvale::core {

namespace {

namespace keys = persistence::keys;
using hotkeys::HotkeyAction;
using Preference = transcription::TranscriptionEnginePreference;
using Texts = std::vector<std::string>;

/// Another engine, or local-only mode, chosen in the middle of a recording.
class EngineChange : public tests::HandsFreeFixture {
protected:
    EngineChange() { willHear({}); }

    void setLocalOnly(bool isOn) {
        settings().set(keys::localOnlyMode, isOn);
        state().setLocalOnlyMode(isOn);
        runtimeSupport().runUntilIdle();
    }
    void hold(double seconds) {
        press(HotkeyAction::pushToTalk);
        speak(seconds);
    }
    void letGo(double seconds = 1) {
        release(HotkeyAction::pushToTalk);
        advance(seconds);
    }
    /// A dictation of 24576 bytes, of which the service hears no more than that.
    void expectCleanNextDictation() {
        hold(0.512);
        release(HotkeyAction::pushToTalk);
        EXPECT_EQ(bytesHeard(), 24576U);
        answer("only this");
        advance(1);
        EXPECT_EQ(pastedTexts().back(), "only this");
    }
};

} // namespace

TEST_F(EngineChange, SendsNothingThatWasSaidInLocalOnlyMode) {
    recogniser().answerWith("from this machine");
    hold(1);
    const auto first = network().lastSocket();
    setLocalOnly(true);
    EXPECT_TRUE(first->isEnded());
    speak(2);
    letGo();
    EXPECT_EQ(pastedTexts(), Texts{"from this machine"});
    EXPECT_TRUE(network().requests().empty());
    setLocalOnly(false);
    expectCleanNextDictation();
}

TEST_F(EngineChange, SendsNothingMoreAfterTheLocalEngineWasChosen) {
    recogniser().answerWith("from this machine");
    hold(1);
    const auto first = network().lastSocket();
    prefer(Preference::local);
    runtimeSupport().runUntilIdle();
    EXPECT_TRUE(first->isEnded());
    speak(2);
    letGo();
    EXPECT_EQ(pastedTexts(), Texts{"from this machine"});
    prefer(Preference::hybrid);
    expectCleanNextDictation();
}

TEST_F(EngineChange, TakesTheTextFromTheFileWhenTheEngineIsChosenBack) {
    network().answerNext(200, "all of it");
    hold(1);
    prefer(Preference::local);
    speak(1);
    prefer(Preference::hybrid);
    letGo();
    EXPECT_EQ(pastedTexts(), Texts{"all of it"});
    expectCleanNextDictation();
}

TEST_F(EngineChange, ClosesTheSessionThatWasOpenedAhead) {
    completeOnboardingAndStart();
    const auto ahead = network().lastSocket();
    ASSERT_TRUE(ahead);
    ASSERT_FALSE(ahead->isEnded());
    prefer(Preference::streaming);
    EXPECT_FALSE(ahead->isEnded());
    prefer(Preference::cloud);
    EXPECT_TRUE(ahead->isEnded());
}

TEST_F(EngineChange, ForgetsTheAudioOfACancelledRecording) {
    network().holdHandshakes();
    hold(1);
    prefer(Preference::local);
    speak(1);
    press(HotkeyAction::cancel);
    release(HotkeyAction::pushToTalk);
    prefer(Preference::hybrid);
    hold(0.512);
    release(HotkeyAction::pushToTalk);
    socket().open();
    runtimeSupport().runUntilIdle();
    EXPECT_EQ(bytesHeard(), 24576U);
}

TEST_F(EngineChange, WipesABufferThatWasLeftOver) {
    // The capture thread was converting it when the recording was unbound.
    auto left = std::make_shared<platform::PcmBuffer>(platform::AudioFormat{48000, 1}, 48000);
    state().transcriptionManager->realtimeEngine->appendAudio(*left);
    hold(0.512);
    release(HotkeyAction::pushToTalk);
    EXPECT_EQ(bytesHeard(), 24576U);
    answer("only this");
    advance(1);
}

} // namespace sonvale::core
