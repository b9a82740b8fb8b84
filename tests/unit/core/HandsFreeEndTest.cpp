#include "tests/unit/core/HandsFreeFixture.h"

#include <gtest/gtest.h>

namespace sonvale::core {

namespace {

using hotkeys::HotkeyAction;
using platform::UrlError;
using Texts = std::vector<std::string>;

using HandsFreeEnd = tests::HandsFreeFixture;

} // namespace

TEST_F(HandsFreeEnd, TypesTheUtteranceIfTheModeIsStartedAgainWhileItIsTranscribed) {
    start({});
    utter();
    ASSERT_EQ(commits(), 1U);
    tap();
    tap();
    answer("the utterance");
    advance(1);
    answer("the rest");
    advance(2);
    EXPECT_EQ(pastedTexts(), (Texts{"the utterance", " the rest"}));
    EXPECT_EQ(history().size(), 2U);
    if (state().isHandsFreeMode.get())
        tap();
    advance(5);
    expectAtRest();
}

TEST_F(HandsFreeEnd, TypesTheUtteranceIfTheModeIsLeftStartedAndLeftWhileItIsTranscribed) {
    start({});
    utter();
    ASSERT_EQ(commits(), 1U);
    willClean({"The utterance, the rest."});
    tap();
    tap();
    tap();
    answer("the utterance");
    advance(1);
    answer("the rest");
    advance(5);
    expectAtRest();
    EXPECT_EQ(pastedTexts(), (Texts{"the utterance", " the rest", "The utterance, the rest."}));
    EXPECT_EQ(undone(), 2) << "one end cleans up, once";
    EXPECT_EQ(commits(), 2U);
}

TEST_F(HandsFreeEnd, KeepsTheLastUtteranceIfTheModeIsStartedAndLeftWhileItIsTranscribed) {
    start({});
    speak(0.5);
    tap();
    ASSERT_EQ(state().recordingState.get(), RecordingState::processing);
    tap();
    tap();
    answer("the utterance");
    advance(5);
    expectAtRest();
    EXPECT_EQ(pastedTexts(), Texts{"the utterance"});
}

TEST_F(HandsFreeEnd, CleansUpOnceIfAFailureAndATapEndItTogether) {
    start({"um first words", std::nullopt});
    utter();
    const auto subscription = state().errorMessage.subscribe([this](const auto& message) {
        // A tap that was waiting while the failure was handled.
        if (message)
            runtime::spawn(runtimeSupport().main(),
                           state().handleHotkey(HotkeyAction::handsFree, hotkeys::HotkeyEventType::down));
    });
    network().failHandshakes(UrlError(UrlError::Code::cannotConnectToHost, "nobody there"));
    network().answerNext(200, "lost words");
    willClean({"First words.", "First words."}); // one more than needed
    utter();
    advance(10);
    expectAtRest();
    EXPECT_EQ(undone(), 1);
    EXPECT_EQ(pastedTexts(), (Texts{"um first words", "First words."}));
}

TEST_F(HandsFreeEnd, EndsIfTheRecorderDoesNotStart) {
    microphone().setFormat({0, 0});
    start({});
    advance(1);
    expectAtRest();
    EXPECT_EQ(state().errorMessage.get(), "Failed to start recording: No audio input device is available. "
                                          "Please connect a microphone and try again.");
    // The next key works as usual.
    microphone().setFormat({48000, 1});
    willHear({"words"});
    press(HotkeyAction::pushToTalk);
    speak(0.5);
    release(HotkeyAction::pushToTalk);
    advance(2);
    EXPECT_EQ(pastedTexts(), Texts{"words"});
}

TEST_F(HandsFreeEnd, EndsAtOnceIfTheMicrophoneDisappearsDuringARecording) {
    start({"um first words", "second words", ""});
    utter();
    utter();
    willClean({"First words, second words."});
    microphone().unplug();
    advance(3);
    expectAtRest();
    EXPECT_EQ(state().errorMessage.get(), "Failed to start recording: No audio input device is available. "
                                          "Please connect a microphone and try again.");
    EXPECT_EQ(undone(), 2) << "the clean-up happens while the user is still in the application";
    EXPECT_EQ(pastedTexts().back(), "First words, second words.");

    const auto typed = pastedTexts().size();
    press(HotkeyAction::pushToTalk);
    release(HotkeyAction::pushToTalk);
    advance(5);
    EXPECT_EQ(undone(), 2);
    EXPECT_EQ(pastedTexts().size(), typed);
}

TEST_F(HandsFreeEnd, KeepsTheTextOfAnotherDictationThatIsBeingTranscribed) {
    willHear({});
    network().answerNext(200, "words");
    press(HotkeyAction::pushToTalk);
    speak(0.5);
    release(HotkeyAction::pushToTalk);
    tap();
    tap();
    advance(5);
    expectAtRest();
    ASSERT_EQ(history().size(), 1U);
    EXPECT_EQ(history().front().rawText, "words");
    EXPECT_EQ(state().lastTranscription.get(), "words");
}

TEST_F(HandsFreeEnd, KeepsTheFileOfAnotherDictationThatIsBeingTranscribed) {
    prefer(transcription::TranscriptionEnginePreference::local);
    recognizer().hold();
    press(HotkeyAction::pushToTalk);
    speak(0.5);
    release(HotkeyAction::pushToTalk);
    tap();
    tap();
    advance(1);
    EXPECT_EQ(recordingsLeft(), 1U) << "the recognizer still reads it";
    recognizer().answer("words");
    advance(2);
    EXPECT_EQ(pastedTexts(), Texts{"words"});
    EXPECT_EQ(recognizer().startedCount(), 1);
    EXPECT_EQ(recordingsLeft(), 0U);
}

} // namespace sonvale::core
