#include "tests/unit/core/CoreFixture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace sonvale::core {

using tests::CoreFixture;
using transcription::TranscriptionEnginePreference;
namespace keys = persistence::keys;

using StartupTest = CoreFixture;

TEST_F(StartupTest, StartsNoListenerBeforeOnboardingIsComplete) {
    state().setup();
    advance(200);
    EXPECT_EQ(tap().startCount(), 0);
    state().startHotkeysIfReady();
    EXPECT_EQ(systemLines.back(), "[AppState] startHotkeysIfReady() — skipped, onboarding not complete");
}

TEST_F(StartupTest, StartsTheListenerWithTheDefaultHotkeys) {
    completeOnboardingAndStart();
    EXPECT_TRUE(tap().isRunning());
    EXPECT_TRUE(state().hotkeyManager->isEnabled().get());
    EXPECT_TRUE(settings().read(keys::hotkeyBindingsMigrated));
    EXPECT_FALSE(tap().swallowable().empty());
}

TEST_F(StartupTest, StoresThatOnboardingIsComplete) {
    settings().set(keys::onboardingStep, std::int64_t{3});
    completeOnboardingAndStart();
    EXPECT_TRUE(settings().read(keys::isOnboardingComplete));
    EXPECT_FALSE(settings().has("onboardingStep"));
    EXPECT_TRUE(systemHas("[AppState] completeOnboarding() called"));
    EXPECT_TRUE(systemHas("[AppState] Permissions: mic=true a11y=true input=true"));
    EXPECT_TRUE(systemHas("[AppState] setup() — isOnboardingComplete=true"));
    EXPECT_TRUE(systemHas(
        "[AppState] startHotkeysIfReady() — accessibilityGranted=true inputMonitoringGranted=true"));
    EXPECT_TRUE(systemHas("[AppState] startHotkeysIfReady() — hotkeyManager.start() returned true"));
    advance(2);
    EXPECT_TRUE(systemHas("[AppState] Hotkeys started on fast-retry attempt 1"));
    state().startHotkeysIfReady();
    EXPECT_EQ(systemLines.back(),
              "[AppState] startHotkeysIfReady() — hotkeys already running, nothing to do.");
}

TEST_F(StartupTest, FindsALatePermissionAtTheNextFastAttempt) {
    accessibility().setTrusted(false);
    completeOnboardingAndStart();
    EXPECT_TRUE(systemHas("[AppState] startHotkeysIfReady() — waiting for permissions."));
    advance(15);
    EXPECT_EQ(tap().startCount(), 0);
    accessibility().setTrusted(true);
    advance(0.9);
    EXPECT_EQ(tap().startCount(), 0);
    advance(0.2);
    EXPECT_EQ(tap().startCount(), 1);
}

TEST_F(StartupTest, ChecksEveryTenSecondsForTwoMoreMinutes) {
    accessibility().setTrusted(false);
    completeOnboardingAndStart();
    advance(20 + 60.5);
    accessibility().setTrusted(true);
    advance(9);
    EXPECT_EQ(tap().startCount(), 0);
    advance(1);
    EXPECT_EQ(tap().startCount(), 1);
}

TEST_F(StartupTest, StopsAfterTheSlowAttemptsUntilAPermissionIsReported) {
    accessibility().setTrusted(false);
    completeOnboardingAndStart();
    advance(145);
    accessibility().setTrusted(true);
    advance(300);
    EXPECT_EQ(tap().startCount(), 0);
    state().permissionsManager->onPermissionGranted();
    EXPECT_EQ(tap().startCount(), 1);
}

TEST_F(StartupTest, StartsTheListenerWhenAPollFindsThePermission) {
    accessibility().setTrusted(false);
    completeOnboardingAndStart();
    advance(200);
    state().permissionsManager->requestAccessibilityPrompt();
    state().permissionsManager->pollAccessibility();
    advance(2.5);
    EXPECT_FALSE(tap().isRunning());
    accessibility().setTrusted(true);
    advance(0.5);
    EXPECT_TRUE(tap().isRunning());
    EXPECT_FALSE(tap().swallowable().empty());
}

