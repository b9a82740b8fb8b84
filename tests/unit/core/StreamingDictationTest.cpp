#include "tests/unit/core/StreamingFixture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace sonvale::core {

namespace {

using hotkeys::HotkeyAction;
using platform::UrlError;
using Preference = transcription::TranscriptionEnginePreference;

class StreamingDictation : public tests::StreamingFixture {
protected:
    void hold(double seconds = 0.512) {
        press(HotkeyAction::pushToTalk);
        speak(seconds);
    }
    void releaseKey() { release(HotkeyAction::pushToTalk); }
};

} // namespace

TEST_F(StreamingDictation, InsertsTheTextOfTheService) {
    hold();
    releaseKey();
    EXPECT_EQ(state().recordingState.get(), RecordingState::processing);
    EXPECT_EQ(countOf("input_audio_buffer.commit"), 1U);
    answer("words from the service");
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"words from the service"});
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    EXPECT_EQ(recognizer().startedCount(), 0);
    EXPECT_TRUE(network().requests().empty()) << "the file is not sent";
    EXPECT_EQ(recordingsLeft(), 0U);
    EXPECT_TRUE(printed("stopDictation → finalize: 0ms"));
    EXPECT_EQ(bytesHeard(), 24576U);
}

TEST_F(StreamingDictation, PreWarmsASessionAndUsesItAtKeyDown) {
    completeOnboardingAndStart();
    ASSERT_EQ(network().sockets().size(), 1U);
    EXPECT_TRUE(printed("Pre-warm session: 0ms (success)"));
    advance(97);
    hold();
    EXPECT_EQ(network().sockets().size(), 1U);
    advance(4);
    EXPECT_TRUE(state().transcriptionManager->isStreamReady())
        << "a session in use is not closed for its age";
    releaseKey();
    answer("at once");
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"at once"});
    EXPECT_EQ(network().sockets().size(), 1U) << "the next dictation uses the session";
}

TEST_F(StreamingDictation, SendsNoSpeechAfterTheKeyIsReleased) {
    hold();
    releaseKey();
    const auto heard = bytesHeard();
    speak(1);
    answer("before");
    settle();
    EXPECT_EQ(bytesHeard(), heard);

    hold();
    releaseKey();
    EXPECT_EQ(bytesHeard(), heard + 24576);
    answer("after");
    settle();
}

TEST_F(StreamingDictation, SendsTheLastSoundsBeforeTheKeyIsReleasedAndThenTheCommit) {
    hold();
    microphone().speak(std::vector<float>(600, 0.1F));
    microphone().speakIntoDevice(std::vector<float>(800, 0.1F));
    releaseKey();
    EXPECT_EQ(bytesHeard(), 24576U + 1400);
    EXPECT_NE(socket().texts().back().find("input_audio_buffer.commit"), std::string::npos);
    answer("to the last letter");
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"to the last letter"});
}

TEST_F(StreamingDictation, WaitsForTheDeviceOnceAndNotAgainForAnUnusedFile) {
    const auto drains = [&] { return std::ranges::count(microphone().calls(), std::string("drain")); };
    hold();
    releaseKey();
    answer("streamed");
    settle();
    EXPECT_EQ(drains(), 1);
    network().answerNext(200, "from the file");
    hold();
    socket().close();
    releaseKey();
    settle();
    EXPECT_EQ(pastedTexts().back(), "from the file");
    EXPECT_EQ(drains(), 3) << "the file contains the speech until the end";
}

TEST_F(StreamingDictation, TranscribesTheFileIfTheSessionIsLost) {
    network().answerNext(200, "from the file");
    hold();
    socket().close();
    speak(0.5);
    releaseKey();
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"from the file"});
    EXPECT_EQ(network().lastRequest()->url, "https://service.example/v1/audio/transcriptions");
    EXPECT_EQ(state().errorMessage.get(), std::nullopt);
    EXPECT_TRUE(
        printed("stopDictation → finalize: 0ms (failed: Network error: WebSocket session ended during "
                "recording)"));
    EXPECT_EQ(recordingsLeft(), 0U);
}

TEST_F(StreamingDictation, TranscribesTheFileIfTheServiceDoesNotAnswer) {
    network().answerNext(200, "from the file");
    hold();
    releaseKey();
    advance(9.9);
    EXPECT_EQ(state().recordingState.get(), RecordingState::processing);
    advance(1);
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"from the file"});
}

TEST_F(StreamingDictation, DropsALateTranscript) {
    network().answerNext(200, "first");
    hold();
    releaseKey();
    const auto silent = network().lastSocket();
    advance(11);
    EXPECT_TRUE(silent->isEnded());
    hold();
    releaseKey();
    answer("second");
    settle();
    EXPECT_EQ(pastedTexts(), (std::vector<std::string>{"first", "second"}));
}

