#include "services/PermissionsManager.h"

#include "tests/fakes/FakeAccessibilityTree.h"
#include "tests/fakes/FakeCaptureAuthorization.h"
#include "tests/fakes/FakeEventTap.h"
#include "tests/fakes/FakeSpeechRecognizers.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestRuntime.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace sonvale::services {

namespace {

using platform::CaptureStatus;
using platform::RecordPermission;
using platform::SpeechAuthorization;
using Texts = std::vector<std::string>;

/// Calls back on the main actor between the end of a sleep and the sleeper's next step.
class InterveningClock final : public runtime::Clock {
public:
    InterveningClock(runtime::ManualClock& clock, runtime::Actor main)
        : clock_(clock)
        , main_(std::move(main)) {}

    double now() const override { return clock_.now(); }
    double secondsAsleep() const override { return clock_.secondsAsleep(); }
    runtime::Date date() const override { return clock_.date(); }
    TimerId schedule(double seconds, std::function<void()> due) override {
        return clock_.schedule(seconds, [this, due = std::move(due)] {
            if (auto action = std::exchange(whileTheSleeperWakes, {}))
                main_.post(std::move(action));
            due();
        });
    }
    bool cancel(TimerId timer) override { return clock_.cancel(timer); }

    std::function<void()> whileTheSleeperWakes; ///< called once

private:
    runtime::ManualClock& clock_;
    const runtime::Actor main_;
};

class PermissionsManagerTest : public testing::Test {
protected:
    PermissionsManagerTest() {
        capture.setStatus(CaptureStatus::notDetermined);
        accessibility.setTrusted(false);
        tap.setPermitted(false);
        speech.setAuthorization(SpeechAuthorization::notDetermined);
        manager->onPermissionGranted = [this] { ++reports; };
    }

    std::shared_ptr<PermissionsManager> make() {
        return std::make_shared<PermissionsManager>(PermissionsManager::Parts{
            .main = runtime.main(),
            .pool = pool,
            .clock = clock,
            .captureAuthorization = captureAuthorization,
            .accessibilityTree = accessibilityTree,
            .eventTap = eventTap,
            .speechRecognizers = speechRecognizers,
            .workspace = workspace,
            .requestSpeechAuthorization =
                [this] {
                    return runtime::suspend<SpeechAuthorization>(
                        [this](runtime::Continuation<SpeechAuthorization> asked) { prompt.emplace(asked); });
                },
        });
    }

    /// Requests the microphone and waits for the system's answer.
    void requestMicrophone() {
        manager->requestMicrophoneWithPolling();
        runtime.runUntilIdle();
    }
    void advance(double seconds) { runtime.clock().advance(seconds); }
    bool isPolling() { return runtime.clock().pending() > 0; }
    const Texts& pages() { return workspace.control().opened(); }

    tests::LogCapture log;
    tests::TestRuntime runtime;
    runtime::Actor pool = runtime.makeSerialActor("pool");
    InterveningClock clock{runtime.clock(), runtime.main()};

    tests::FakeCaptureAuthorization captureAuthorization;
    tests::FakeAccessibilityTree accessibilityTree;
    tests::FakeEventTap eventTap;
    tests::FakeSpeechRecognizers speechRecognizers;
    tests::FakeWorkspace workspace;
    tests::FakeCaptureAuthorization::Control& capture = captureAuthorization.control();
    tests::FakeAccessibilityTree::Control& accessibility = accessibilityTree.control();
    tests::FakeEventTap::Control& tap = eventTap.control();
    tests::FakeSpeechRecognizers::Control& speech = speechRecognizers.control();

    std::optional<runtime::Continuation<SpeechAuthorization>>
        prompt;      ///< the recognizer's prompt, after it was requested
    int reports = 0; ///< number of reported permissions
    std::shared_ptr<PermissionsManager> manager = make();
};

const Texts microphonePage{"x-apple.systempreferences:com.apple.preference.security?Privacy_Microphone"};
const Texts speechPage{"x-apple.systempreferences:com.apple.preference.security?Privacy_SpeechRecognition"};
const Texts listeningPage{"x-apple.systempreferences:com.apple.preference.security?Privacy_ListenEvent"};

} // namespace