TEST_F(StartupTest, RequestsThePermissionOfTheLocalRecognizer) {
    recognizer().setAuthorization(platform::SpeechAuthorization::notDetermined);
    state().permissionsManager->requestSpeechRecognitionWithPolling();
    recognizer().setAuthorization(platform::SpeechAuthorization::authorized);
    runtimeSupport().runUntilIdle();
    EXPECT_TRUE(state().permissionsManager->speechRecognitionGranted.get());
    EXPECT_TRUE(workspace().opened().empty());
}

TEST_F(StartupTest, TriesARefusedListenerThreeTimesAndThenReportsIt) {
    tap().setStartPermitted(false);
    completeOnboardingAndStart();
    EXPECT_TRUE(systemHas("[AppState] startHotkeysIfReady() — hotkeyManager.start() returned false"));
    advance(2.1);
    EXPECT_TRUE(systemHas("[AppState] startHotkeysIfReady() retry 1 — returned false"));
    EXPECT_FALSE(state().errorMessage.get());
    advance(4);
    EXPECT_TRUE(systemHas("[AppState] startHotkeysIfReady() retry 3 — returned false"));
    EXPECT_EQ(state().errorMessage.get(), "Failed to start hotkey listener. Try restarting the app.");
}

TEST_F(StartupTest, ARetriedListenerGetsItsHotkeys) {
    tap().setStartPermitted(false);
    completeOnboardingAndStart();
    advance(1);
    tap().setStartPermitted(true);
    advance(1.1);
    EXPECT_TRUE(tap().isRunning());
    EXPECT_FALSE(tap().swallowable().empty());
    EXPECT_FALSE(state().errorMessage.get());
}

TEST_F(StartupTest, ReportsOnceThatAnotherProgramUsesAHotkey) {
    completeOnboardingAndStart();
    tap().take({49, platform::modifier::option});
    runtimeSupport().runUntilIdle();
    EXPECT_EQ(state().errorMessage.get(), "Option + Space is used by another program.");

    int changes = 0;
    const auto subscription = state().errorMessage.subscribe([&](const auto&) { ++changes; });
    tap().take({49, platform::modifier::option});
    runtimeSupport().runUntilIdle();
    EXPECT_EQ(changes, 0) << "it has been reported already";
    tap().take({24, platform::modifier::option});
    runtimeSupport().runUntilIdle();
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(state().errorMessage.get(), "Option + = is used by another program.");
}

TEST_F(StartupTest, EndsTheRetriesSilentlyIfAPermissionIsWithdrawn) {
    tap().setStartPermitted(false);
    completeOnboardingAndStart();
    advance(2.1); // the slow start has tried too, and has its own retries
    const auto starts = tap().startCount();
    accessibility().setTrusted(false);
    advance(300);
    EXPECT_EQ(tap().startCount(), starts);
    EXPECT_EQ(state().errorMessage.get(), std::nullopt);
    EXPECT_FALSE(state().hotkeyManager->isEnabled().get());
}

TEST_F(StartupTest, RunsItsOwnAttemptsForEachSetup) {
    accessibility().setTrusted(false);
    completeOnboardingAndStart();
    advance(1);
    runtimeSupport().main().post([this] { state().setup(); });
    runtimeSupport().runUntilIdle();
    systemLines.clear();
    advance(4); // attempts at 2 and 4 s of the first, 3 and 5 s of the second
    EXPECT_EQ(std::ranges::count(systemLines, "[AppState] startHotkeysIfReady() — waiting for permissions."),
              4);
    accessibility().setTrusted(true);
    advance(3); // the attempt at 6 s starts the listener; the attempts at 7 and 8 s find it
    EXPECT_EQ(tap().startCount(), 1);
    EXPECT_TRUE(systemHas("[AppState] Hotkeys started on fast-retry attempt 3"));
    EXPECT_TRUE(systemHas("[AppState] Hotkeys started on fast-retry attempt 4"));
    systemLines.clear();
    advance(200);
    EXPECT_TRUE(systemLines.empty()) << "both have ended";
}

