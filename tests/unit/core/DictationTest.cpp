#include "tests/unit/core/CoreFixture.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>

namespace sonvale::core {

using hotkeys::HotkeyAction;
using tests::CoreFixture;

using DictationTest = CoreFixture;

TEST_F(DictationTest, InsertsTheSpokenTextAndRestoresTheClipboard) {
    pasteboard().copyElsewhere("what was there before");
    recognizer().answerWith("the meeting is at ten");

    press(HotkeyAction::pushToTalk);
    EXPECT_EQ(state().recordingState.get(), RecordingState::recording);
    speak(0.5);
    release(HotkeyAction::pushToTalk);
    EXPECT_EQ(state().recordingState.get(), RecordingState::processing);
    settle();

    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"the meeting is at ten"});
    EXPECT_EQ(pasteboard().text(), "what was there before");
    EXPECT_EQ(state().lastTranscription.get(), "the meeting is at ten");
    EXPECT_EQ(state().currentTranscription.get(), "the meeting is at ten");
    EXPECT_FALSE(panel().shown().has_value());
    EXPECT_EQ(recordingsLeft(), 0U);
}

TEST_F(DictationTest, ReadsTheClipboardWhileTheUserSpeaks) {
    press(HotkeyAction::pushToTalk);
    EXPECT_EQ(pasteboard().prefetches(), 1);
    EXPECT_TRUE(pasteboard().calls().empty()) << "the start does not wait for it";
    press(HotkeyAction::pushToTalk);
    EXPECT_EQ(pasteboard().prefetches(), 1);
    settle();
}

TEST_F(DictationTest, PreparesTheRecognizerWhileTheUserSpeaks) {
    press(HotkeyAction::pushToTalk);
    EXPECT_EQ(recognizer().preparations(), 1);
    press(HotkeyAction::cancel);

    state().transcriptionManager->preferredEngine = transcription::TranscriptionEnginePreference::cloud;
    press(HotkeyAction::pushToTalk);
    EXPECT_EQ(recognizer().preparations(), 1) << "an engine that is not used loads no model";
    press(HotkeyAction::cancel);
}

TEST_F(DictationTest, RecordsTheHistoryBeforeTheInsertion) {
    recognizer().answerWith("two  words here");
    press(HotkeyAction::pushToTalk);
    speak(0.1);
    release(HotkeyAction::pushToTalk);
    advance(0.04);

    ASSERT_TRUE(pastedTexts().empty());
    const auto rows = history();
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].rawText, "two  words here");
    EXPECT_EQ(rows[0].processedText, "two  words here");
    EXPECT_EQ(rows[0].wordCount, 3);
    EXPECT_EQ(rows[0].durationSeconds, 0);
    EXPECT_FALSE(rows[0].isDismissed);
    EXPECT_FALSE(rows[0].appBundleID);
    EXPECT_FALSE(rows[0].appName);
    settle();
}

TEST_F(DictationTest, WritesNoHistoryInPrivacyMode) {
    settings().set(persistence::keys::privacyModeEnabled, true);
    dictate("secret");
    EXPECT_TRUE(history().empty());
    EXPECT_EQ(state().lastTranscription.get(), "secret");
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"secret"});
}

TEST_F(DictationTest, WorksWithoutAStore) {
    state().modelContext = nullptr;
    dictate("no store");
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"no store"});
}

TEST_F(DictationTest, ShowsTheRingForEachState) {
    press(HotkeyAction::pushToTalk);
    EXPECT_EQ(panel().shown()->state, RecordingState::recording);
    recognizer().hold();
    speak(0.1);
    release(HotkeyAction::pushToTalk);
    EXPECT_EQ(panel().shown()->state, RecordingState::processing);
    recognizer().answer("x");
    settle();
    EXPECT_FALSE(panel().shown().has_value());
}

TEST_F(DictationTest, SendsTheLoudnessToTheRingOnlyWhileItRecords) {
    press(HotkeyAction::pushToTalk);
    speak(0.1, 0.25F);
    EXPECT_NEAR(panel().shown()->level, 0.25F, 1e-4);
    recognizer().answerWith("x");
    release(HotkeyAction::pushToTalk);
    settle();
    EXPECT_EQ(clock().pending() > 1, false) << "only the recorder's watchdog may still wait";
}