TEST_F(StreamingDictation, TranscribesTheFileIfNoSessionOpens) {
    network().failHandshakes(UrlError(UrlError::Code::cannotConnectToHost, "nobody there"));
    network().answerNext(200, "from the file");
    hold();
    EXPECT_EQ(state().recordingState.get(), RecordingState::recording);
    EXPECT_EQ(state().errorMessage.get(), std::nullopt) << "the user sees no message";
    EXPECT_TRUE(printed("startDictation total: "));
    releaseKey();
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"from the file"});
}

TEST_F(StreamingDictation, UsesTheLocalEngineIfThereIsNoNetwork) {
    network().failHandshakes(UrlError(UrlError::Code::notConnectedToInternet, "offline"));
    network().failNext(UrlError::Code::notConnectedToInternet, "offline");
    recognizer().answerWith("words from this machine");
    hold();
    EXPECT_EQ(recognizer().preparations(), 1) << "it loads while the user speaks";
    releaseKey();
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"words from this machine"});
}

TEST_F(StreamingDictation, DoesNotRetryLocallyWithTheStreamingPreference) {
    prefer(Preference::streaming);
    network().failHandshakes(UrlError(UrlError::Code::notConnectedToInternet, "offline"));
    network().failNext(UrlError::Code::notConnectedToInternet, "offline");
    hold();
    EXPECT_EQ(recognizer().preparations(), 0);
    releaseKey();
    settle();
    EXPECT_TRUE(pastedTexts().empty());
    EXPECT_EQ(state().errorMessage.get(), "Transcription failed: Network error: offline");
}

TEST_F(StreamingDictation, SendsTheFileWithTheCloudPreferenceAndOpensNoSocket) {
    prefer(Preference::cloud);
    completeOnboardingAndStart();
    network().answerNext(200, "from the cloud");
    hold();
    releaseKey();
    settle();
    EXPECT_TRUE(network().sockets().empty());
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"from the cloud"});
}

TEST_F(StreamingDictation, ReportsTheServicesRefusal) {
    prefer(Preference::cloud);
    for (const auto& [status, message] : std::vector<std::pair<int, std::string>>{
             {500, "Transcription failed: API error (500): down"},
             {426, "Transcription failed: Please update Son Vale to the latest version."}}) {
        network().answerNext(status, "down");
        hold();
        releaseKey();
        settle();
        EXPECT_EQ(state().errorMessage.get(), message);
        EXPECT_EQ(recordingsLeft(), 0U);
    }
}

TEST_F(StreamingDictation, ContinuesTheStartIfTheKeyIsReleasedMeanwhile) {
    network().holdHandshakes();
    hold();
    EXPECT_EQ(state().recordingState.get(), RecordingState::recording);
    EXPECT_FALSE(printed("startDictation total: "));
    releaseKey();
    EXPECT_EQ(state().recordingState.get(), RecordingState::processing);
    socket().open();
    runtimeSupport().runUntilIdle();
    EXPECT_TRUE(printed("startDictation total: "));
    answer("all of it");
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"all of it"});
    EXPECT_EQ(bytesHeard(), 24576U) << "the speech before the handshake is sent too";
}

TEST_F(StreamingDictation, InsertsAnEmptyTranscriptWithoutAnotherRequest) {
    hold();
    releaseKey();
    answer("");
    settle();
    EXPECT_TRUE(network().requests().empty());
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    EXPECT_EQ(state().errorMessage.get(), std::nullopt);
}

TEST_F(StreamingDictation, CancelRemovesTheRecordingFromTheNextText) {
    hold();
    const auto first = network().lastSocket();
    press(HotkeyAction::cancel);
    release(HotkeyAction::pushToTalk);
    settle();
    EXPECT_TRUE(first->isEnded());
    EXPECT_EQ(recordingsLeft(), 0U);
    EXPECT_EQ(network().sockets().size(), 2U) << "a new session is ready";

    hold();
    releaseKey();
    answer("only this");
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"only this"});
    EXPECT_EQ(bytesHeard(), 24576U);
}

TEST_F(StreamingDictation, KeepsTheFileOfACancelledDictationUntilTheServiceAnswers) {
    network().answerNext(200, "from the file");
    hold();
    releaseKey();
    press(HotkeyAction::cancel);
    hold();
    EXPECT_EQ(recordingsLeft(), 2U);
    press(HotkeyAction::cancel);
    advance(12);
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"from the file"});
    EXPECT_EQ(recordingsLeft(), 0U);
}

TEST_F(StreamingDictation, TranscribesTheFileIfTheConnectionTakesNoAudio) {
    network().answerNext(200, "from the file");
    hold();
    const auto dead = network().lastSocket();
    dead->holdSends();
    speak(1);
    releaseKey();
    advance(4.9);
    EXPECT_EQ(state().recordingState.get(), RecordingState::processing);
    advance(0.1);
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"from the file"});
    EXPECT_FALSE(microphone().isCapturing());
    EXPECT_TRUE(dead->isEnded());
    EXPECT_TRUE(printed("stopDictation → finalize: 5000ms (failed: Network error: "));

    hold();
    releaseKey();
    answer("and a live session");
    settle();
    EXPECT_EQ(pastedTexts().back(), "and a live session");
}

