#include "tests/unit/core/HandsFreeFixture.h"

#include <gtest/gtest.h>

namespace sonvale::core {

namespace {

namespace keys = persistence::keys;
using hotkeys::HotkeyAction;
using platform::UrlError;
using Preference = transcription::TranscriptionEnginePreference;
using Texts = std::vector<std::string>;

/// Speech that can no longer be typed.
class LostSpeechTest : public tests::HandsFreeFixture {
protected:
    void hold(double seconds) {
        press(HotkeyAction::pushToTalk);
        speak(seconds);
    }
    void releaseKey(double seconds = 3) {
        release(HotkeyAction::pushToTalk);
        advance(seconds);
    }
    Texts historyTexts() {
        Texts texts;
        for (const auto& row : history())
            texts.push_back(row.rawText);
        return texts;
    }
    std::size_t filesSent() {
        std::size_t count = 0;
        for (const auto& request : network().requests())
            count += request->url.ends_with("/audio/transcriptions") ? 1 : 0;
        return count;
    }
    std::shared_ptr<tests::FakeRequest> upload() { return network().lastRequest(); }
};

} // namespace

TEST_F(LostSpeechTest, KeepsAnUtteranceWhoseWaitAnOlderTimerEnded) {
    network().answerNext(200, "second words");
    start({"first words"});
    utter();
    EXPECT_EQ(pastedTexts(), Texts{"first words"});
    advance(5.1);
    utter(); // committed 8 s after the first
    ASSERT_EQ(commits(), 2U);
    const auto asked = network().lastSocket();
    advance(2.2);
    EXPECT_TRUE(asked->isEnded()) << "the timer of the first utterance has ended the wait of the second";
    EXPECT_EQ(pastedTexts(), Texts{"first words"}) << "the user may be in another application by now";
    EXPECT_EQ(historyTexts(), (Texts{"first words", "second words"}));
    EXPECT_EQ(state().lastTranscription.get(), "second words");
    EXPECT_EQ(state().errorMessage.get(), std::nullopt);
    EXPECT_TRUE(isListening());
    EXPECT_EQ(filesSent(), 1U);
    EXPECT_EQ(recordingsLeft(), 1U) << "only the file that is being written";

    tap();
    answer("");
    advance(5);
    expectAtRest();
    EXPECT_EQ(state().lastTranscription.get(), "second words")
        << "the other words are in the document; these are not";
    EXPECT_EQ(state().currentTranscription.get(), "first words");
}

TEST_F(LostSpeechTest, DoesNotDelayTheNextUtterance) {
    network().hangNext();
    start({std::nullopt, "second words", ""});
    utter();
    ASSERT_EQ(filesSent(), 1U);
    EXPECT_TRUE(isListening());
    utter();
    EXPECT_EQ(pastedTexts(), Texts{"second words"});
    EXPECT_EQ(recordingsLeft(), 2U) << "one is being written, one is being sent";
    upload()->answer(200, "first words");
    runtimeSupport().runUntilIdle();
    EXPECT_EQ(recordingsLeft(), 1U);
    EXPECT_EQ(historyTexts(), (Texts{"second words", "first words"}));
    stop();
    expectAtRest();
    EXPECT_EQ(state().lastTranscription.get(), "first words");
}

TEST_F(LostSpeechTest, KeepsTheLastUtteranceOfARun) {
    network().answerNext(200, "last words");
    start({"first words", std::nullopt});
    utter();
    speak(0.5, 0.1F);
    stop();
    expectAtRest();
    EXPECT_EQ(historyTexts(), (Texts{"first words", "last words"}));
    EXPECT_EQ(state().lastTranscription.get(), "last words");
    EXPECT_EQ(pastedTexts(), Texts{"first words"});
}

TEST_F(LostSpeechTest, KeepsSeveralUtterancesInTheirOrder) {
    network().hangNext();
    network().answerNext(200, "second words");
    start({std::nullopt, std::nullopt, ""});
    utter();
    utter();
    ASSERT_EQ(filesSent(), 1U) << "one after the other";
    upload()->answer(200, "first words");
    advance(1);
    EXPECT_EQ(historyTexts(), (Texts{"first words", "second words"}));
    EXPECT_EQ(state().lastTranscription.get(), "first words second words");
    stop();
    expectAtRest();
}

TEST_F(LostSpeechTest, KeepsAnUtteranceThatBeganBeforeThePreviousTextCame) {
    network().answerNext(200, "first words second");
    network().answerNext(200, "words");
    willHear({});
    tap();
    utter();
    speak(0.2, 0.1F);
    answer("first words");
    EXPECT_EQ(recordingsLeft(), 2U) << "the closed file has the beginning of the next utterance";
    speak(0.3, 0.1F);
    speak(2.2, 0.0F);
    ASSERT_EQ(commits(), 2U);
    socket().deliverText(base::jsonText({{"type", "error"}, {"error", {{"message", "down"}}}}));
    advance(1);
    EXPECT_EQ(historyTexts(), (Texts{"first words", "first words second", "words"}));
    EXPECT_EQ(recordingsLeft(), 1U);
    tap();
    answer("");
    advance(5);
    expectAtRest();
}

TEST_F(LostSpeechTest, DeletesTheClosedFileWhenTheNextUtteranceHasItsText) {
    willHear({});
    tap();
    utter();
    speak(0.2, 0.1F);
    answer("first words");
    EXPECT_EQ(recordingsLeft(), 2U);
    speak(0.2, 0.1F);
    speak(2.2, 0.0F);
    answer("second words");
    EXPECT_EQ(recordingsLeft(), 1U);
    EXPECT_EQ(filesSent(), 0U);
    press(HotkeyAction::cancel);
    advance(1);
    expectAtRest();
}

TEST_F(LostSpeechTest, DeletesAllFilesAtACancel) {
    willHear({});
    tap();
    utter();
    speak(0.2, 0.1F);
    answer("first words");
    ASSERT_EQ(recordingsLeft(), 2U);
    press(HotkeyAction::cancel);
    advance(1);
    expectAtRest();
    EXPECT_EQ(filesSent(), 0U);
}

TEST_F(LostSpeechTest, DeletesAllFilesAtACancelDuringTheEndOfTheMode) {
    willHear({});
    tap();
    utter();
    tap();
    speak(0.2, 0.1F);
    answer("first words");
    press(HotkeyAction::cancel);
    advance(3);
    expectAtRest();
    EXPECT_EQ(filesSent(), 0U);
    EXPECT_EQ(pastedTexts(), Texts{"first words"});
}

TEST_F(LostSpeechTest, SendsNoSilence) {
    start({"words", std::nullopt});
    utter();
    speak(3, 0.0F);
    stop();
    expectAtRest();
    EXPECT_EQ(filesSent(), 0U);
    EXPECT_EQ(state().lastTranscription.get(), "words");
}

TEST_F(LostSpeechTest, IsNotInTheHistoryInPrivacyMode) {
    settings().set(keys::privacyModeEnabled, true);
    network().answerNext(200, "last words");
    start({"first words", std::nullopt});
    utter();
    speak(0.5, 0.1F);
    stop();
    EXPECT_TRUE(history().empty());
    EXPECT_EQ(state().lastTranscription.get(), "last words");
}

TEST_F(LostSpeechTest, EndsIfTheFileGivesNoTextEither) {
    prefer(Preference::streaming);
    network().answerNext(500, "the words of a server");
    start({"first words", std::nullopt});
    utter();
    speak(0.5, 0.1F);
    stop();
    expectAtRest();
    EXPECT_EQ(historyTexts(), Texts{"first words"});
    EXPECT_EQ(state().lastTranscription.get(), "first words");
    EXPECT_EQ(state().errorMessage.get(), std::nullopt);
    for (const auto& line : logLines)
        EXPECT_EQ(line.text.find("the words of a server"), std::string::npos);
}

TEST_F(LostSpeechTest, IsDeletedIfTheProgramQuitsMeanwhile) {
    network().hangNext();
    start({std::nullopt});
    utter();
    const auto sent = upload();
    ASSERT_TRUE(sent);
    press(HotkeyAction::cancel);
    EXPECT_EQ(recordingsLeft(), 1U);
    runtimeSupport().registry().cancelAll();
    advance(1);
    EXPECT_TRUE(sent->wasCancelled());
    EXPECT_EQ(recordingsLeft(), 0U);
    EXPECT_EQ(runtimeSupport().registry().count(), 0U);
}

TEST_F(LostSpeechTest, KeepsTheSpeechBeforeTheServiceProvedUnreachable) {
    network().holdHandshakes();
    network().failNext(UrlError::Code::cannotConnectToHost, "nobody there");
    recognizer().answerWith("words from this machine");
    start({});
    speak(0.5, 0.1F);
    socket().fail(UrlError::Code::cannotConnectToHost, "nobody there");
    advance(2);
    expectAtRest();
    EXPECT_EQ(state().errorMessage.get(),
              "Unable to connect to the transcription service. Please try again.");
    EXPECT_EQ(historyTexts(), Texts{"words from this machine"});
    EXPECT_TRUE(pastedTexts().empty());
}

TEST_F(LostSpeechTest, OfALongFormIsTranscribedFromTheWholeFile) {
    network().answerNext(200, "the first part and the rest");
    willHear({std::nullopt, "and the rest"});
    hold(8);
    releaseKey();
    EXPECT_EQ(pastedTexts(), Texts{"and the rest"});
    EXPECT_EQ(historyTexts(), (Texts{"and the rest", "the first part and the rest"}));
    EXPECT_EQ(state().lastTranscription.get(), "the first part and the rest");
    EXPECT_EQ(state().errorMessage.get(), std::nullopt);
    EXPECT_EQ(recordingsLeft(), 0U);
}

TEST_F(LostSpeechTest, OfTheEndOfALongFormIsTranscribedFromTheWholeFile) {
    network().answerNext(200, "the first part and the rest");
    willHear({"the first part", std::nullopt});
    hold(8);
    releaseKey();
    EXPECT_EQ(pastedTexts(), Texts{"the first part"});
    EXPECT_EQ(historyTexts(), (Texts{"the first part", "the first part and the rest"}));
    EXPECT_EQ(state().lastTranscription.get(), "the first part and the rest");
}

TEST_F(LostSpeechTest, OfALongFormSurvivesTheChangeToHandsFreeMode) {
    network().answerNext(200, "the first part and more");
    willHear({std::nullopt, "and more", ""});
    hold(6);
    tap();
    speak(0.5, 0.1F);
    speak(2.2, 0.0F);
    state().voiceActivityDetector->onEndOfUtterance();
    advance(1);
    EXPECT_EQ(historyTexts(), (Texts{"and more", "the first part and more"}));
    stop();
    release(HotkeyAction::pushToTalk);
    advance(1);
    expectAtRest();
}

TEST_F(LostSpeechTest, KeepsTheTextOfADictationThatAnEarlierWatchdogEnded) {
    willHear({"first", "the words"});
    hold(0.5);
    releaseKey();
    advance(596);
    hold(4); // the 600 s of the first recording end meanwhile
    EXPECT_FALSE(state().audioRecorder->isRecording.get());
    releaseKey();
    EXPECT_EQ(state().errorMessage.get(), "No audio recorded.");
    EXPECT_EQ(pastedTexts(), Texts{"first"});
    EXPECT_EQ(historyTexts(), (Texts{"first", "the words"}));
    EXPECT_EQ(state().lastTranscription.get(), "the words");
    EXPECT_EQ(filesSent(), 0U);
    EXPECT_EQ(recordingsLeft(), 0U);
}

TEST_F(LostSpeechTest, IsNotInTheHistoryInPrivacyModeIfAnEarlierWatchdogEndedIt) {
    settings().set(keys::privacyModeEnabled, true);
    willHear({"first", "the words"});
    hold(0.5);
    releaseKey();
    advance(596);
    hold(4);
    releaseKey();
    EXPECT_TRUE(history().empty());
    EXPECT_EQ(state().lastTranscription.get(), "the words");
}

TEST_F(LostSpeechTest, TranscribesTheFileOfADictationThatTheWatchdogEnded) {
    prefer(Preference::local);
    recognizer().answerWith("ten minutes of words");
    hold(1);
    advance(601);
    releaseKey();
    EXPECT_EQ(state().errorMessage.get(), "No audio recorded.");
    EXPECT_EQ(historyTexts(), Texts{"ten minutes of words"});
    EXPECT_EQ(state().lastTranscription.get(), "ten minutes of words");
    EXPECT_TRUE(pastedTexts().empty());
    EXPECT_EQ(recordingsLeft(), 0U);
}

TEST_F(LostSpeechTest, OfARecordingThatAnEarlierDictationEndedIsTranscribed) {
    prefer(Preference::local);
    recognizer().hold();
    hold(0.5);
    release(HotkeyAction::pushToTalk);
    press(HotkeyAction::cancel);
    hold(0.5);
    recognizer().recognitions().front()->finish("first");
    advance(1);
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    EXPECT_FALSE(microphone().isCapturing());
    recognizer().answer("second");
    advance(1);
    EXPECT_EQ(pastedTexts(), Texts{"first"});
    EXPECT_EQ(historyTexts(), (Texts{"first", "second"}));
    EXPECT_EQ(state().lastTranscription.get(), "second");
    EXPECT_EQ(recordingsLeft(), 0U);
    release(HotkeyAction::pushToTalk);
}

TEST_F(LostSpeechTest, IsReplacedInPasteLastByTheNextDictation) {
    network().answerNext(200, "last words");
    start({std::nullopt, "new words"});
    speak(0.5, 0.1F);
    stop();
    EXPECT_EQ(state().lastTranscription.get(), "last words");
    willHear({"new words"});
    hold(0.5);
    releaseKey();
    EXPECT_EQ(state().lastTranscription.get(), "new words");
}

} // namespace sonvale::core