TEST_F(DictationTest, IgnoresASecondPressWhileItWorks) {
    press(HotkeyAction::pushToTalk);
    press(HotkeyAction::pushToTalk);
    EXPECT_EQ(microphone().madeCount(), 1);
    recognizer().hold();
    speak(0.1);
    release(HotkeyAction::pushToTalk);
    press(HotkeyAction::pushToTalk);
    release(HotkeyAction::pushToTalk);
    EXPECT_EQ(microphone().madeCount(), 1);
    EXPECT_EQ(state().recordingState.get(), RecordingState::processing);
    recognizer().answer("once");
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"once"});
}

TEST_F(DictationTest, StoresTheApplicationInFrontAtKeyDown) {
    workspace().setFrontmost(platform::FrontApplication{"com.apple.mail", "Mail", 77});
    press(HotkeyAction::pushToTalk);
    ASSERT_TRUE(state().dictationTargetApp.get());
    EXPECT_EQ(state().dictationTargetApp.get()->bundleID, "com.apple.mail");
    EXPECT_EQ(state().dictationTargetApp.get()->processID, 77);
    press(HotkeyAction::cancel);

    workspace().setFrontmost(std::nullopt);
    press(HotkeyAction::pushToTalk);
    EXPECT_EQ(state().dictationTargetApp.get()->appName, "Unknown");
    EXPECT_EQ(state().dictationTargetApp.get()->processID, 0);
    EXPECT_FALSE(state().dictationTargetApp.get()->bundleID);
    press(HotkeyAction::cancel);
}

TEST_F(DictationTest, ReportsWhyARecordingDidNotStart) {
    microphone().setFormat({0, 0});
    press(HotkeyAction::pushToTalk);
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    EXPECT_EQ(state().errorMessage.get(), "Failed to start recording: No audio input device is available. "
                                          "Please connect a microphone and try again.");
    EXPECT_FALSE(panel().shown().has_value());
    EXPECT_TRUE(auditHas("error", "audioRecorder", "recording-start-failed"));
    EXPECT_TRUE(perfLines.empty());
    release(HotkeyAction::pushToTalk);
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
}

TEST_F(DictationTest, KeepsTheErrorUntilTheNextStartOrCancel) {
    microphone().setFormat({0, 0});
    int changes = 0;
    const auto subscription = state().errorMessage.subscribe([&](const auto&) { ++changes; });
    press(HotkeyAction::pushToTalk);
    EXPECT_TRUE(state().errorMessage.get());
    EXPECT_EQ(changes, 1);
    press(HotkeyAction::cancel);
    EXPECT_FALSE(state().errorMessage.get());

    press(HotkeyAction::pushToTalk);
    microphone().setFormat({48000, 1});
    press(HotkeyAction::pushToTalk);
    EXPECT_FALSE(state().errorMessage.get());
    press(HotkeyAction::cancel);
}

TEST_F(DictationTest, NotifiesNoSecondChangeForTheSameError) {
    int changes = 0;
    const auto subscription = state().errorMessage.subscribe([&](const auto&) { ++changes; });
    const auto errorsLogged = [this] {
        return std::ranges::count_if(logLines, [](const auto& line) { return line.category == "AppState"; });
    };
    state().surfaceError("It broke.");
    state().surfaceError("It broke.");
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(errorsLogged(), 1);
    state().surfaceError("It broke again.");
    EXPECT_EQ(changes, 2);
    EXPECT_EQ(errorsLogged(), 2);
}

TEST_F(DictationTest, ReportsAFailedTranscriptionAndKeepsTheLastText) {
    dictate("kept");
    perfLines.clear();
    recognizer().failWith({"other", 5, "it broke"});
    press(HotkeyAction::pushToTalk);
    speak(0.1);
    release(HotkeyAction::pushToTalk);
    settle();

    EXPECT_EQ(state().errorMessage.get(), "Transcription failed: Network error: it broke");
    EXPECT_TRUE(auditHas("error", "transcription", "transcription-failed"));
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    EXPECT_EQ(state().lastTranscription.get(), "kept");
    EXPECT_EQ(recordingsLeft(), 0U);
    EXPECT_FALSE(panel().shown().has_value());
    EXPECT_TRUE(std::ranges::any_of(
        perfLines, [](const std::string& line) { return line.starts_with("[PERF] stopDictation total: "); }));
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"kept"});
}

TEST_F(DictationTest, ReportsSilenceAsAFailedTranscription) {
    recognizer().failWith({platform::assistantErrorDomain, platform::noSpeechErrorCode, "No speech"});
    press(HotkeyAction::pushToTalk);
    speak(0.1);
    release(HotkeyAction::pushToTalk);
    settle();
    EXPECT_EQ(state().errorMessage.get(),
              "Transcription failed: Invalid response from transcription service.");
}