TEST_F(StartupTest, MakesItsAttemptsAtOnceIfItsSleepsAreCancelled) {
    accessibility().setTrusted(false);
    completeOnboardingAndStart();
    systemLines.clear();
    runtimeSupport().registry().cancelAll();
    runtimeSupport().runUntilIdle();
    EXPECT_EQ(std::ranges::count(systemLines, "[AppState] startHotkeysIfReady() — waiting for permissions."),
              10 + 12);
    EXPECT_EQ(runtimeSupport().registry().count(), 0U);
    EXPECT_EQ(clock().pending(), 0U);
}

TEST_F(StartupTest, FollowsTheDockSetting) {
    state().setup();
    EXPECT_EQ(application().policy(), platform::ActivationPolicy::regular);
    settings().set(keys::showInDock, false);
    state().setup();
    EXPECT_EQ(application().policy(), platform::ActivationPolicy::accessory);
}

TEST_F(StartupTest, UsesTheStoredEngineAndHybridForAnyOtherValue) {
    EXPECT_EQ(state().transcriptionManager->preferredEngine.get(), TranscriptionEnginePreference::hybrid);
    settings().set(keys::transcriptionEngine, std::string("cloud"));
    rebuildState();
    EXPECT_EQ(state().transcriptionManager->preferredEngine.get(), TranscriptionEnginePreference::cloud);
    settings().set(keys::transcriptionEngine, std::string("Cloud"));
    rebuildState();
    EXPECT_EQ(state().transcriptionManager->preferredEngine.get(), TranscriptionEnginePreference::hybrid);
}

TEST_F(StartupTest, LocalOnlyModeForcesTheLocalEngineWithoutWritingItBack) {
    settings().set(keys::transcriptionEngine, std::string("streaming"));
    settings().set(keys::localOnlyMode, true);
    rebuildState();
    EXPECT_EQ(state().transcriptionManager->preferredEngine.get(), TranscriptionEnginePreference::local);
    EXPECT_EQ(settings().stored(keys::transcriptionEngine), "streaming");
}

TEST_F(StartupTest, LocalOnlyModeReturnsToTheChosenEngine) {
    settings().set(keys::transcriptionEngine, std::string("streaming"));
    rebuildState();
    state().setLocalOnlyMode(true);
    EXPECT_EQ(settings().stored(keys::engineBeforeLocalOnly), "streaming");
    EXPECT_EQ(settings().stored(keys::transcriptionEngine), "local");
    EXPECT_EQ(state().transcriptionManager->preferredEngine.get(), TranscriptionEnginePreference::local);

    state().setLocalOnlyMode(false);
    EXPECT_FALSE(settings().stored(keys::engineBeforeLocalOnly));
    EXPECT_EQ(settings().stored(keys::transcriptionEngine), "streaming");
    EXPECT_EQ(state().transcriptionManager->preferredEngine.get(), TranscriptionEnginePreference::streaming);
}

TEST_F(StartupTest, LeavesLocalOnlyModeForHybridIfThePreviousEngineIsUnknown) {
    settings().set(keys::engineBeforeLocalOnly, std::string("turbo"));
    state().setLocalOnlyMode(false);
    EXPECT_EQ(state().transcriptionManager->preferredEngine.get(), TranscriptionEnginePreference::hybrid);
    EXPECT_EQ(settings().stored(keys::transcriptionEngine), "hybrid");
}

TEST_F(StartupTest, RegistersItsDefaults) {
    EXPECT_TRUE(settings().read(keys::pauseAudioDuringDictation));
    EXPECT_TRUE(settings().read(keys::showInDock));
    EXPECT_FALSE(settings().read(keys::privacyModeEnabled));
    EXPECT_FALSE(settings().read(keys::localOnlyMode));
    EXPECT_TRUE(settings().read(keys::aiProcessingEnabled));
}

} // namespace sonvale::core