// Tests of the checks.

TEST_F(PermissionsManagerTest, HasNoPermissionsBeforeItsChecks) {
    EXPECT_FALSE(*manager->microphoneGranted);
    EXPECT_FALSE(*manager->accessibilityGranted);
    EXPECT_FALSE(*manager->inputMonitoringGranted);
    EXPECT_FALSE(*manager->speechRecognitionGranted);
}

TEST_F(PermissionsManagerTest, ReadsAllFourInTheirOrderAndLogsTheRefusals) {
    manager->refresh();
    EXPECT_EQ(log.system(), (Texts{
                                "checkMicrophone() — AVCaptureDevice status: 0, AVAudioApplication "
                                "recordPermission: 1970168948",
                                "checkAccessibility() — false",
                                "checkInputMonitoring() — false",
                                "checkSpeechRecognition() — false",
                            }));
    EXPECT_FALSE(*manager->microphoneGranted);
    EXPECT_FALSE(*manager->accessibilityGranted);
    EXPECT_FALSE(*manager->inputMonitoringGranted);
    EXPECT_FALSE(*manager->speechRecognitionGranted);
}

TEST_F(PermissionsManagerTest, ReadsAllFourInTheirOrderAndLogsThePermissions) {
    capture.setStatus(CaptureStatus::authorized);
    capture.setRecordPermission(RecordPermission::granted);
    accessibility.setTrusted(true);
    tap.setPermitted(true);
    speech.setAuthorization(SpeechAuthorization::authorized);
    manager->refresh();
    EXPECT_EQ(log.system(), (Texts{
                                "checkMicrophone() — AVCaptureDevice status: 3, AVAudioApplication "
                                "recordPermission: 1735552628",
                                "checkAccessibility() — true",
                                "checkInputMonitoring() — true",
                                "checkSpeechRecognition() — true",
                            }));
    EXPECT_TRUE(*manager->microphoneGranted);
    EXPECT_TRUE(*manager->accessibilityGranted);
    EXPECT_TRUE(*manager->inputMonitoringGranted);
    EXPECT_TRUE(*manager->speechRecognitionGranted);
}

TEST_F(PermissionsManagerTest, AcceptsTheAuthorizedStatusOnly) {
    for (const auto status :
         {CaptureStatus::notDetermined, CaptureStatus::restricted, CaptureStatus::denied}) {
        manager->microphoneGranted = true;
        capture.setStatus(status);
        manager->checkMicrophone();
        EXPECT_FALSE(*manager->microphoneGranted);
    }
    for (const auto status :
         {SpeechAuthorization::notDetermined, SpeechAuthorization::restricted, SpeechAuthorization::denied}) {
        manager->speechRecognitionGranted = true;
        speech.setAuthorization(status);
        manager->checkSpeechRecognition();
        EXPECT_FALSE(*manager->speechRecognitionGranted);
    }
}

TEST_F(PermissionsManagerTest, EitherRecordOfTheMicrophoneIsSufficient) {
    for (const auto status :
         {CaptureStatus::notDetermined, CaptureStatus::restricted, CaptureStatus::denied}) {
        manager->microphoneGranted = false;
        capture.setStatus(status);
        capture.setRecordPermission(RecordPermission::granted);
        manager->checkMicrophone();
        EXPECT_TRUE(*manager->microphoneGranted);
    }
    capture.setStatus(CaptureStatus::authorized);
    capture.setRecordPermission(RecordPermission::denied);
    manager->checkMicrophone();
    EXPECT_TRUE(*manager->microphoneGranted);
}

TEST_F(PermissionsManagerTest, NotifiesItsObserversOfChangesOnly) {
    int heard = 0;
    const auto subscription = manager->accessibilityGranted.subscribe([&](bool) { ++heard; });
    manager->checkAccessibility();
    EXPECT_EQ(heard, 0);
    accessibility.setTrusted(true);
    manager->checkAccessibility();
    manager->checkAccessibility();
    EXPECT_EQ(heard, 1);
}