TEST_F(DictationTest, ReportsThatNoAudioWasRecordedIfTheWatchdogEndedTheRecording) {
    state().transcriptionManager->preferredEngine = transcription::TranscriptionEnginePreference::local;
    press(HotkeyAction::pushToTalk);
    advance(601);
    perfLines.clear();
    release(HotkeyAction::pushToTalk);
    EXPECT_EQ(state().errorMessage.get(), "No audio recorded.");
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    EXPECT_FALSE(panel().shown().has_value());
    EXPECT_TRUE(perfLines.empty());
    EXPECT_EQ(recordingsLeft(), 0U);
}

TEST_F(DictationTest, CancelDiscardsTheRecording) {
    press(HotkeyAction::pushToTalk);
    speak(0.2);
    press(HotkeyAction::cancel);
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    EXPECT_FALSE(panel().shown().has_value());
    EXPECT_EQ(recordingsLeft(), 0U);
    release(HotkeyAction::pushToTalk);
    settle();
    EXPECT_TRUE(pastedTexts().empty());
    EXPECT_EQ(recognizer().startedCount(), 0);
}

TEST_F(DictationTest, CancelDuringTheTranscriptionHidesTheRingAndKeepsTheInsertion) {
    recognizer().hold();
    press(HotkeyAction::pushToTalk);
    speak(0.2);
    release(HotkeyAction::pushToTalk);
    press(HotkeyAction::cancel);
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    EXPECT_FALSE(panel().shown().has_value());
    recognizer().answer("late but not lost");
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"late but not lost"});
}

TEST_F(DictationTest, TheEndOfACancelledDictationEndsANewRecording) {
    recognizer().hold();
    press(HotkeyAction::pushToTalk);
    speak(0.2);
    release(HotkeyAction::pushToTalk);
    press(HotkeyAction::cancel);
    press(HotkeyAction::pushToTalk);
    EXPECT_EQ(state().recordingState.get(), RecordingState::recording);
    recognizer().answer("old");
    settle();
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    EXPECT_EQ(recognizer().startedCount(), 1) << "the new recording contains no speech";
    EXPECT_FALSE(panel().shown().has_value());
    EXPECT_FALSE(microphone().isCapturing()) << "no key would end it";
    EXPECT_EQ(recordingsLeft(), 0U);
    release(HotkeyAction::pushToTalk);
}

TEST_F(DictationTest, DeletesTheFilesOfTwoDictationsThatAreTranscribedAtTheSameTime) {
    recognizer().hold();
    for (int i = 0; i < 2; ++i) {
        press(HotkeyAction::pushToTalk);
        speak(0.2);
        release(HotkeyAction::pushToTalk);
        press(HotkeyAction::cancel);
    }
    const auto waiting = recognizer().recognitions();
    ASSERT_EQ(waiting.size(), 2U);
    waiting.at(0)->finish("first");
    settle();
    EXPECT_FALSE(std::filesystem::exists(waiting.at(0)->audioFile));
    EXPECT_TRUE(std::filesystem::exists(waiting.at(1)->audioFile)) << "it is still being read";
    waiting.at(1)->finish("second");
    settle();
    EXPECT_EQ(recordingsLeft(), 0U);
    EXPECT_EQ(pastedTexts(), (std::vector<std::string>{"first", "second"}));
}

TEST_F(DictationTest, InsertsOneTextAfterTheOther) {
    dictate("before");
    pasteboard().copyElsewhere("the user's own");
    press(HotkeyAction::pasteLastTranscript);
    advance(0.2);
    recognizer().answerWith("after");
    press(HotkeyAction::pushToTalk);
    release(HotkeyAction::pushToTalk);
    settle();
    EXPECT_EQ(pastedTexts(), (std::vector<std::string>{"before", "before", "after"}));
    EXPECT_EQ(pasteboard().text(), "the user's own");
}

