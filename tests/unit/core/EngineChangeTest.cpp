#include "tests/unit/core/HandsFreeFixture.h"

#include <gtest/gtest.h>

#include <memory>

namespace sonvale::core {

namespace {

namespace keys = persistence::keys;
using hotkeys::HotkeyAction;
using Preference = transcription::TranscriptionEnginePreference;
using Texts = std::vector<std::string>;

/// Another engine, or local-only mode, that is chosen during a recording.
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
    void releaseKey(double seconds = 1) {
        release(HotkeyAction::pushToTalk);
        advance(seconds);
    }
    /// Makes a dictation of 24576 bytes and checks that the service receives no more than these.
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

TEST_F(EngineChange, SendsNoSpeechOfLocalOnlyMode) {
    recognizer().answerWith("from this machine");
    hold(1);
    const auto first = network().lastSocket();
    setLocalOnly(true);
    EXPECT_TRUE(first->isEnded());
    speak(2);
    releaseKey();
    EXPECT_EQ(pastedTexts(), Texts{"from this machine"});
    EXPECT_TRUE(network().requests().empty());
    setLocalOnly(false);
    expectCleanNextDictation();
}

TEST_F(EngineChange, KeepsTheFileOfLocalOnlyModeOnThisMachineIfTheModeEndsBeforeTheKeyIsReleased) {
    recognizer().answerWith("from this machine");
    setLocalOnly(true);
    hold(1);
    setLocalOnly(false);
    ASSERT_TRUE(state().transcriptionManager->isStreamingPreferred());
    releaseKey();
    EXPECT_EQ(pastedTexts(), Texts{"from this machine"});
    EXPECT_TRUE(network().requests().empty());
    EXPECT_EQ(bytesHeard(), 0U) << "the open session is for the next dictation";
}

TEST_F(EngineChange, KeepsALostRecordingOfLocalOnlyModeOnThisMachine) {
    recognizer().answerWith("from this machine");
    setLocalOnly(true);
    hold(1);
    advance(601);
    setLocalOnly(false);
    releaseKey();
    EXPECT_EQ(state().lastTranscription.get(), "from this machine");
    EXPECT_TRUE(network().requests().empty());
}

TEST_F(EngineChange, SendsNoMoreAudioAfterTheLocalEngineWasChosen) {
    recognizer().answerWith("from this machine");
    hold(1);
    const auto first = network().lastSocket();
    prefer(Preference::local);
    runtimeSupport().runUntilIdle();
    EXPECT_TRUE(first->isEnded());
    speak(2);
    releaseKey();
    EXPECT_EQ(pastedTexts(), Texts{"from this machine"});
    prefer(Preference::hybrid);
    expectCleanNextDictation();
}

TEST_F(EngineChange, TranscribesTheFileIfTheEngineIsChangedBack) {
    network().answerNext(200, "all of it");
    hold(1);
    prefer(Preference::local);
    speak(1);
    prefer(Preference::hybrid);
    releaseKey();
    EXPECT_EQ(pastedTexts(), Texts{"all of it"});
    expectCleanNextDictation();
}

TEST_F(EngineChange, ClosesThePreWarmedSession) {
    completeOnboardingAndStart();
    const auto ahead = network().lastSocket();
    ASSERT_TRUE(ahead);
    ASSERT_FALSE(ahead->isEnded());
    prefer(Preference::streaming);
    EXPECT_FALSE(ahead->isEnded());
    prefer(Preference::cloud);
    EXPECT_TRUE(ahead->isEnded());
}

TEST_F(EngineChange, WipesTheAudioOfACancelledRecording) {
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

TEST_F(EngineChange, WipesALateBuffer) {
    hold(0.1);
    const auto consumer = state().audioRecorder->onBuffer();
    prefer(Preference::local);
    press(HotkeyAction::cancel);
    release(HotkeyAction::pushToTalk);
    // The capture thread was converting it when the recording was unbound.
    consumer(std::make_shared<platform::PcmBuffer>(platform::AudioFormat{48000, 1}, 48000));
    prefer(Preference::hybrid);
    hold(0.512);
    release(HotkeyAction::pushToTalk);
    EXPECT_EQ(bytesHeard(), 24576U);
    answer("only this");
    advance(1);
}

TEST_F(EngineChange, EndsHandsFreeModeAndKeepsItsSpeech) {
    recognizer().answerWith("from this machine");
    tap();
    ASSERT_TRUE(isListening());
    speak(0.5, 0.1F);
    setLocalOnly(true);
    speak(0.5, 0.1F);
    speak(2.2, 0.0F);
    advance(5);
    expectAtRest();
    EXPECT_EQ(state().errorMessage.get(), "Hands-free mode needs Streaming or Hybrid.");
    EXPECT_EQ(state().lastTranscription.get(), "from this machine");
    EXPECT_TRUE(network().requests().empty());
}

TEST_F(EngineChange, KeepsTheLastPieceOfALongForm) {
    recognizer().answerWith("all of it");
    willHear({"the first part"});
    hold(6);
    EXPECT_EQ(pastedTexts(), Texts{"the first part"});
    prefer(Preference::local);
    speak(3);
    releaseKey(3);
    EXPECT_EQ(pastedTexts(), Texts{"the first part"});
    EXPECT_EQ(state().lastTranscription.get(), "all of it");
    EXPECT_EQ(history().size(), 2U);
}

} // namespace sonvale::core
