#pragma once

#include "base/Log.h"
#include "core/AppState.h"
#include "persistence/ModelContainer.h"
#include "persistence/Records.h"
#include "persistence/SettingsKeys.h"
#include "tests/fakes/FakeAccessibilityTree.h"
#include "tests/fakes/FakeApplication.h"
#include "tests/fakes/FakeAudioEngine.h"
#include "tests/fakes/FakeAudioFiles.h"
#include "tests/fakes/FakeCaptureAuthorization.h"
#include "tests/fakes/FakeEventTap.h"
#include "tests/fakes/FakeFloatingPanel.h"
#include "tests/fakes/FakeLoginItem.h"
#include "tests/fakes/FakeMediaPlayers.h"
#include "tests/fakes/FakeNativeKeys.h"
#include "tests/fakes/FakePasteboard.h"
#include "tests/fakes/FakePathMonitor.h"
#include "tests/fakes/FakeSampleRateConverters.h"
#include "tests/fakes/FakeSecureRandom.h"
#include "tests/fakes/FakeSessionLock.h"
#include "tests/fakes/FakeSpeechRecognizers.h"
#include "tests/fakes/FakeSyntheticInput.h"
#include "tests/fakes/FakeUpdater.h"
#include "tests/fakes/FakeUrlSessions.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TestRuntime.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace sonvale::tests {

/// A whole core with fakes of the operating system, on the manual clock. Settings, audit log and recordings
/// are real files in a folder of the test; the store is a real one in memory.
class CoreFixture : public ::testing::Test {
protected:
    CoreFixture();
    ~CoreFixture() override;

    core::AppState& state() { return *state_; }
    TestRuntime& runtimeSupport() { return runtime_; }
    runtime::ManualClock& clock() { return runtime_.clock(); }
    persistence::Settings& settings() { return *settings_; }
    FakeEventTap::Control& tap() { return tap_.control(); }
    FakeMicrophone& microphone() { return engines_.control(); }
    FakePasteboard::Control& pasteboard() { return pasteboard_.control(); }
    FakeSyntheticInput::Control& input() { return input_.control(); }
    FakeWorkspace::Control& workspace() { return workspace_.control(); }
    FakeAccessibilityTree::Control& accessibility() { return accessibility_.control(); }
    FakeCaptureAuthorization::Control& capture() { return capture_.control(); }
    FakeSpeechRecognizers::Control& recognizer() { return recognizers_.control(); }
    FakeUrlSessions::Control& network() { return urlSessions_.control(); }
    FakeMediaPlayers::Control& players() { return players_.control(); }
    FakeSessionLock::Control& sessionLock() { return sessionLock_.control(); }
    FakePathMonitor::Control& link() { return pathMonitor_.control(); }
    FakeFloatingPanel& panel() { return panel_; }
    FakeApplication& application() { return application_; }
    FakeLoginItem::Control& loginItem() { return loginItem_.control(); }
    FakeUpdater::Control& updater() { return updater_.control(); }

    /// Whether the desktop itself uses modifiers alone. Applies to the next `rebuildState()`.
    bool areModifiersShared = false;

    /// The addresses of the service; without a key no user is signed in. Applies to the next
    /// `rebuildState()`.
    services::ServiceAddresses addresses;

    /// Returns the environment for another core that a test creates.
    core::Environment environment();

    /// Builds the controller again from the present settings, as a new start of the program does.
    void rebuildState();
    void dropState() { state_.reset(); }
    void completeOnboardingAndStart();

    /// Delivers one event of a hotkey, as the listener does.
    void press(hotkeys::HotkeyAction action) { deliver(action, hotkeys::HotkeyEventType::down); }
    void release(hotkeys::HotkeyAction action) { deliver(action, hotkeys::HotkeyEventType::up); }

    void deliver(hotkeys::HotkeyAction action, hotkeys::HotkeyEventType event);

    /// Captures speech of this loudness for `seconds`; the clock advances with it.
    void speak(double seconds, float loudness = 0.1F);
    void advance(double seconds) { runtime_.clock().advance(seconds); }
    /// Advances the clock by a second, so that running tasks end.
    void settle() { advance(1); }
    /// Makes a whole push-to-talk dictation.
    void dictate(const std::string& text);

    /// Returns the texts that the application in front has pasted so far.
    const std::vector<std::string>& pastedTexts() const { return pasted_; }
    std::vector<persistence::Transcription> history();
    std::vector<std::string> auditLines();
    bool auditHas(const std::string& event, const std::string& resource, const std::string& details = "");
    std::size_t recordingsLeft() const;

    std::vector<std::string> systemLines; ///< lines of the system log
    std::vector<std::string> perfLines;   ///< timing lines
    std::vector<base::LogLine> logLines;  ///< lines of the platform logger
    bool systemHas(const std::string& line) const;

    /// The effects on the user and the machine, in order: "state recording", "show processing", "hide",
    /// "media", "error: ..." or "no error", "pre-warm", "session closed", "[PERF] ..." without its time.
    std::vector<std::string> sequence;

private:
    void note(std::string what) { sequence.push_back(std::move(what)); }
    void notePerf(const std::string& line);
    void noteLog(const base::LogLine& line);
    void observeState();

    TemporaryDirectory directory_;
    TestRuntime runtime_;
    base::LogSinks previousSinks_;
    std::unique_ptr<persistence::Settings> settings_;
    std::unique_ptr<persistence::AuditLogger> auditLogger_;
    std::unique_ptr<persistence::ModelContainer> store_;

    FakeEventTap tap_;
    FakeSyntheticInput input_;
    FakePasteboard pasteboard_;
    FakeWorkspace workspace_;
    FakeAccessibilityTree accessibility_;
    FakeAudioEngines engines_;
    FakeAudioFiles audioFiles_;
    FakeCaptureAuthorization capture_;
    FakeSpeechRecognizers recognizers_;
    FakeSampleRateConverters converters_;
    FakeSecureRandom random_;
    FakeUrlSessions urlSessions_;
    FakeSessionLock sessionLock_;
    FakePathMonitor pathMonitor_;
    FakeMediaPlayers players_;
    FakeFloatingPanel panel_;
    FakeApplication application_;
    FakeNativeKeys nativeKeys_;
    FakeLoginItem loginItem_;
    FakeUpdater updater_;

    std::vector<std::string> pasted_;
    std::shared_ptr<core::AppState> state_;
    std::vector<base::Subscription> subscriptions_;
};

} // namespace sonvale::tests
