#pragma once

#include "base/Observed.h"
#include "core/Environment.h"
#include "core/Services.h"
#include "core/Startup.h"
#include "core/flows/CommandMode.h"
#include "core/flows/Dictation.h"
#include "core/flows/DictationContext.h"
#include "core/flows/DictationState.h"
#include "core/flows/Endings.h"
#include "core/flows/Finalisation.h"
#include "core/flows/HandsFreeMode.h"
#include "core/flows/LongForm.h"
#include "hotkeys/HotkeyManager.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace sonvale::core {

/// The one controller of dictation, and the state that every view reads.
///
/// Lives on the main actor: every operation is called there and every observed field changes there. No
/// operation throws to its caller; a failure changes the state and `errorMessage`. Tasks and closures that
/// outlive a call hold the controller weakly and end when it is gone.
class AppState : public DictationState, public Services, public std::enable_shared_from_this<AppState> {
public:
    /// Builds the services, registers the settings' defaults and reads the engine preference. Nothing listens
    /// yet.
    static std::shared_ptr<AppState> make(const Environment& environment);

    /// Discards a running recording and resumes the media that it paused. Main actor.
    ~AppState();

    AppState(const AppState&) = delete;
    AppState& operator=(const AppState&) = delete;

    // Dictation.

    /// Handles one event of a hotkey. Each event is a separate task. The tasks run in the order of the events
    /// up to their first suspension.
    runtime::Task<> handleHotkey(hotkeys::HotkeyAction action, hotkeys::HotkeyEventType event);

    /// Begins one recording. If `forceCommandMode` is set, reads the selection first; the recording is then
    /// an instruction. Does nothing unless the state is `idle` and the screen is not locked. Surfaces a
    /// failure to start.
    runtime::Task<> startDictation() { return dictation_.start(); }

    /// Ends the recording, transcribes it and inserts the text. Does nothing unless the state is `recording`.
    /// Ends when the text has been inserted and the clipboard has been restored.
    runtime::Task<> stopDictation();

    /// Discards a recording and its text in an open session, and leaves hands-free mode. Pieces that are
    /// already typed stay. A transcript that is already being finished is still inserted.
    runtime::Task<> cancelDictation();

    /// Inserts `lastTranscription` at the cursor, in any state. Does nothing if it is empty.
    void pasteLastTranscript() { context_.typing.beginInsertingLast(); }

    /// Starts to put a text on the pasteboard for the user to keep. Waits until no insertion uses the
    /// pasteboard. Returns at once; any text.
    void copyText(std::string text) { context_.typing.beginCopying(std::move(text)); }

    /// Starts to open a streaming session before the next recording, if the preference streams. Cancels an
    /// earlier attempt that still runs.
    void preWarmEngine() { context_.stream.preWarm(); }

    // Hands-free mode.

    /// Begins a recording that needs no key: each pause ends an utterance, which is typed at once while the
    /// recording continues. Needs a streaming session; without one the mode ends with a message.
    runtime::Task<> startHandsFreeMode();

    /// Ends the mode and then replaces the typed pieces by the cleaned whole.
    runtime::Task<> stopHandsFreeMode() { return handsFree_.stop(); }

    // Long-form dictation.

    /// Forgets the typed pieces of a long push-to-talk, and stops its timer. Running insertions continue.
    void resetPTTLongFormState() { longForm_.reset(); }

    // Finished transcripts.

    /// Cleans up a text if the settings want that, keeps it, and inserts it at the cursor. Never fails: if
    /// the clean-up fails or takes more than 5 s, inserts the text as it was said. Ends when the text has
    /// been inserted and the clipboard has been restored. `addLeadingSpace`: inserts a blank before the text.
    runtime::Task<> processAndInsert(std::string text, bool isFragment, bool addLeadingSpace) {
        return finalisation_.processAndInsert(std::move(text), isFragment, addLeadingSpace);
    }

    /// Returns the context in which the clean-up handles a text that is dictated now.
    textprocessing::ProcessingContext buildProcessingContext() const {
        return finalisation_.buildProcessingContext();
    }

    /// Cleans up a text that was inserted in `insertionCount` pieces. If that changes the text, undoes the
    /// pieces and inserts the whole. Changes nothing if the clean-up fails or takes more than 8 s. Returns
    /// the final text.
    runtime::Task<std::string> performBatchAICleanup(std::string rawText, std::int64_t insertionCount,
                                                     textprocessing::ProcessingContext context) {
        return finalisation_.performBatchAICleanup(std::move(rawText), insertionCount, std::move(context));
    }

    // Startup and modes.

    /// Applies the dock setting and, after onboarding, starts the hotkeys with their retries. May run again.
    void setup() { startup_.setup(); }

    /// Starts the listener if the permissions are there and it does not run.
    void startHotkeysIfReady() { startup_.startHotkeysIfReady(); }

    /// Listens for the stored hotkeys from now on.
    void applyHotkeyBindings() { startup_.applyHotkeyBindings(); }

    /// Returns whether hotkeys that are modifiers alone yield to other shortcuts (the setting
    /// `guardModifierHotkeys`).
    bool isModifierGuardOn() const { return startup_.isModifierGuardOn(); }
    /// Stores the setting and applies it at once.
    void setModifierGuard(bool isOn) { startup_.setModifierGuard(isOn); }

    /// Ends onboarding permanently and calls `setup`.
    void completeOnboarding() { startup_.completeOnboarding(); }

    /// Switches to the on-device engine, or back to the engine that was chosen before. The caller writes the
    /// setting.
    void setLocalOnlyMode(bool enabled) { startup_.setLocalOnlyMode(enabled); }

private:
    explicit AppState(const Environment& environment);
    void connect();
    void observeState();
    runtime::Task<> discardPress();
    void setScreenLocked(bool isLocked);

    const Environment environment_;
    DictationContext context_;
    Endings endings_;
    CommandMode commandMode_;
    Finalisation finalisation_;
    LongForm longForm_;
    Dictation dictation_;
    HandsFreeMode handsFree_;
    Startup startup_;

    bool isRecordingOfPress_ = false; ///< whether the last press of a held key began the recording
    base::Subscription preferenceChange_;
    base::Subscription stateForListener_;
    base::Subscription modeForListener_;
};

} // namespace sonvale::core