TEST_F(PermissionsManagerTest, NoticesARevokedPermission) {
    accessibility.setTrusted(true);
    manager->checkAccessibility();
    accessibility.setTrusted(false);
    manager->checkAccessibility();
    EXPECT_FALSE(*manager->accessibilityGranted);
}

TEST_F(PermissionsManagerTest, DoesNotReportACheckAsAnAnswer) {
    capture.setStatus(CaptureStatus::authorized);
    accessibility.setTrusted(true);
    tap.setPermitted(true);
    speech.setAuthorization(SpeechAuthorization::authorized);
    manager->refresh();
    EXPECT_EQ(reports, 0);
}

// Tests of the request for the microphone.

TEST_F(PermissionsManagerTest, LogsTheStatusOfEachRequestForTheMicrophone) {
    capture.showPrompt();
    for (const int status : {0, 1, 2, 3}) {
        capture.setStatus(static_cast<CaptureStatus>(status));
        requestMicrophone();
        EXPECT_EQ(log.system().back(), "requestMicrophoneWithPolling() — status: " + std::to_string(status) +
                                           " (0=notDetermined, 1=restricted, 2=denied, 3=authorized)");
    }
}

TEST_F(PermissionsManagerTest, ReportsAMicrophoneThatIsAlreadyAllowed) {
    capture.setStatus(CaptureStatus::authorized);
    requestMicrophone();
    EXPECT_TRUE(*manager->microphoneGranted);
    EXPECT_EQ(reports, 1);
    EXPECT_EQ(capture.requests(), 0);
    EXPECT_TRUE(pages().empty());
    EXPECT_FALSE(isPolling());
}

TEST_F(PermissionsManagerTest, RequestsAnUndecidedMicrophoneAndReportsThePermission) {
    capture.showPrompt();
    requestMicrophone();
    EXPECT_EQ(capture.requests(), 1);
    EXPECT_FALSE(isPolling());

    std::thread([this] { capture.answer(true); }).join();
    EXPECT_FALSE(*manager->microphoneGranted) << "written on the main actor only";
    runtime.runUntilIdle();
    EXPECT_TRUE(*manager->microphoneGranted);
    EXPECT_EQ(reports, 1);
    EXPECT_EQ(log.system().back(), "AVAudioApplication.requestRecordPermission result: true");
    EXPECT_TRUE(pages().empty());
    EXPECT_FALSE(isPolling());
}

TEST_F(PermissionsManagerTest, OpensTheMicrophonePageOnlyIfTheRequestIsRefused) {
    capture.showPrompt();
    manager->microphoneGranted = true;
    requestMicrophone();
    runtime.runUntilIdle();
    EXPECT_TRUE(pages().empty());

    capture.answer(false);
    runtime.runUntilIdle();
    EXPECT_EQ(log.system().back(), "AVAudioApplication.requestRecordPermission result: false");
    EXPECT_FALSE(*manager->microphoneGranted);
    EXPECT_EQ(pages(), microphonePage);
    EXPECT_EQ(reports, 0);

    capture.setStatus(CaptureStatus::authorized);
    advance(1);
    EXPECT_TRUE(*manager->microphoneGranted);
    EXPECT_EQ(reports, 1);
}

TEST_F(PermissionsManagerTest, OpensTheMicrophonePageAtOnceIfItWasRefusedBefore) {
    for (const auto status : {CaptureStatus::denied, CaptureStatus::restricted}) {
        capture.setStatus(status);
        requestMicrophone();
        EXPECT_EQ(pages().back(), microphonePage.front());
        EXPECT_EQ(capture.requests(), 0) << "no prompt";
        runtime.runUntilIdle();
        EXPECT_TRUE(isPolling());
    }
    EXPECT_EQ(pages().size(), 2);
    EXPECT_EQ(reports, 0);
}