TEST_F(DictationTest, PastesTheLastTextAgainInEveryState) {
    press(HotkeyAction::pasteLastTranscript);
    settle();
    EXPECT_TRUE(pastedTexts().empty()) << "there is no text yet";
    EXPECT_FALSE(state().errorMessage.get());

    dictate("again");
    press(HotkeyAction::pasteLastTranscript);
    release(HotkeyAction::pasteLastTranscript);
    settle();
    EXPECT_EQ(pastedTexts(), (std::vector<std::string>{"again", "again"}));

    press(HotkeyAction::pushToTalk);
    press(HotkeyAction::pasteLastTranscript);
    advance(1);
    EXPECT_EQ(pastedTexts().size(), 3U);
    EXPECT_EQ(state().recordingState.get(), RecordingState::recording);
    press(HotkeyAction::cancel);
}

TEST_F(DictationTest, PrintsItsTimingsInWholeMilliseconds) {
    state().transcriptionManager->preferredEngine = transcription::TranscriptionEnginePreference::local;
    dictate("timed");
    ASSERT_EQ(perfLines.size(), 2U);
    EXPECT_EQ(perfLines[0], "[PERF] startDictation total: 0ms");
    EXPECT_EQ(perfLines[1], "[PERF] stopDictation total: 350ms");
}

TEST_F(DictationTest, WritesFactsButNoTextToTheAuditLog) {
    recognizer().answerWith("unmistakable");
    press(HotkeyAction::pushToTalk);
    speak(1.25);
    release(HotkeyAction::pushToTalk);
    settle();
    const auto lines = auditLines();
    std::vector<nlohmann::json> events;
    for (const auto& line : lines) {
        EXPECT_EQ(line.find("unmistakable"), std::string::npos);
        const auto entry = nlohmann::json::parse(line);
        if (entry.at("resource") == "recording")
            events.push_back(entry);
    }
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].at("eventType"), "recordingStarted");
    EXPECT_EQ(events[1].at("eventType"), "recordingStopped");
    for (const auto& event : events) {
        EXPECT_EQ(event.at("actor"), "user");
        EXPECT_EQ(event.at("outcome"), "success");
    }
    EXPECT_EQ(events[1].at("metadata").at("durationSeconds"), "1.25");
    for (const auto& line : systemLines)
        EXPECT_EQ(line.find("unmistakable"), std::string::npos);
    for (const auto& line : perfLines)
        EXPECT_EQ(line.find("unmistakable"), std::string::npos);
    for (const auto& line : logLines)
        EXPECT_EQ(line.text.find("unmistakable"), std::string::npos);
}

TEST_F(DictationTest, ReportsAnEmptyTranscriptAsAFailedOne) {
    recognizer().answerWith("");
    press(HotkeyAction::pushToTalk);
    speak(0.1);
    release(HotkeyAction::pushToTalk);
    settle();
    EXPECT_EQ(state().errorMessage.get(),
              "Transcription failed: Invalid response from transcription service.");
}

TEST_F(DictationTest, ReceivesTheHotkeyThroughTheListener) {
    completeOnboardingAndStart();
    recognizer().answerWith("by the key");
    tap().holdModifiers(platform::modifier::option);
    advance(0.149);
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    advance(0.002);
    tap().runBlocks();
    runtimeSupport().runUntilIdle();
    EXPECT_EQ(state().recordingState.get(), RecordingState::recording);
    speak(0.1);
    tap().holdModifiers(0);
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"by the key"});
}

TEST_F(DictationTest, EndsWithItsController) {
    players().report(true);
    press(HotkeyAction::pushToTalk);
    speak(0.2);
    ASSERT_FALSE(players().isPlaying());
    ASSERT_EQ(recordingsLeft(), 1U);
    const auto controller = state().weak_from_this();
    dropState();
    EXPECT_TRUE(controller.expired()) << "its loops do not keep it";
    EXPECT_FALSE(microphone().isCapturing());
    EXPECT_EQ(recordingsLeft(), 0U);
    EXPECT_TRUE(players().isPlaying());
    advance(601);
    EXPECT_EQ(runtimeSupport().registry().count(), 0U);
}

TEST_F(DictationTest, EndsDuringTheTranscriptionIfTheProgramQuits) {
    players().report(true);
    recognizer().hold();
    press(HotkeyAction::pushToTalk);
    speak(0.2);
    release(HotkeyAction::pushToTalk);
    ASSERT_EQ(state().recordingState.get(), RecordingState::processing);
    runtimeSupport().registry().cancelAll();
    runtimeSupport().runUntilIdle();
    EXPECT_EQ(runtimeSupport().registry().count(), 0U);
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    EXPECT_EQ(recordingsLeft(), 0U);
    EXPECT_TRUE(players().isPlaying());
    EXPECT_TRUE(pastedTexts().empty());
}

} // namespace sonvale::core
