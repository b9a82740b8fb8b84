#include "tests/unit/core/StreamingFixture.h"

#include <gtest/gtest.h>

namespace sonvale::core {

namespace {

namespace keys = persistence::keys;
using hotkeys::HotkeyAction;
using platform::UrlError;
using Texts = std::vector<std::string>;
using Preference = transcription::TranscriptionEnginePreference;

class LongFormTest : public tests::StreamingFixture {
protected:
    void hold(double seconds) {
        press(HotkeyAction::pushToTalk);
        speak(seconds);
    }
    void releaseKey(double seconds = 3) {
        release(HotkeyAction::pushToTalk);
        advance(seconds);
    }
    void expectAtRest() {
        EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
        EXPECT_FALSE(state().audioRecorder->isRecording.get());
        EXPECT_EQ(panel().shown(), std::nullopt);
        EXPECT_EQ(recordingsLeft(), 0U);
    }
};

} // namespace

TEST_F(LongFormTest, TypesTheFirstPieceWhileTheKeyIsHeldAndTheRestAtItsRelease) {
    willHear({"the first part", "and all the rest"});
    hold(5.5);
    EXPECT_EQ(pastedTexts(), Texts{"the first part"});
    EXPECT_EQ(state().recordingState.get(), RecordingState::recording);
    EXPECT_TRUE(printed("PTT long-form mode activated (held > 5.0s)"));
    EXPECT_TRUE(printed("PTT long-form segment: 14 chars (total accumulated: 14 chars)"));
    speak(24.5);
    EXPECT_EQ(commits(), 1U) << "one piece is committed while the key is held";
    EXPECT_EQ(pastedTexts().size(), 1U);
    releaseKey();
    expectAtRest();
    EXPECT_EQ(pastedTexts(), (Texts{"the first part", " and all the rest"}));
    EXPECT_EQ(state().lastTranscription.get(), "the first part and all the rest");
    EXPECT_EQ(history().size(), 2U);
    EXPECT_TRUE(printed("stopDictation total (long-form): "));
    EXPECT_FALSE(printed("stopDictation total: "));
}

TEST_F(LongFormTest, SendsTheLastSoundsBeforeEachCommit) {
    willHear({"the first part", "and the rest"});
    hold(4.992);
    const auto before = bytesHeard();
    microphone().speakIntoDevice(std::vector<float>(700, 0.1F));
    advance(0.1);
    ASSERT_EQ(commits(), 1U);
    EXPECT_EQ(before % 1024, 0U);
    EXPECT_EQ(bytesHeard(), 4.992 * 48000 + 700);
    microphone().speak(std::vector<float>(500, 0.1F));
    microphone().speakIntoDevice(std::vector<float>(300, 0.1F));
    release(HotkeyAction::pushToTalk);
    EXPECT_EQ(bytesHeard(), 4.992 * 48000 + 1500);
    advance(3);
    expectAtRest();
}

TEST_F(LongFormTest, ReplacesThePiecesByTheCleanedWhole) {
    willHear({"um the first part", "and the rest"});
    hold(6);
    willClean({"The first part, and the rest."});
    releaseKey();
    expectAtRest();
    EXPECT_EQ(undone(), 2);
    EXPECT_EQ(pastedTexts().back(), "The first part, and the rest.");
    EXPECT_EQ(state().lastTranscription.get(), "The first part, and the rest.");
    const auto rows = history();
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_EQ(rows[2].rawText, "um the first part and the rest");
    EXPECT_EQ(rows[2].processedText, "The first part, and the rest.");
}

TEST_F(LongFormTest, KeepsThePiecesIfTheCleanUpFails) {
    willHear({"the first part", "the rest"});
    hold(6);
    settings().set(keys::aiProcessingEnabled, true);
    network().answerNext(500, "");
    releaseKey();
    EXPECT_EQ(undone(), 0);
    EXPECT_EQ(pastedTexts(), (Texts{"the first part", " the rest"}));
    EXPECT_EQ(state().lastTranscription.get(), "the first part the rest");
}

TEST_F(LongFormTest, IsAnOrdinaryDictationBeforeFiveSeconds) {
    willHear({"words"});
    hold(4.9);
    releaseKey();
    advance(10);
    EXPECT_EQ(commits(), 1U);
    EXPECT_EQ(pastedTexts(), Texts{"words"});
    EXPECT_FALSE(printed("PTT long-form"));
    EXPECT_TRUE(printed("stopDictation total: "));
}

TEST_F(LongFormTest, NeedsASession) {
    network().failHandshakes(UrlError(UrlError::Code::cannotConnectToHost, "nobody there"));
    recognizer().answerWith("from this machine");
    willHear({});
    hold(12);
    EXPECT_FALSE(printed("PTT long-form"));
    network().failNext(UrlError::Code::cannotConnectToHost);
    releaseKey();
    EXPECT_EQ(pastedTexts(), Texts{"from this machine"});

    prefer(Preference::local);
    hold(12);
    releaseKey();
    EXPECT_FALSE(printed("PTT long-form"));
}

TEST_F(LongFormTest, AddsNoBlankToTheLastPieceIfTheFirstWasSilence) {
    willHear({"...", "all of it"});
    hold(8);
    EXPECT_TRUE(pastedTexts().empty());
    willClean({"All of it."});
    releaseKey();
    EXPECT_EQ(pastedTexts(), (Texts{"all of it", "All of it."}));
    EXPECT_EQ(undone(), 1);
}

TEST_F(LongFormTest, ContinuesAfterAFailedCommit) {
    willHear({std::nullopt, "the rest"});
    network().answerNext(200, "all of it");
    hold(8);
    releaseKey();
    expectAtRest();
    EXPECT_EQ(pastedTexts(), Texts{"the rest"});
    EXPECT_EQ(state().errorMessage.get(), std::nullopt);
}

TEST_F(LongFormTest, KeepsTheFirstPieceIfTheLastFails) {
    willHear({"the first part", std::nullopt});
    network().hangNext();
    hold(8);
    releaseKey();
    EXPECT_EQ(pastedTexts(), Texts{"the first part"});
    EXPECT_EQ(state().lastTranscription.get(), "the first part");
    ASSERT_TRUE(network().lastRequest()) << "the file is sent";
    network().lastRequest()->answer(200, "all of it");
    advance(1);
    expectAtRest();
}

TEST_F(LongFormTest, WaitsForACommitThatRunsAtTheRelease) {
    willHear({});
    hold(5.2);
    EXPECT_EQ(commits(), 1U);
    release(HotkeyAction::pushToTalk);
    advance(0.5);
    EXPECT_EQ(commits(), 1U) << "the two are never committed at the same time";
    answer("the first part");
    advance(0.5);
    EXPECT_EQ(commits(), 2U);
    answer("the rest");
    advance(3);
    expectAtRest();
    EXPECT_EQ(pastedTexts(), (Texts{"the first part", " the rest"}));
}

TEST_F(LongFormTest, KeepsTheTypedTextIfItIsCancelled) {
    willHear({"the first part", "never"});
    hold(7);
    willClean({"never"});
    press(HotkeyAction::cancel);
    advance(3);
    release(HotkeyAction::pushToTalk);
    advance(10);
    expectAtRest();
    EXPECT_EQ(pastedTexts(), Texts{"the first part"});
    EXPECT_EQ(undone(), 0);
}

TEST_F(LongFormTest, CanBeCancelledWhileThePieceIsCommitted) {
    willHear({});
    hold(5.2);
    EXPECT_EQ(commits(), 1U);
    press(HotkeyAction::cancel);
    advance(1);
    release(HotkeyAction::pushToTalk);
    expectAtRest();
    advance(10);
    EXPECT_TRUE(pastedTexts().empty());

    willHear({"words"});
    hold(1);
    releaseKey();
    EXPECT_EQ(pastedTexts(), Texts{"words"});
}

TEST_F(LongFormTest, DoesNotRunACommand) {
    accessibility().setSelectedText("selected");
    willHear({"make it", "shorter"});
    press(HotkeyAction::commandMode);
    speak(6);
    EXPECT_EQ(state().selectedTextForCommand.get(), "selected");
    release(HotkeyAction::commandMode);
    advance(3);
    expectAtRest();
    EXPECT_EQ(state().selectedTextForCommand.get(), std::nullopt);
    EXPECT_EQ(pastedTexts(), (Texts{"make it", " shorter"}));
}

TEST_F(LongFormTest, IsNotActivatedByTheTimerOfAnEarlierRecording) {
    willHear({"one", "two"});
    hold(4);
    releaseKey(0.6);
    hold(4.5);
    EXPECT_FALSE(printed("PTT long-form"));
    releaseKey();
    EXPECT_EQ(pastedTexts(), (Texts{"one", "two"}));
}

TEST_F(LongFormTest, ResumesTheMusicAfterwards) {
    players().report(true);
    willHear({"one", "two"});
    hold(6);
    EXPECT_FALSE(players().isPlaying());
    releaseKey();
    EXPECT_TRUE(players().isPlaying());
}

} // namespace sonvale::core
