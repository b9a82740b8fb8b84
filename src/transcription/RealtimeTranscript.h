#pragma once

#include "base/Json.h"
#include "base/Log.h"
#include "platform/WebSocketTask.h"
#include "runtime/Clock.h"
#include "transcription/TranscriptionError.h"

#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace sonvale::transcription {

/// The receiving half of a realtime session: reads the server's events, and hands the text of the utterance
/// to the one task that waits for it. Any thread.
///
/// Transcript, time-out, error and teardown may come in any order: the first of them takes the waiting task
/// out under the lock and resumes it after, the others find nobody.
class RealtimeTranscript {
public:
    using Outcome = std::variant<std::string, std::exception_ptr>;

    /// What became of one event.
    enum class Effect {
        none,        ///< it ends no wait
        resolved,    ///< a waiting task was resumed
        nobodyWaits, ///< it would have resumed one
    };

    explicit RealtimeTranscript(runtime::Clock& clock);

    /// Judges one frame. It may come from anywhere: what cannot be read is logged and dropped.
    Effect handleMessage(const platform::WebSocketMessage& message);

    /// From here the wait for a transcript is measured.
    void beginUtterance();

    /// An outcome that comes from now on is kept for the task that is about to wait: the server may answer
    /// before the sender of the commit has been told that it is sent.
    void expectOutcome();

    /// Makes this the waiting task; one that waited before is resumed with `CancellationError`.
    void installContinuation(runtime::Continuation<std::string> continuation);

    /// Resumes the waiting task; whether there was one.
    bool resolveContinuation(const Outcome& outcome);

    /// Forgets what was understood so far; `forgetSession` also whose session it was.
    void forgetUtterance();
    void forgetSession();

    std::optional<std::string> currentSessionID() const;

private:
    Effect complete(const base::Json& event);
    void addDelta(const base::Json& event);
    Effect finishResponse();
    Effect fail(const base::Json& event);
    Effect effectOf(const Outcome& outcome);
    std::vector<std::string> takeSegments();
    void reportWait(const std::string& text, const char* remark);

    base::Logger logger_{"RealtimeSTT"};
    runtime::Clock& clock_;

    mutable std::mutex continuationLock_; ///< guards all below
    std::optional<runtime::Continuation<std::string>> transcriptionContinuation_;
    bool isOutcomeExpected_ = false;
    std::optional<Outcome> earlyOutcome_;
    std::optional<std::string> currentSessionID_;
    std::vector<std::string> accumulatedTranscriptSegments_;
    std::string deltaAccumulator_;
    std::optional<double> finalizeStartTime_;
};

} // namespace sonvale::transcription
