#pragma once

#include "core/flows/DictationContext.h"

#include <functional>
#include <string>

namespace sonvale::core {

/// The ways in which a dictation ends.
enum class Ending {
    startFailed,         ///< the microphone did not start
    notConnected,        ///< hands-free mode has no session
    withoutAudio,        ///< the recorder had stopped by itself
    transcriptionFailed, ///< no engine returned a text
    commandOrSnippet,    ///< the text was a command or a snippet
    inserted,
    longForm,
    handsFree,
    cancelled,
    handsFreeCancelled,
};

/// The details that differ between dictations with the same ending.
struct EndingDetails {
    std::string message = {}; ///< for the user
    std::string logText =
        {};              ///< in the log instead of the message, if that has words that must not be logged
    double stopTime = 0; ///< the clock's `now()` when the key went up
};

/// Carries out the steps of each ending, in the order of one table. Main actor.
class Endings {
public:
    /// The context must outlive it.
    explicit Endings(DictationContext& context);

    /// Ends the dictation that made `recording`.
    void end(Ending ending, const Recording& recording, const EndingDetails& details = {});

    /// Called if an ending also ends hands-free mode.
    std::function<void()> onHandsFreeFailed;

private:
    enum class Step;
    struct Row;
    static const Row table[];

    void carryOut(Step step, const Row& row, const Recording& recording, const EndingDetails& details);
    void changeState(Step step, const Recording& recording);
    void report(Step step, const Row& row, const EndingDetails& details) const;
    void endRecording(const Recording& recording);
    void printTotal(const char* what, double stopTime) const;

    DictationContext& context_;
};

} // namespace sonvale::core
