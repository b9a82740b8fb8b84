#pragma once

#include "audio/AudioRecorder.h"
#include "base/Observed.h"
#include "core/Environment.h"
#include "hotkeys/HotkeyManager.h"
#include "insertion/TextInserter.h"
#include "persistence/ModelContext.h"
#include "platform/RecordingState.h"
#include "services/AuthService.h"
#include "services/PermissionsManager.h"
#include "textprocessing/ContextBuilder.h"
#include "textprocessing/PostProcessor.h"
#include "transcription/TranscriptionManager.h"

#include <memory>
#include <optional>
#include <string>

namespace sonvale::core {

using platform::RecordingState;

/// The one controller of dictation, and the state that every view reads.
///
/// Lives on the main actor: every operation is called there and every observed field changes there. No
/// operation hands an error to its caller; a failure becomes state and `errorMessage`. Tasks and closures
/// that outlive a call hold the controller weakly and end when it is gone.
class AppState : public std::enable_shared_from_this<AppState> {
public:
    /// Builds the services, registers the settings' defaults and reads the engine preference. Nothing listens
    /// yet.
    static std::shared_ptr<AppState> make(const Environment& environment);

    AppState(const AppState&) = delete;
    AppState& operator=(const AppState&) = delete;

    // What views observe.
    base::Observed<RecordingState> recordingState{RecordingState::idle}; ///< never `processingHandsFree`
    base::Observed<std::string> currentTranscription;        ///< text of the last finished dictation
    base::Observed<std::string> lastTranscription;           ///< text that paste-last inserts
    base::Observed<std::optional<std::string>> errorMessage; ///< the one line for the user
    base::Observed<std::optional<textprocessing::FocusedAppInfo>>
        dictationTargetApp; ///< in front at key down
    base::Observed<bool> isOnboardingComplete{false};

    /// The store's main context, once it is open; without it no history is written.
    persistence::ModelContext* modelContext = nullptr;

    // The services, in the order in which they are built.
    std::shared_ptr<audio::AudioRecorder> audioRecorder;
    std::shared_ptr<hotkeys::HotkeyManager> hotkeyManager;
    std::shared_ptr<insertion::TextInserter> textInserter;
    std::shared_ptr<services::PermissionsManager> permissionsManager;
    textprocessing::ContextBuilder contextBuilder;
    std::shared_ptr<services::AuthService> authService;
    std::shared_ptr<transcription::TranscriptionManager> transcriptionManager;
    std::unique_ptr<textprocessing::PostProcessor> postProcessor;

    // Dictation (AppState.cpp).

    /// One event of a shortcut. Each event is a task of its own; they run in the order of the events, up to
    /// their first suspension.
    runtime::Task<> handleHotkey(hotkeys::HotkeyAction action, hotkeys::HotkeyEventType event);

    /// Begins one recording. Nothing unless the state is `idle`. A failure to start is surfaced.
    runtime::Task<> startDictation();

    /// Ends the recording, transcribes it and inserts the text. Nothing unless the state is `recording`. Ends
    /// when the text has been inserted and the clipboard put back.
    runtime::Task<> stopDictation();

    /// Throws a recording away, with what a session has heard of it. A transcript that is already on its way
    /// goes on and is still inserted.
    runtime::Task<> cancelDictation();

    /// Inserts `lastTranscription` at the cursor, in whatever state; nothing when it is empty.
    void pasteLastTranscript();

    /// Begins to open a streaming session ahead of the next recording, where the preference streams; a former
    /// attempt that still runs is cancelled.
    void preWarmEngine();

    /// Sets the one line for the user; it stays until the next start or cancel.
    void surfaceError(const std::string& message);

    // What happens to a finished transcript (AppState.Finalisation.cpp).

    /// Cleans a text up where that is wanted, keeps it, and inserts it at the cursor. Never fails: the text
    /// as it was said stands in for a clean-up that fails or takes more than 5 s. Ends when the text has been
    /// inserted and the clipboard put back. `addLeadingSpace`: a blank goes before what is inserted.
    runtime::Task<> processAndInsert(std::string text, bool isFragment, bool addLeadingSpace);

    /// What the clean-up of a text goes by that is dictated now.
    textprocessing::ProcessingContext buildProcessingContext() const;

    /// Cleans up a text that was inserted in `insertionCount` pieces. When that changes it, the pieces are
    /// undone and the whole is inserted. Returns the final text; a clean-up that fails or takes more than 8 s
    /// leaves everything as it is.
    runtime::Task<std::string> performBatchAICleanup(std::string rawText, std::int64_t insertionCount,
                                                     textprocessing::ProcessingContext context);

    // Start-up and modes (AppState.Startup.cpp).

    /// Applies the dock setting and, after onboarding, starts the shortcuts with their retries. May run
    /// again.
    void setup();

    /// Starts the listener when the grants are there and it does not run.
    void startHotkeysIfReady();

    /// Ends onboarding for good and sets up.
    void completeOnboarding();

    /// Switches to the on-device engine, and back to the engine that was chosen before. The setting itself is
    /// written by the caller.
    void setLocalOnlyMode(bool enabled);

private:
    explicit AppState(const Environment& environment);
    void connect();

    // AppState.cpp
    void surfaceTakenShortcut(platform::KeyCombination combination);
    services::TokenProvider makeTokenProvider() const;
    std::shared_ptr<transcription::TranscriptionManager> makeTranscriptionManager();
    textprocessing::OpenAIChatClient makeChatClient() const;
    void failToStart(const std::string& description);
    runtime::Task<> startEngine();
    runtime::Task<std::optional<std::string>> finalizeStream();
    void endWithoutAudio();
    void endAfterFailedTranscription(const std::string& description, double stopTime);
    static runtime::Task<> preWarm(std::weak_ptr<AppState> weakSelf);
    static runtime::Task<> updateLevels(std::weak_ptr<AppState> weakSelf, runtime::Clock* clock);
    static runtime::Task<> insertLast(std::shared_ptr<AppState> self);

    // AppState.Finalisation.cpp
    runtime::Task<> finishTranscript(std::string text, double stopTime);
    bool isCleanUpWanted() const;
    runtime::Task<bool> insertSnippet(std::string text);
    runtime::Task<std::string> cleanUp(std::string text, bool isFragment);
    void setTranscription(const std::string& text);
    void recordHistory(const std::string& rawText, const std::string& processedText);
    void printStopTotal(double stopTime) const;

    // AppState.Startup.cpp
    void adoptBindings();
    static runtime::Task<> retrySlowly(std::weak_ptr<AppState> weakSelf, runtime::Clock* clock);
    static runtime::Task<> retryStart(std::weak_ptr<AppState> weakSelf, runtime::Clock* clock);

    Environment environment_;
    runtime::TaskHandle<> preWarmTask_;
    std::shared_ptr<services::SharedUrlSession> chatSession_; ///< of all chat clients
};

} // namespace sonvale::core
