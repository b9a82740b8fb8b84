#pragma once

#include "audio/AudioRecorder.h"
#include "audio/SystemAudioController.h"
#include "audio/VoiceActivityDetector.h"
#include "base/Observed.h"
#include "core/Environment.h"
#include "core/RecordingFile.h"
#include "core/TypedPieces.h"
#include "hotkeys/HotkeyManager.h"
#include "insertion/SelectedTextReader.h"
#include "insertion/TextInserter.h"
#include "persistence/ModelContext.h"
#include "platform/RecordingState.h"
#include "runtime/AsyncMutex.h"
#include "services/AuthService.h"
#include "services/ConnectivityMonitor.h"
#include "services/PermissionsManager.h"
#include "textprocessing/CommandProcessor.h"
#include "textprocessing/ContextBuilder.h"
#include "textprocessing/PostProcessor.h"
#include "transcription/TranscriptionManager.h"

#include <cstdint>
#include <filesystem>
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

    /// Throws a recording that runs away and resumes the media that it paused. Main actor.
    ~AppState();

    AppState(const AppState&) = delete;
    AppState& operator=(const AppState&) = delete;

    // What views observe.
    base::Observed<RecordingState> recordingState{RecordingState::idle}; ///< never `processingHandsFree`
    base::Observed<std::string> currentTranscription;        ///< text of the last finished dictation
    base::Observed<std::string> lastTranscription;           ///< text that paste-last inserts
    base::Observed<std::optional<std::string>> errorMessage; ///< the one line for the user
    base::Observed<std::optional<textprocessing::FocusedAppInfo>>
        dictationTargetApp;                                            ///< in front at key down
    base::Observed<std::optional<std::string>> selectedTextForCommand; ///< what the instruction is to change
    base::Observed<bool> forceCommandMode{false};                      ///< the next start reads the selection
    base::Observed<bool> isHandsFreeMode{false}; ///< from the start of the mode to the first step of its end
    base::Observed<bool> isOnboardingComplete{false};

    /// The store's main context, once it is open; without it no history is written.
    persistence::ModelContext* modelContext = nullptr;

    // The services, in the order in which they are built.
    std::shared_ptr<audio::AudioRecorder> audioRecorder;
    std::shared_ptr<hotkeys::HotkeyManager> hotkeyManager;
    std::shared_ptr<insertion::TextInserter> textInserter;
    std::shared_ptr<services::PermissionsManager> permissionsManager;
    std::unique_ptr<services::ConnectivityMonitor> connectivityMonitor;
    textprocessing::ContextBuilder contextBuilder;
    std::unique_ptr<insertion::SelectedTextReader> selectedTextReader;
    std::unique_ptr<audio::SystemAudioController> systemAudioController;
    std::unique_ptr<audio::VoiceActivityDetector> voiceActivityDetector;
    std::shared_ptr<services::AuthService> authService;
    std::shared_ptr<transcription::TranscriptionManager> transcriptionManager;
    std::unique_ptr<textprocessing::PostProcessor> postProcessor;
    std::unique_ptr<textprocessing::CommandProcessor> commandProcessor;

    // Dictation (AppState.cpp).

    /// One event of a shortcut. Each event is a task of its own; they run in the order of the events, up to
    /// their first suspension.
    runtime::Task<> handleHotkey(hotkeys::HotkeyAction action, hotkeys::HotkeyEventType event);

    /// Begins one recording, of an instruction when `forceCommandMode` is set: the selection is read first
    /// then. Nothing unless the state is `idle` and the screen is not locked. A failure to start is surfaced.
    runtime::Task<> startDictation();

    /// Ends the recording, transcribes it and inserts the text. Nothing unless the state is `recording`. Ends
    /// when the text has been inserted and the clipboard put back.
    runtime::Task<> stopDictation();

    /// Throws a recording away, with what a session has heard of it, and leaves hands-free mode; what was
    /// typed piece by piece stays. A transcript that is already on its way goes on and is still inserted.
    runtime::Task<> cancelDictation();

    /// Inserts `lastTranscription` at the cursor, in whatever state; nothing when it is empty.
    void pasteLastTranscript();

    /// Puts a text on the pasteboard for the user to keep, once no insertion uses it. Begins only; any text.
    void copyText(std::string text);

    /// Whether there is a key or a user's session for the network's services.
    bool isModelReachable() const;

    /// Begins to open a streaming session ahead of the next recording, where the preference streams; a former
    /// attempt that still runs is cancelled.
    void preWarmEngine();

    /// Sets the one line for the user; it stays until the next start or cancel.
    void surfaceError(const std::string& message);

    // Hands-free mode (AppState.HandsFree.cpp).

    /// Begins a recording that needs no key: each pause ends an utterance, which is typed at once while the
    /// recording goes on. Needs a streaming session; without one the mode ends with a message.
    runtime::Task<> startHandsFreeMode();

    /// Ends the mode; what was typed is then replaced by the cleaned whole.
    runtime::Task<> stopHandsFreeMode();

    // Long-form dictation (AppState.LongForm.cpp).

    /// Forgets what was typed of a long push-to-talk, and ends its timer. Insertions on their way go on.
    void resetPTTLongFormState();

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

    /// Listens for the stored shortcuts from now on. Main actor.
    void applyHotkeyBindings();

    /// Whether hotkeys that are modifiers alone give way to other shortcuts, by the setting
    /// `guardModifierHotkeys`.
    bool isModifierGuardOn() const;
    /// Stores the setting and applies it at once. Main actor.
    void setModifierGuard(bool isOn);

    /// Ends onboarding for good and sets up.
    void completeOnboarding();

    /// Switches to the on-device engine, and back to the engine that was chosen before. The setting itself is
    /// written by the caller.
    void setLocalOnlyMode(bool enabled);

