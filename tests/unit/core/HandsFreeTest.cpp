#include "tests/unit/core/HandsFreeFixture.h"

#include <gtest/gtest.h>

namespace sonvale::core {

namespace {

namespace keys = persistence::keys;
using hotkeys::HotkeyAction;
using platform::UrlError;
using Texts = std::vector<std::string>;
using Preference = transcription::TranscriptionEnginePreference;

using HandsFree = tests::HandsFreeFixture;

} // namespace

TEST_F(HandsFree, TypesEachUtteranceWhileTheRecordingContinues) {
    start({"first words", "second words", "third words", ""});
    EXPECT_TRUE(isListening());
    EXPECT_EQ(state().voiceActivityDetector->endOfUtteranceDelay, 2.0);
    utter();
    EXPECT_EQ(pastedTexts(), Texts{"first words"});
    EXPECT_TRUE(isListening());
    utter();
    utter();
    EXPECT_EQ(pastedTexts(), (Texts{"first words", " second words", " third words"}));
    EXPECT_EQ(network().sockets().size(), 1U) << "all utterances use one session";
    stop();
    expectAtRest();
    EXPECT_EQ(state().lastTranscription.get(), "first words second words third words");
    EXPECT_EQ(state().currentTranscription.get(), "first words second words third words");
    EXPECT_EQ(history().size(), 3U);
    EXPECT_EQ(history().at(1).rawText, "second words");
    EXPECT_EQ(history().at(1).processedText, "second words");
    EXPECT_EQ(undone(), 0);
}

TEST_F(HandsFree, EndsWhenTheScreenIsLockedAndKeepsTheSpeech) {
    start({"first words", "last words"});
    utter();
    speak(0.5, 0.1F);
    sessionLock().setLocked(true);
    advance(10);
    expectAtRest();
    EXPECT_EQ(pastedTexts(), Texts{"first words"});
    EXPECT_EQ(undone(), 0);
    ASSERT_EQ(history().size(), 2U);
    EXPECT_EQ(state().lastTranscription.get(), "first words last words");
}

TEST_F(HandsFree, EndsAnUtteranceAfterTwoSecondsOfSilence) {
    start({"words"});
    speak(0.5, 0.1F);
    speak(1.9, 0.0F);
    EXPECT_EQ(commits(), 0U);
    speak(0.2, 0.0F);
    EXPECT_EQ(commits(), 1U);
    stop();
}

TEST_F(HandsFree, SendsTheLastSoundsBeforeEachCommit) {
    start({"words", "last words"});
    speak(0.512, 0.1F);
    microphone().speakIntoDevice(std::vector<float>(700, 0.1F));
    speak(2.2, 0.0F);
    ASSERT_EQ(commits(), 1U);
    // Two bytes for two samples of the microphone.
    constexpr std::size_t samples = 24576 + 105600 + 700;
    EXPECT_EQ(bytesHeard(), samples);
    microphone().speak(std::vector<float>(500, 0.1F));
    microphone().speakIntoDevice(std::vector<float>(300, 0.1F));
    const auto session = network().lastSocket();
    tap();
    advance(10);
    EXPECT_EQ(bytesHeard(*session), samples + 800);
    expectAtRest();
}

TEST_F(HandsFree, ReplacesThePiecesByTheCleanedWhole) {
    start({"um first words", "second words", ""});
    utter();
    utter();
    willClean({"First words, second words."});
    stop();
    expectAtRest();
    EXPECT_EQ(undone(), 2);
    EXPECT_EQ(pastedTexts(), (Texts{"um first words", " second words", "First words, second words."}));
    EXPECT_EQ(state().lastTranscription.get(), "First words, second words.");
    const auto rows = history();
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_EQ(rows[2].rawText, "um first words second words");
    EXPECT_EQ(rows[2].processedText, "First words, second words.");
    EXPECT_EQ(rows[2].wordCount, 4);
    EXPECT_EQ(panel().history().back().state, RecordingState::processingHandsFree);
}

TEST_F(HandsFree, KeepsTheTypedPiecesIfTheWholeIsUnchanged) {
    start({"First words.", ""});
    utter();
    willClean({"First words."});
    stop();
    EXPECT_EQ(undone(), 0);
    EXPECT_EQ(pastedTexts(), Texts{"First words."});
    EXPECT_EQ(history().size(), 2U) << "the history has the whole too";
}

TEST_F(HandsFree, CleansUpASinglePieceToo) {
    start({"um words", ""});
    utter();
    willClean({"Words."});
    stop();
    EXPECT_EQ(undone(), 1);
    EXPECT_EQ(pastedTexts().back(), "Words.");
}

TEST_F(HandsFree, TypesTheLastWordsWithoutAPause) {
    start({"first words", "last words"});
    utter();
    speak(0.5, 0.1F);
    stop();
    expectAtRest();
    EXPECT_EQ(pastedTexts(), (Texts{"first words", " last words"}));
    EXPECT_EQ(state().lastTranscription.get(), "first words last words");
}

TEST_F(HandsFree, AddsNoBlankBeforeALastPieceThatIsTheOnlyOne) {
    start({"only words"});
    speak(0.5, 0.1F);
    stop();
    EXPECT_EQ(pastedTexts(), Texts{"only words"});
}

TEST_F(HandsFree, OmitsEmptyUtterances) {
    start({"...", " \n", "words…", ""});
    utter();
    utter();
    EXPECT_TRUE(pastedTexts().empty());
    utter();
    EXPECT_EQ(pastedTexts(), Texts{"words"}) << "the first with text has no blank";
    stop();
    EXPECT_EQ(history().size(), 1U);
}

TEST_F(HandsFree, KeepsTheLastTextIfThereWasNoSpeech) {
    state().lastTranscription = "of before";
    start({""});
    speak(1, 0.0F);
    stop();
    expectAtRest();
    EXPECT_EQ(state().lastTranscription.get(), "of before");
    EXPECT_TRUE(history().empty());
    EXPECT_TRUE(pastedTexts().empty());
}

TEST_F(HandsFree, KeepsTheOrderIfAnInsertionIsSlowerThanTheNextUtterance) {
    start({"one", "two", "three", ""});
    runtimeSupport().wait(state().textInserter->undo(0));
    // Each insertion takes 350 ms; the three utterances come within 100 ms.
    for (int i = 0; i < 3; ++i)
        state().voiceActivityDetector->onEndOfUtterance();
    runtimeSupport().runUntilIdle();
    state().voiceActivityDetector->onEndOfUtterance();
    runtimeSupport().runUntilIdle();
    state().voiceActivityDetector->onEndOfUtterance();
    runtimeSupport().runUntilIdle();
    advance(2);
    EXPECT_EQ(pastedTexts(), (Texts{"one", " two", " three"}));
    stop();
    EXPECT_EQ(state().lastTranscription.get(), "one two three");
}

TEST_F(HandsFree, IgnoresTheEndOfAnUtteranceDuringACommit) {
    willHear({});
    tap();
    utter();
    EXPECT_EQ(commits(), 1U);
    utter();
    EXPECT_EQ(commits(), 1U) << "its audio is kept for the next commit";
    answer("both");
    advance(1);
    EXPECT_EQ(pastedTexts(), Texts{"both"});
    tap();
    answer("");
    advance(10);
    expectAtRest();
}

TEST_F(HandsFree, EndsByAPushToTalkPress) {
    start({"first words", "last words"});
    utter();
    speak(0.5, 0.1F);
    press(HotkeyAction::pushToTalk);
    release(HotkeyAction::pushToTalk);
    advance(5);
    expectAtRest();
    EXPECT_EQ(pastedTexts(), (Texts{"first words", " last words"}));
}

TEST_F(HandsFree, EndsByAPushToTalkPressWhileAnUtteranceIsTranscribed) {
    start({});
    utter();
    EXPECT_EQ(commits(), 1U);
    press(HotkeyAction::pushToTalk);
    release(HotkeyAction::pushToTalk);
    EXPECT_EQ(commits(), 1U) << "the key up must not end the mode a second time";
    answer("first words");
    advance(1);
    EXPECT_EQ(commits(), 2U);
    answer("last words");
    advance(5);
    expectAtRest();
    EXPECT_EQ(pastedTexts(), (Texts{"first words", " last words"}));
}

TEST_F(HandsFree, TypesThePieceOfALongPushToTalkThatIsStillTranscribed) {
    start({});
    tap();
    answer("");
    advance(10);
    press(HotkeyAction::pushToTalk);
    speak(5.5, 0.1F);
    const auto before = commits();
    tap();
    tap();
    EXPECT_EQ(commits(), before) << "only one commit waits for an answer at a time";
    answer("the long piece");
    advance(1);
    EXPECT_EQ(commits(), before + 1);
    answer("the rest");
    release(HotkeyAction::pushToTalk);
    advance(10);
    expectAtRest();
    EXPECT_EQ(pastedTexts(), (Texts{"the long piece", "the rest"}));
}

TEST_F(HandsFree, KeepsTheTypedTextIfItIsCancelled) {
    start({"first words", "never"});
    utter();
    speak(0.5, 0.1F);
    willClean({"never"});
    press(HotkeyAction::cancel);
    advance(5);
    expectAtRest();
    EXPECT_EQ(pastedTexts(), Texts{"first words"});
    EXPECT_EQ(undone(), 0);
    EXPECT_EQ(history().size(), 1U);
    EXPECT_TRUE(network().requests().empty());
    EXPECT_TRUE(socket().isEnded());
}

TEST_F(HandsFree, CanBeCancelledWhileAnUtteranceIsCommitted) {
    willHear({});
    tap();
    utter();
    EXPECT_EQ(commits(), 1U);
    press(HotkeyAction::cancel);
    advance(5);
    expectAtRest();
    EXPECT_TRUE(pastedTexts().empty());

    // The next run works as usual.
    start({"words", ""});
    utter();
    stop();
    EXPECT_EQ(pastedTexts(), Texts{"words"});
}

TEST_F(HandsFree, RecoversFromAFailedCommit) {
    start({std::nullopt, "second words", ""});
    network().answerNext(200, "first words");
    utter();
    EXPECT_TRUE(isListening());
    EXPECT_EQ(state().errorMessage.get(), std::nullopt);
    utter();
    EXPECT_EQ(pastedTexts(), Texts{"second words"});
    EXPECT_EQ(network().sockets().size(), 2U);
    EXPECT_LE(recordingsLeft(), 1U) << "the file of the lost utterance is deleted";
    stop();
    expectAtRest();
}

TEST_F(HandsFree, EndsWithAMessageIfItCannotReconnect) {
    start({"first words", std::nullopt});
    utter();
    network().failHandshakes(UrlError(UrlError::Code::cannotConnectToHost, "nobody there"));
    network().failNext(UrlError::Code::cannotConnectToHost, "nobody there");
    recognizer().failWith({platform::assistantErrorDomain, platform::noSpeechErrorCode, "nothing"});
    utter();
    advance(10);
    expectAtRest();
    EXPECT_EQ(state().errorMessage.get(),
              "Unable to connect to the transcription service. Please try again.");
    EXPECT_EQ(pastedTexts(), Texts{"first words"});
    EXPECT_EQ(state().lastTranscription.get(), "first words");
}

TEST_F(HandsFree, EndsWithAMessageIfItCannotConnect) {
    network().failHandshakes(UrlError(UrlError::Code::cannotConnectToHost, "nobody there"));
    start({});
    advance(5);
    expectAtRest();
    EXPECT_EQ(state().errorMessage.get(),
              "Unable to connect to the transcription service. Please try again.");
    EXPECT_FALSE(printed("startDictation total"));
}

TEST_F(HandsFree, ReportsAtOnceWhichEnginesItNeeds) {
    for (const auto preference : {Preference::local, Preference::cloud}) {
        prefer(preference);
        start({});
        advance(1);
        expectAtRest();
        EXPECT_EQ(state().errorMessage.get(), "Hands-free mode needs Streaming or Hybrid.");
        EXPECT_FALSE(printed("startDictation total"));
        EXPECT_TRUE(network().sockets().empty());
        EXPECT_TRUE(network().requests().empty()) << "there was no speech";
    }
}

TEST_F(HandsFree, StartsANewRecordingIfTheInputIsGone) {
    start({"said before", "second words", ""});
    speak(0.5, 0.1F);
    microphone().unplug();
    microphone().setFormat({48000, 1});
    advance(1);
    EXPECT_EQ(pastedTexts(), Texts{"said before"});
    EXPECT_TRUE(isListening());
    utter();
    EXPECT_EQ(pastedTexts(), (Texts{"said before", " second words"}));
    stop();
    expectAtRest();
}

TEST_F(HandsFree, ContinuesBeyondTheMaximumRecording) {
    start({"first words", "later words", ""});
    utter();
    advance(601);
    EXPECT_TRUE(isListening());
    EXPECT_TRUE(state().audioRecorder->isRecording.get());
    utter();
    advance(1);
    EXPECT_EQ(pastedTexts().front(), "first words");
    EXPECT_EQ(pastedTexts().back(), " later words");
    stop();
    expectAtRest();
}

TEST_F(HandsFree, DoesNothingWithARunThatBeganDuringATranscription) {
    prefer(Preference::streaming);
    willHear({});
    press(HotkeyAction::pushToTalk);
    speak(0.5);
    release(HotkeyAction::pushToTalk);
    tap();
    EXPECT_TRUE(state().isHandsFreeMode.get());
    EXPECT_EQ(state().recordingState.get(), RecordingState::processing);
    answer("words");
    advance(2);
    EXPECT_EQ(pastedTexts(), Texts{"words"});
    tap();
    advance(5);
    expectAtRest();
}

TEST_F(HandsFree, KeepsNothingInPrivacyMode) {
    settings().set(keys::privacyModeEnabled, true);
    start({"words", "more"});
    utter();
    willClean({"Words more."});
    speak(0.5, 0.1F);
    stop();
    EXPECT_TRUE(history().empty());
    EXPECT_EQ(pastedTexts().back(), "Words more.");
}

TEST_F(HandsFree, ResumesTheMusicAfterwards) {
    players().report(true);
    start({"words", ""});
    EXPECT_FALSE(players().isPlaying());
    utter();
    EXPECT_FALSE(players().isPlaying());
    stop();
    EXPECT_TRUE(players().isPlaying());
    start({});
    press(HotkeyAction::cancel);
    advance(1);
    EXPECT_TRUE(players().isPlaying());
}

TEST_F(HandsFree, RunsForAnHour) {
    std::vector<std::optional<std::string>> transcripts(1200, "words");
    transcripts.emplace_back("");
    start(std::move(transcripts));
    for (int i = 0; i < 1200; ++i) {
        utter(0.1, 0.05);
        advance(2.85);
    }
    EXPECT_TRUE(isListening());
    stop();
    expectAtRest();
    EXPECT_EQ(pastedTexts().size(), 1200U);
    EXPECT_EQ(history().size(), 1200U);
    advance(700);
    EXPECT_EQ(runtimeSupport().registry().count(), 0U) << "the pre-warmed session is closed too";
}

} // namespace sonvale::core