TEST_F(PermissionsManagerTest, IgnoresAnAnswerAfterItsDestruction) {
    capture.showPrompt();
    requestMicrophone();
    manager.reset();
    capture.answer(false);
    runtime.runUntilIdle();
    EXPECT_TRUE(pages().empty());
    EXPECT_FALSE(isPolling());
}

TEST_F(PermissionsManagerTest, ThePollForTheMicrophoneReadsBothRecords) {
    capture.setStatus(CaptureStatus::denied);
    requestMicrophone();
    advance(2);
    EXPECT_EQ(reports, 0);
    capture.setRecordPermission(RecordPermission::granted);
    advance(1);
    EXPECT_TRUE(*manager->microphoneGranted);
    EXPECT_EQ(reports, 1);
}

TEST_F(PermissionsManagerTest, NeverReadsTheMicrophoneOnTheMainActorForARequest) {
    std::vector<bool> isOnPool;
    capture.setOnStatus([&] { isOnPool.push_back(pool.isCurrent()); });
    for (const auto status : {CaptureStatus::denied, CaptureStatus::notDetermined}) {
        capture.setStatus(status);
        manager->requestMicrophoneWithPolling();
        EXPECT_TRUE(isOnPool.empty()) << "returns before the system is asked";
        runtime.runUntilIdle();
        advance(2);
        EXPECT_EQ(isOnPool, (std::vector<bool>{true, true, true}));
        isOnPool.clear();
    }
}

TEST_F(PermissionsManagerTest, RequestsTheMicrophoneOnceUntilTheSystemAnswers) {
    capture.showPrompt();
    manager->requestMicrophoneWithPolling();
    manager->requestMicrophoneWithPolling();
    runtime.runUntilIdle();
    EXPECT_EQ(capture.requests(), 1);
    requestMicrophone();
    EXPECT_EQ(capture.requests(), 2);
}

TEST_F(PermissionsManagerTest, ChecksLaterWithoutReadingTheMicrophoneOnTheMainActor) {
    capture.setStatus(CaptureStatus::authorized);
    std::vector<bool> isOnPool;
    capture.setOnStatus([&] { isOnPool.push_back(pool.isCurrent()); });
    manager->checkMicrophoneLater();
    EXPECT_TRUE(log.system().empty());
    runtime.runUntilIdle();
    const std::string line =
        "checkMicrophone() — AVCaptureDevice status: 3, AVAudioApplication recordPermission: 1970168948";
    EXPECT_EQ(log.system(), Texts{line});
    EXPECT_TRUE(*manager->microphoneGranted);

    manager->refreshLater();
    runtime.runUntilIdle();
    EXPECT_EQ(log.system(), (Texts{line, line, "checkAccessibility() — false",
                                   "checkInputMonitoring() — false", "checkSpeechRecognition() — false"}));
    EXPECT_EQ(isOnPool, (std::vector<bool>{true, true}));
    EXPECT_EQ(reports, 0);
}

TEST_F(PermissionsManagerTest, MayBeDestroyedDuringACheckOrARequest) {
    manager->refreshLater();
    manager->requestMicrophoneWithPolling();
    manager.reset();
    runtime.runUntilIdle();
    EXPECT_EQ(capture.queries(), 0);
    EXPECT_TRUE(log.system().empty());
}

// Tests of the request for the recognizer.

TEST_F(PermissionsManagerTest, RequestsAnUndecidedRecognizer) {
    manager->requestSpeechRecognitionWithPolling();
    EXPECT_FALSE(prompt) << "in a task of its own";
    runtime.runUntilIdle();
    ASSERT_TRUE(prompt);
    EXPECT_FALSE(*manager->speechRecognitionGranted);

    prompt->resume(SpeechAuthorization::authorized);
    runtime.runUntilIdle();
    EXPECT_TRUE(*manager->speechRecognitionGranted);
    EXPECT_EQ(reports, 1);
    EXPECT_TRUE(pages().empty());
    EXPECT_FALSE(isPolling());
}

