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
/// operation hands an error to its caller; a failure becomes state and `errorMessage`. Tasks and closures
/// that outlive a call hold the controller weakly and end when it is gone.
class AppState : public DictationState, public Services, public std::enable_shared_from_this<AppState> {
public:
    /// Builds the services, registers the settings' defaults and reads the engine preference. Nothing listens
    /// yet.
    static std::shared_ptr<AppState> make(const Environment& environment);

    /// Throws away a recording that runs and resumes the media that it paused. Main actor.
    ~AppState();

    AppState(const AppState&) = delete;
    AppState& operator=(const AppState&) = delete;

    // Dictation.

    /// One event of a hotkey. Each event is a task of its own; they run in the order of the events, up to
    /// their first suspension.
    runtime::Task<> handleHotkey(hotkeys::HotkeyAction action, hotkeys::HotkeyEventType event);

    /// Begins one recording, of an instruction if `forceCommandMode` is set: the selection is read first
    /// then. Does nothing unless the state is `idle` and the screen is not locked. A failure to start is
    /// surfaced.
    runtime::Task<> startDictation() { return dictation_.start(); }

    /// Ends the recording, transcribes it and inserts the text. Does nothing unless the state is `recording`.
    /// Ends when the text has been inserted and the clipboard put back.
    runtime::Task<> stopDictation();

    /// Throws a recording away, with what a session has heard of it, and leaves hands-free mode; what was
    /// typed piece by piece stays. A transcript that is already on its way goes on and is still inserted.
    runtime::Task<> cancelDictation();

    /// Inserts `lastTranscription` at the cursor, in any state. Does nothing if it is empty.
    void pasteLastTranscript() { context_.typing.beginInsertingLast(); }

    /// Puts a text on the pasteboard for the user to keep, once no insertion uses it. Begins only; any text.
    void copyText(std::string text) { context_.typing.beginCopying(std::move(text)); }

    /// Begins to open a streaming session ahead of the next recording, if the preference streams; cancels a
    /// former attempt that still runs.
    void preWarmEngine() { context_.stream.preWarm(); }

    // Hands-free mode.

    /// Begins a recording that needs no key: each pause ends an utterance, which is typed at once while the
    /// recording goes on. Needs a streaming session; without one the mode ends with a message.
    runtime::Task<> startHandsFreeMode();

    /// Ends the mode; what was typed is then replaced by the cleaned whole.
    runtime::Task<> stopHandsFreeMode() { return handsFree_.stop(); }

    // Long-form dictation.

    /// Forgets what was typed of a long push-to-talk, and ends its timer. Insertions on their way go on.
    void resetPTTLongFormState() { longForm_.reset(); }

    // What happens to a finished transcript.

    /// Cleans up a text if that is wanted, keeps it, and inserts it at the cursor. Never fails: the text as
    /// it was said replaces a clean-up that fails or takes more than 5 s. Ends when the text has been
    /// inserted and the clipboard put back. `addLeadingSpace`: a blank goes before what is inserted.
    runtime::Task<> processAndInsert(std::string text, bool isFragment, bool addLeadingSpace) {
        return finalisation_.processAndInsert(std::move(text), isFragment, addLeadingSpace);
    }

    /// Returns what the clean-up considers of a text that is dictated now.
    textprocessing::ProcessingContext buildProcessingContext() const {
        return finalisation_.buildProcessingContext();
    }

    /// Cleans up a text that was inserted in `insertionCount` pieces. If that changes it, the pieces are
    /// undone and the whole is inserted. Returns the final text; a clean-up that fails or takes more than 8 s
    /// leaves everything as it is.
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

    /// Whether hotkeys that are modifiers alone give way to other shortcuts, by the setting
    /// `guardModifierHotkeys`.
    bool isModifierGuardOn() const { return startup_.isModifierGuardOn(); }
    /// Stores the setting and applies it at once.
    void setModifierGuard(bool isOn) { startup_.setModifierGuard(isOn); }

    /// Ends onboarding for good and sets up.
    void completeOnboarding() { startup_.completeOnboarding(); }

    /// Switches to the on-device engine, and back to the engine that was chosen before. The caller writes the
    /// setting itself.
    void setLocalOnlyMode(bool enabled) { startup_.setLocalOnlyMode(enabled); }

private:
    explicit AppState(const Environment& environment);
    void connect();
    runtime::Task<> discardPress();
    void setScreenLocked(bool isLocked);
    runtime::Task<> endForLock();

    const Environment environment_;
    DictationContext context_;
    Endings endings_;
    CommandMode commandMode_;
    Finalisation finalisation_;
    LongForm longForm_;
    Dictation dictation_;
    HandsFreeMode handsFree_;
    Startup startup_;

    bool isRecordingOfPress_ = false; ///< the last press of a held key began the recording
    base::Subscription preferenceChange_;
    base::Subscription stateForListener_;
    base::Subscription modeForListener_;
};

} // namespace sonvale::core
