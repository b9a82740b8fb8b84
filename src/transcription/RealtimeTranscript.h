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

/// The receiving half of a realtime session. Reads the server's events and passes the text of the utterance
/// to the one task that waits for it. Any thread.
///
/// The transcript, the timeout, an error and the teardown may come in any order. The first of them removes
/// the waiting task under the lock and resumes it afterwards; the others find no waiting task.
class RealtimeTranscript {
public:
    using Outcome = std::variant<std::string, std::exception_ptr>;

    /// The effect of one event.
    enum class Effect {
        none,      ///< the event ends no wait
        resolved,  ///< a waiting task was resumed
        unawaited, ///< the event ends a wait, but no task was waiting
    };

    explicit RealtimeTranscript(runtime::Clock& clock);

    /// Handles one frame. The frame is untrusted: if it cannot be read, it is logged and dropped.
    Effect handleMessage(const platform::WebSocketMessage& message);

    /// Starts to measure the wait for a transcript.
    void beginUtterance();

    /// Keeps an outcome that comes from now on for the task that is about to wait. The server may answer
    /// before the sender of the commit learns that the commit is sent.
    void expectOutcome();

    /// Makes this the waiting task. Resumes an earlier waiting task with `CancellationError`.
    void installContinuation(runtime::Continuation<std::string> continuation);

    /// Resumes the waiting task. Returns whether there was one.
    bool resolveContinuation(const Outcome& outcome);

    /// Both clear the text received so far; `forgetSession` also clears the session's identifier.
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