TEST_F(PermissionsManagerTest, AcceptsNoOtherAnswerForTheRecognizer) {
    for (const auto answer :
         {SpeechAuthorization::notDetermined, SpeechAuthorization::denied, SpeechAuthorization::restricted}) {
        manager->speechRecognitionGranted = true;
        manager->requestSpeechRecognitionWithPolling();
        runtime.runUntilIdle();
        prompt->resume(answer);
        runtime.runUntilIdle();
        EXPECT_FALSE(*manager->speechRecognitionGranted);
    }
    EXPECT_EQ(reports, 0);
    EXPECT_TRUE(pages().empty());
    EXPECT_FALSE(isPolling());
}

TEST_F(PermissionsManagerTest, OpensThePageOfADecidedRecognizerAndPolls) {
    for (const auto status :
         {SpeechAuthorization::denied, SpeechAuthorization::restricted, SpeechAuthorization::authorized}) {
        speech.setAuthorization(status);
        manager->requestSpeechRecognitionWithPolling();
        EXPECT_EQ(pages().back(), speechPage.front());
    }
    EXPECT_EQ(pages().size(), 3);
    EXPECT_EQ(reports, 0);
    advance(1);
    EXPECT_TRUE(*manager->speechRecognitionGranted);
    EXPECT_EQ(reports, 1);
    EXPECT_EQ(log.system(), Texts{"checkSpeechRecognition() — true"});
    EXPECT_FALSE(prompt);
}

TEST_F(PermissionsManagerTest, MayBeDestroyedDuringTheRequestForTheRecognizer) {
    manager->requestSpeechRecognitionWithPolling();
    runtime.runUntilIdle();
    const std::weak_ptr<PermissionsManager> weak = manager;
    manager.reset();
    EXPECT_TRUE(weak.expired());
    prompt->resume(SpeechAuthorization::authorized);
    runtime.runUntilIdle();
    EXPECT_EQ(reports, 0);
}

// Tests of accessibility and input monitoring.

TEST_F(PermissionsManagerTest, TheRequestForAccessibilityOnlyStoresTheAnswer) {
    manager->requestAccessibilityPrompt();
    EXPECT_EQ(accessibility.prompts(), 1);
    EXPECT_FALSE(*manager->accessibilityGranted);
    accessibility.setTrusted(true);
    manager->requestAccessibilityPrompt();
    EXPECT_TRUE(*manager->accessibilityGranted);
    runtime.runUntilIdle();
    EXPECT_EQ(reports, 0);
    EXPECT_FALSE(isPolling());
    EXPECT_TRUE(pages().empty());
}

TEST_F(PermissionsManagerTest, ReportsAPermissionThatIsThereWithoutAPoll) {
    accessibility.setTrusted(true);
    manager->pollAccessibility();
    EXPECT_TRUE(*manager->accessibilityGranted);
    EXPECT_EQ(reports, 1);
    tap.setPermitted(true);
    manager->pollInputMonitoring();
    EXPECT_TRUE(*manager->inputMonitoringGranted);
    EXPECT_EQ(reports, 2);
    runtime.runUntilIdle();
    EXPECT_FALSE(isPolling());
    EXPECT_TRUE(pages().empty());
}

TEST_F(PermissionsManagerTest, TriesToListenBeforeItOpensThePage) {
    tap.setPermitted(true);
    std::vector<std::size_t> openedBefore;
    tap.setOnProbe([&] { openedBefore.push_back(pages().size()); });
    manager->openInputMonitoringAndPoll();
    EXPECT_EQ(openedBefore, std::vector<std::size_t>{0});
    EXPECT_EQ(pages(), listeningPage);
    EXPECT_FALSE(*manager->inputMonitoringGranted) << "the first answer is discarded";
    EXPECT_EQ(reports, 0);
    advance(1);
    EXPECT_TRUE(*manager->inputMonitoringGranted);
    EXPECT_EQ(reports, 1);
}