private:
    /// One recording. The end of a recording keeps a reference to it: after a cancel the next recording can
    /// begin while the service still works on the last one.
    struct Recording {
        bool isLocalOnly = false;   ///< some of it was spoken in local-only mode
        bool isSpeechHeard = false; ///< since it, or its present piece, began
        bool isPieceLost = false;   ///< the service gave no text for a piece that the open file holds
        /// The file of the last utterance, if the next one began in it.
        std::optional<RecordingFile> overlappingSegment;
        /// The file, when the recorder was closed before the end had come to it.
        std::optional<RecordingFile> closedFile;
    };

    explicit AppState(const Environment& environment);
    void connect();

    // AppState.Presses.cpp
    void observeDictating();
    runtime::Task<> handleDiscardedPress();

    // AppState.Lock.cpp
    void observeLock();
    void setScreenLocked(bool isLocked);
    static runtime::Task<> endForLock(std::shared_ptr<AppState> self);
    bool isTypingPossible();

    // AppState.cpp
    void surface(const std::string& message, const std::string& logText);
    void surfaceTakenShortcut(platform::KeyCombination combination);
    services::TokenProvider makeTokenProvider() const;
    std::shared_ptr<transcription::TranscriptionManager> makeTranscriptionManager();
    textprocessing::OpenAIChatClient makeChatClient() const;
    void failToStart(const std::string& description);
    void startRecorder();
    runtime::Task<bool> startEngine();
    void failToConnect();
    void pauseMedia();
    void resumeMedia();
    runtime::Task<> cancelHandsFree();
    runtime::Task<> cancelRecording();
    void cancelStalledEnd();
    runtime::Task<std::optional<std::string>> finalizeStream();
    void endWithoutAudio(Recording& recording, const std::optional<std::string>& text);
    void endAfterFailedTranscription(const Recording& recording, const std::exception& error,
                                     double stopTime);
    void endRecordingState(const Recording& recording);
    static runtime::Task<> preWarm(std::weak_ptr<AppState> weakSelf);
    bool isPresent(const Recording& recording) const;
    bool isRecording(const Recording& recording) const;
    static runtime::Task<> updateLevels(std::weak_ptr<AppState> weakSelf, runtime::Clock* clock,
                                        std::shared_ptr<Recording> recording);
    static runtime::Task<> insertLast(std::shared_ptr<AppState> self);
    static runtime::Task<> copy(std::shared_ptr<AppState> self, std::string text);

    // AppState.Command.cpp
    runtime::Task<std::optional<std::string>> readSelection();
    bool isCommand(bool isLocalOnly) const;
    runtime::Task<bool> runCommand(std::string transcript);

    // AppState.Pieces.cpp
    using Pieces = TypedPieces AppState::*;
    static std::string pieceOf(const std::string& transcript);
    runtime::Task<std::optional<std::string>> finalizePiece(std::shared_ptr<Recording> recording);
    void keepAndType(Pieces pieces, const std::string& text, std::string spaced);
    static runtime::Task<> typeAfter(runtime::TaskHandle<> previous, std::weak_ptr<AppState> weakSelf,
                                     Pieces pieces, std::string text);
    runtime::Task<> finishTyping(Pieces pieces);
    runtime::Task<> cancelTyping(Pieces pieces);
    runtime::Task<> finishPieces(Pieces pieces, bool isLocalOnly);
    void setTypedTranscription(const std::string& text);
    void deleteRecording(const std::optional<std::filesystem::path>& file);
    void discardCapture(Recording& recording);

    // AppState.HandsFree.cpp
    void stopDetector();
    void endDetection();
    static runtime::Task<> feedDetector(std::weak_ptr<AppState> weakSelf, runtime::Clock* clock,
                                        std::shared_ptr<Recording> recording);
    static runtime::Task<> commitHandsFreeUtterance(std::weak_ptr<AppState> weakSelf);
    static runtime::Task<> leaveHandsFree(std::shared_ptr<AppState> self);
    runtime::Task<> commitUtterance();
    void endSegment(Recording& recording);
    bool isCapturing() const;
    void typeUtterance(const std::string& transcript);
    runtime::Task<> restartHandsFree();
    runtime::Task<> waitForUtterance();
    runtime::Task<> finishLastUtterance(std::shared_ptr<Recording> recording);

    // AppState.Rescue.cpp
    void noteLevel(float level);
    void forgetSpeech();
    void keepText(const std::string& text);
    void closePrevious();
    std::optional<RecordingFile> endCapture(Recording& recording);
    void rescueRecording(Recording& recording);
    void rescue(RecordingFile file, bool isLocalOnly);
    static runtime::Task<> transcribeLost(runtime::TaskHandle<> previous, std::weak_ptr<AppState> weakSelf,
                                          std::shared_ptr<transcription::TranscriptionManager> manager,
                                          RecordingFile file, bool isLocalOnly);
    static runtime::Task<std::string> transcribe(transcription::TranscriptionManager& manager,
                                                 std::filesystem::path file, bool isLocalOnly);

    // AppState.LongForm.cpp
    void startLongFormTimer();
    static runtime::Task<> runLongForm(std::weak_ptr<AppState> weakSelf, runtime::Clock* clock);
    static runtime::Task<> commitPTTSegment(std::shared_ptr<AppState> self);
    void typeSegment(const std::string& text, bool asFirst);
    runtime::Task<> stopLongForm(std::shared_ptr<Recording> recording, bool isLocalOnly, double stopTime);

    // AppState.Finalisation.cpp
    runtime::Task<> finishTranscript(std::shared_ptr<Recording> recording, std::string text, bool isLocalOnly,
                                     double stopTime);
    void endCommandOrSnippet(const Recording& recording);
    runtime::Task<bool> insertText(std::string text);
    bool isCleanUpWanted(bool isLocalOnly) const;
    runtime::Task<bool> insertSnippet(std::string text);
    runtime::Task<std::string> cleanUp(std::string text, bool isFragment);
    void setTranscription(const std::string& text);
    void recordHistory(const std::string& rawText, const std::string& processedText);
    void printStopTotal(double stopTime) const;

    // AppState.Startup.cpp
    void stopStreaming();
    void adoptBindings();
    static runtime::Task<> retrySlowly(std::weak_ptr<AppState> weakSelf, runtime::Clock* clock);
    static runtime::Task<> retryStart(std::weak_ptr<AppState> weakSelf, runtime::Clock* clock);

    Environment environment_;
    runtime::TaskHandle<> preWarmTask_;
    base::Subscription preferenceChange_;
    base::Subscription levelChange_;
    std::shared_ptr<services::SharedUrlSession> chatSession_; ///< of all chat clients

    runtime::AsyncMutex insertion_; ///< held while the clipboard or the keys are in use
    runtime::AsyncMutex commit_;    ///< held while a text of the realtime service is awaited

    /// The newest; never null.
    std::shared_ptr<Recording> recording_ = std::make_shared<Recording>();
    runtime::TaskHandle<> rescue_; ///< of the newest recording; it waits for the one before
    std::string untypedText_;      ///< of the present dictation: kept, but not typed

    TypedPieces handsFreePieces_;
    bool isProcessingUtterance_ = false; ///< an utterance is being committed
    std::uint64_t handsFreeRun_ = 0;     ///< grows with every cancel of the mode
    bool isLeavingHandsFree_ = false;    ///< the mode's end waits for what was said; no key up ends it twice
    int handsFreeEnds_ = 0;              ///< ends of the mode that are under way

    TypedPieces pttPieces_;
    runtime::TaskHandle<> pttLongFormTimer_;
    bool pttLongFormActive_ = false; ///< the key has been held for so long that text is typed meanwhile
    bool isPTTCommitting_ = false;   ///< a piece is being committed
    std::uint64_t pttCancellations_ = 0;

    bool isRecordingOfPress_ = false;    ///< the last press of a key that is held began the recording
    std::uint64_t discardedPresses_ = 0; ///< grows with every one
    bool isScreenLocked_ = false;
    base::Subscription stateForListener_;
    base::Subscription modeForListener_;
};

} // namespace sonvale::core
