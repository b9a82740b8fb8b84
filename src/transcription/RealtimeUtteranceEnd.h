#pragma once

#include "base/Log.h"
#include "runtime/Actor.h"
#include "transcription/RealtimeAudioSender.h"
#include "transcription/RealtimeConnection.h"
#include "transcription/RealtimeTranscript.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace sonvale::transcription {

/// The end of an utterance: sends the rest of its audio and the commit, and waits for its text. Any thread.
///
/// Owned by a shared pointer. `commitLock` guards the commit that is being sent. It is held for single steps
/// only, and no other lock is taken meanwhile.
class RealtimeUtteranceEnd : public std::enable_shared_from_this<RealtimeUtteranceEnd> {
public:
    static constexpr double commitTimeout = 5;         ///< seconds for the rest of the audio and the commit
    static constexpr double transcriptionTimeout = 10; ///< seconds from the commit to the transcript

    /// `sending` is serial, and is the sender's. The clock outlives it.
    RealtimeUtteranceEnd(runtime::Actor pool, runtime::Actor sending, runtime::Clock& clock,
                         std::shared_ptr<RealtimeConnection> connection,
                         std::shared_ptr<RealtimeAudioSender> sender,
                         std::shared_ptr<RealtimeTranscript> transcript);

    /// Returns the text of the utterance. Has the time limits and errors of
    /// `RealtimeTranscriptionEngine::finalizeStreamingTranscription`. The object must outlive the task.
    runtime::Task<std::string> finish();

    /// Returns whether a call of `finish` waits until its audio is sent.
    bool isSending() const;

    /// Removes and returns the wait until the audio is sent. The caller ends it. Returns nullopt if there is
    /// none.
    ///
    /// A caller that ends the session calls this before it. A commit that begins between the two steps then
    /// belongs to the session that ends, and its own send throws `CancellationError`.
    std::optional<runtime::Continuation<>> takeWait();

private:
    /// The end of an utterance whose commit has not been sent. The caller that removes it from `commit_` ends
    /// the wait.
    struct Commit {
        const runtime::Continuation<> sent;
        const std::uint64_t session;
    };
    using CommitPtr = std::shared_ptr<const Commit>;
    using Self = std::shared_ptr<RealtimeUtteranceEnd>;
    using WeakSelf = std::weak_ptr<RealtimeUtteranceEnd>;

    void beginCommit(runtime::Continuation<> sent);
    static runtime::Task<> sendCommit(Self self, CommitPtr commit, runtime::TaskHandle<> limit);
    static runtime::Task<> watchCommit(WeakSelf weakSelf, CommitPtr commit, runtime::Clock* clock);
    bool takeCommit(const CommitPtr& commit);
    static runtime::Task<> watchWait(WeakSelf weakSelf, runtime::Clock* clock);

    base::Logger logger_{"RealtimeSTT"};
    const runtime::Actor pool_;
    const runtime::Actor sending_;
    runtime::Clock& clock_;
    const std::shared_ptr<RealtimeConnection> connection_;
    const std::shared_ptr<RealtimeAudioSender> sender_;
    const std::shared_ptr<RealtimeTranscript> transcript_;

    mutable std::mutex commitLock_;
    CommitPtr commit_; ///< present while its audio is being sent; guarded by `commitLock_`
};

} // namespace sonvale::transcription