TEST_F(PermissionsManagerTest, ThePollTriesToListenOffTheMainActor) {
    std::vector<bool> isOnPool;
    tap.setOnProbe([&] { isOnPool.push_back(pool.isCurrent()); });
    bool isWrittenOnPool = false;
    const auto subscription =
        manager->inputMonitoringGranted.subscribe([&](bool) { isWrittenOnPool = pool.isCurrent(); });
    manager->pollInputMonitoring();
    advance(1);
    tap.setPermitted(true);
    advance(1);
    EXPECT_EQ(isOnPool, (std::vector<bool>{false, true, true}));
    EXPECT_TRUE(*manager->inputMonitoringGranted);
    EXPECT_FALSE(isWrittenOnPool);
    EXPECT_EQ(log.system(), (Texts{"checkInputMonitoring() — false", "checkInputMonitoring() — false",
                                   "checkInputMonitoring() — true"}));
}

// Tests of the poll.

TEST_F(PermissionsManagerTest, APollThatFindsThePermissionAtTheThirdSecondReportsItOnce) {
    int heard = 0;
    const auto subscription = manager->accessibilityGranted.subscribe([&](bool) { ++heard; });
    manager->pollAccessibility();
    advance(2.5);
    EXPECT_EQ(accessibility.questions(), 3);
    accessibility.setTrusted(true);
    advance(0.4);
    EXPECT_EQ(reports, 0);
    advance(0.1);
    EXPECT_EQ(reports, 1);
    EXPECT_EQ(heard, 1);
    advance(100);
    EXPECT_EQ(reports, 1);
    EXPECT_EQ(accessibility.questions(), 4);
    EXPECT_FALSE(isPolling());
}

TEST_F(PermissionsManagerTest, TheSixtiethCheckOfAPollStillFindsThePermission) {
    manager->pollAccessibility();
    advance(59.5);
    accessibility.setTrusted(true);
    advance(0.5);
    EXPECT_TRUE(*manager->accessibilityGranted);
    EXPECT_EQ(reports, 1);
}

TEST_F(PermissionsManagerTest, IgnoresAPermissionAfterTheSixtiethCheck) {
    manager->pollAccessibility();
    advance(60);
    EXPECT_EQ(accessibility.questions(), 61);
    EXPECT_FALSE(isPolling());
    const auto lines = log.system().size();
    accessibility.setTrusted(true);
    advance(100);
    EXPECT_EQ(accessibility.questions(), 61);
    EXPECT_FALSE(*manager->accessibilityGranted);
    EXPECT_EQ(reports, 0);
    EXPECT_EQ(log.system().size(), lines) << "it ends without a word";

    manager->pollAccessibility();
    EXPECT_EQ(reports, 1) << "only a new request notices it";
}

TEST_F(PermissionsManagerTest, ThePollForTheMicrophoneReplacesThePollForAccessibility) {
    capture.setStatus(CaptureStatus::denied);
    manager->pollAccessibility();
    advance(1.5);
    requestMicrophone();
    accessibility.setTrusted(true);
    advance(10);
    EXPECT_EQ(accessibility.questions(), 2);
    EXPECT_FALSE(*manager->accessibilityGranted);
    EXPECT_EQ(reports, 0);

    capture.setStatus(CaptureStatus::authorized);
    advance(1);
    EXPECT_TRUE(*manager->microphoneGranted);
    EXPECT_EQ(reports, 1);
}

TEST_F(PermissionsManagerTest, ANewPollLastsAWholeMinute) {
    manager->pollAccessibility();
    advance(45.5);
    manager->pollAccessibility();
    advance(59);
    accessibility.setTrusted(true);
    EXPECT_EQ(reports, 0);
    advance(1);
    EXPECT_EQ(reports, 1);
}

TEST_F(PermissionsManagerTest, ACancelledPollDoesNotCheckAgainAfterItsSleep) {
    manager->pollAccessibility();
    clock.whileTheSleeperWakes = [this] { manager->openInputMonitoringAndPoll(); };
    advance(1);
    EXPECT_EQ(pages(), listeningPage);
    EXPECT_EQ(accessibility.questions(), 1);
    advance(1);
    EXPECT_EQ(accessibility.questions(), 1);
    EXPECT_EQ(tap.probeCount(), 2);
}