TEST_F(StreamingDictation, TranscribesTheFileIfEscapeEndsAStalledConnection) {
    network().answerNext(200, "from the file");
    hold();
    const auto dead = network().lastSocket();
    dead->holdSends();
    speak(1);
    releaseKey();
    advance(1);
    press(HotkeyAction::cancel);
    EXPECT_FALSE(microphone().isCapturing());
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"from the file"});
    EXPECT_TRUE(dead->isEnded());
    EXPECT_EQ(recordingsLeft(), 0U);
    EXPECT_TRUE(state().transcriptionManager->isStreamReady()) << "the next dictation uses a new session";
}

TEST_F(StreamingDictation, KeepsTheFileOfAStalledDictationDuringAPressAfterEscape) {
    network().answerNext(200, "from the file");
    hold();
    socket().holdSends();
    speak(1);
    releaseKey();
    // Both events arrive before any other task runs.
    runtime::spawn(environment().main,
                   state().handleHotkey(HotkeyAction::cancel, hotkeys::HotkeyEventType::down));
    press(HotkeyAction::pushToTalk);
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"from the file"});
}

TEST_F(StreamingDictation, ClosesAnIdleSessionWhenTheLinkChanges) {
    constexpr platform::NetworkPath office{.isSatisfied = true, .usesWifi = true, .addresses = 1};
    constexpr platform::NetworkPath home{.isSatisfied = true, .usesWifi = true, .addresses = 2};
    completeOnboardingAndStart();
    link().report(office);
    runtimeSupport().runUntilIdle();
    const auto& manager = *state().transcriptionManager;
    EXPECT_TRUE(manager.isStreamReady()) << "the first report is not a change";
    link().report(office);
    runtimeSupport().runUntilIdle();
    EXPECT_TRUE(manager.isStreamReady());

    hold();
    link().report(home);
    speak(0.5);
    EXPECT_TRUE(manager.isStreamReady()) << "a session in use detects the loss itself";
    releaseKey();
    answer("one");
    settle();
    ASSERT_TRUE(manager.isStreamReady());
    const auto former = network().lastSocket();
    link().report(office);
    runtimeSupport().runUntilIdle();
    EXPECT_FALSE(manager.isStreamReady());
    EXPECT_TRUE(former->isEnded());
    hold();
    releaseKey();
    answer("two");
    settle();
    EXPECT_EQ(pastedTexts(), (std::vector<std::string>{"one", "two"}));
}

TEST_F(StreamingDictation, OpensAnotherSessionAfterTheMachineSlept) {
    hold();
    releaseKey();
    answer("before");
    settle();
    const auto former = network().lastSocket();
    clock().sleepThrough(3600);
    hold();
    EXPECT_NE(network().lastSocket(), former);
    releaseKey();
    answer("after");
    settle();
    EXPECT_EQ(pastedTexts(), (std::vector<std::string>{"before", "after"}));
    EXPECT_TRUE(former->isEnded());
}

TEST_F(StreamingDictation, ClosesTheSessionInLocalOnlyMode) {
    completeOnboardingAndStart();
    ASSERT_TRUE(state().transcriptionManager->isStreamReady());
    runtimeSupport().main().post([this] { state().setLocalOnlyMode(true); });
    runtimeSupport().runUntilIdle();
    EXPECT_TRUE(socket().isEnded());
    recognizer().answerWith("local");
    hold();
    releaseKey();
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"local"});
    EXPECT_EQ(network().sockets().size(), 1U);
    EXPECT_TRUE(network().requests().empty());
}

TEST_F(StreamingDictation, EndsWhileItWaitsForTheTextIfTheProgramQuits) {
    hold();
    releaseKey();
    ASSERT_EQ(state().recordingState.get(), RecordingState::processing);
    runtimeSupport().registry().cancelAll();
    runtimeSupport().runUntilIdle();
    advance(0); // also runs the tasks that the endings have started
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    EXPECT_EQ(recordingsLeft(), 0U);
}

TEST_F(StreamingDictation, LogsTheKindOfARefusalAndNotTheAnswerOfTheService) {
    prefer(Preference::cloud);
    network().answerNext(500, "a page of a proxy\nwith the words");
    hold();
    releaseKey();
    settle();
    EXPECT_EQ(state().errorMessage.get(),
              "Transcription failed: API error (500): a page of a proxy\nwith the words");
    const auto isLogged = [this](const std::string& text) {
        return std::ranges::any_of(
            logLines, [&](const auto& line) { return line.text.find(text) != std::string::npos; });
    };
    EXPECT_TRUE(isLogged("Transcription failed: apiError (500)"));
    EXPECT_FALSE(isLogged("proxy"));
    EXPECT_FALSE(isLogged("with the words"));
}

TEST_F(StreamingDictation, OpensNoSessionWithoutAMicrophone) {
    microphone().setFormat({});
    completeOnboardingAndStart();
    EXPECT_TRUE(network().sockets().empty());
}

} // namespace sonvale::core
