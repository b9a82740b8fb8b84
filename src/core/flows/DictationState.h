#pragma once

#include "base/Observed.h"
#include "persistence/ModelContext.h"
#include "persistence/Settings.h"
#include "platform/RecordingState.h"
#include "textprocessing/ContextBuilder.h"

#include <optional>
#include <string>

namespace sonvale::core {

using platform::RecordingState;

/// The state of dictation that views observe. Belongs to the main actor.
struct DictationState {
    explicit DictationState(const persistence::Settings& settings);

    base::Observed<RecordingState> recordingState{RecordingState::idle}; ///< never `processingHandsFree`
    base::Observed<std::string> currentTranscription;                    ///< text of the last dictation
    base::Observed<std::string> lastTranscription;                       ///< text that paste-last inserts
    base::Observed<std::optional<std::string>> errorMessage;             ///< the one line for the user
    /// The application in front at key down.
    base::Observed<std::optional<textprocessing::FocusedAppInfo>> dictationTargetApp;
    base::Observed<std::optional<std::string>> selectedTextForCommand; ///< the text that a command changes
    base::Observed<bool> forceCommandMode{false};                      ///< the next start reads the selection
    /// True from the start of hands-free mode to the first step of its end.
    base::Observed<bool> isHandsFreeMode{false};
    base::Observed<bool> isOnboardingComplete;

    /// The store's main context. Null until the store is open; until then no history is written.
    persistence::ModelContext* modelContext = nullptr;

    /// Sets the one line for the user and logs it; it stays until the next start or cancel.
    void surfaceError(const std::string& message) { surface(message, message); }

    /// Works as `surfaceError`, but logs `logText`. For a message with words that must not be logged.
    void surface(const std::string& message, const std::string& logText);
};

} // namespace sonvale::core