TEST_F(PermissionsManagerTest, ARunningCheckOfACancelledPollFinishes) {
    manager->pollInputMonitoring();
    tap.setPermitted(true);
    tap.setOnProbe([this] {
        tap.setOnProbe(nullptr);
        manager->pollAccessibility();
    });
    advance(1);
    EXPECT_TRUE(*manager->inputMonitoringGranted);
    EXPECT_EQ(reports, 1);
    advance(1);
    EXPECT_EQ(tap.probeCount(), 2);
    EXPECT_EQ(accessibility.questions(), 2) << "the other poll goes on";
}

TEST_F(PermissionsManagerTest, ACancelledPollEndsAfterAnUnsuccessfulCheck) {
    manager->pollInputMonitoring();
    tap.setOnProbe([this] {
        tap.setOnProbe(nullptr);
        manager->pollAccessibility();
    });
    advance(5);
    EXPECT_EQ(tap.probeCount(), 2);
    EXPECT_EQ(reports, 0);
}

TEST_F(PermissionsManagerTest, APollEndsIfItsSleepIsInterrupted) {
    manager->pollAccessibility();
    advance(1.5);
    runtime.registry().cancelAll();
    runtime.runUntilIdle();
    EXPECT_FALSE(isPolling());
    EXPECT_EQ(runtime.registry().count(), 0);
    accessibility.setTrusted(true);
    advance(10);
    EXPECT_EQ(accessibility.questions(), 2);
    EXPECT_EQ(reports, 0);
}

TEST_F(PermissionsManagerTest, EndsItsPollAtItsDestruction) {
    manager->pollAccessibility();
    advance(1);
    const std::weak_ptr<PermissionsManager> weak = manager;
    manager.reset();
    EXPECT_TRUE(weak.expired()) << "held weakly";
    runtime.runUntilIdle();
    EXPECT_FALSE(isPolling());
    EXPECT_EQ(runtime.registry().count(), 0);
    EXPECT_EQ(accessibility.questions(), 2);
}

TEST_F(PermissionsManagerTest, MayBeDestroyedDuringACheckOfItsPoll) {
    manager->pollInputMonitoring();
    tap.setPermitted(true);
    std::weak_ptr<PermissionsManager> weak = manager;
    tap.setOnProbe([&] {
        manager.reset();
        EXPECT_TRUE(weak.expired());
    });
    advance(10);
    EXPECT_FALSE(manager);
    EXPECT_EQ(tap.probeCount(), 2);
    EXPECT_EQ(reports, 0);

    manager = make();
    capture.setStatus(CaptureStatus::denied);
    requestMicrophone();
    capture.setStatus(CaptureStatus::authorized);
    capture.setOnStatus([this] { manager.reset(); });
    advance(10);
    EXPECT_FALSE(manager);
    EXPECT_EQ(capture.queries(), 2);
}

TEST_F(PermissionsManagerTest, MayBeDestroyedByAReport) {
    manager->onPermissionGranted = [this] {
        ++reports;
        manager.reset();
    };
    manager->pollAccessibility();
    accessibility.setTrusted(true);
    advance(3);
    EXPECT_EQ(reports, 1);
    EXPECT_FALSE(manager);
}

TEST_F(PermissionsManagerTest, PollsWithoutACallback) {
    manager->onPermissionGranted = nullptr;
    manager->pollAccessibility();
    accessibility.setTrusted(true);
    advance(3);
    EXPECT_TRUE(*manager->accessibilityGranted);
    EXPECT_FALSE(isPolling());
}

TEST_F(PermissionsManagerTest, PollsIfNoProgramOpensThePage) {
    workspace.control().setCanOpen(false);
    capture.setStatus(CaptureStatus::denied);
    requestMicrophone();
    EXPECT_TRUE(pages().empty());
    capture.setStatus(CaptureStatus::authorized);
    advance(1);
    EXPECT_EQ(reports, 1);
}

} // namespace sonvale::services
