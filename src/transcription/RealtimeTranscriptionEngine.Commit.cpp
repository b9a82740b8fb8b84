#include "transcription/RealtimeTranscriptionEngine.h"

#include "base/Wipe.h"
#include "transcription/RealtimeMessages.h"

#include <utility>

// The end of an utterance: the rest of its audio, the commit, and the wait for its text.

namespace sonvale::transcription {

using platform::WebSocketMessage;

runtime::Task<std::string> RealtimeTranscriptionEngine::finalizeStreamingTranscription() {
    return runtime::runOn(parts_.pool, finalize(shared_from_this()));
}

runtime::Task<std::string> RealtimeTranscriptionEngine::finalize(Self self) {
    self->transcript_.beginUtterance();

    static const UnderlyingError droppedSession{"RealtimeSTT", -1,
                                                "WebSocket session ended during recording"};
    if (self->sessionDroppedUnexpectedly_) {
        self->logger_.error("RealtimeSTT: Session dropped during recording — cannot finalize");
        throw TranscriptionError::networkError(droppedSession);
    }

    std::function<void(runtime::Continuation<>)> commit = [self](runtime::Continuation<> sent) {
        beginCommit(self, std::move(sent));
    };
    co_await runtime::suspend<>(std::move(commit));
    self->logger_.info("RealtimeSTT: Buffer committed — awaiting transcript");

    std::function<void(runtime::Continuation<std::string>)> wait =
        [self](runtime::Continuation<std::string> continuation) {
            self->transcript_.installContinuation(std::move(continuation));
            runtime::spawn(self->parts_.pool, watchWait(self, &self->parts_.clock));
            // The socket may have been lost before this wait began.
            if (self->sessionDroppedUnexpectedly_)
                self->transcript_.resolveContinuation(
                    std::make_exception_ptr(TranscriptionError::networkError(droppedSession)));
        };
    co_return co_await runtime::suspend<std::string>(std::move(wait));
}

/// Starts to send the rest and the commit. Resumes `sent` with the outcome, or earlier if the time limit
/// passes or the session is cancelled: a connection that is lost without notice takes no bytes and reports no
/// error.
void RealtimeTranscriptionEngine::beginCommit(const Self& self, runtime::Continuation<> sent) {
    const auto commit = std::make_shared<Commit>(std::move(sent));
    std::shared_ptr<Commit> replaced;
    {
        const std::lock_guard lock(self->accumulationLock_);
        commit->session = self->session_;
        replaced = std::exchange(self->commit_, commit);
    }
    if (replaced)
        replaced->sent.fail(std::make_exception_ptr(runtime::CancellationError()));
    const auto limit = runtime::spawn(self->parts_.pool, watchCommit(self, commit, &self->parts_.clock));
    runtime::spawn(self->parts_.pool, sendCommit(self, commit, limit));
}

runtime::Task<> RealtimeTranscriptionEngine::sendCommit(Self self, std::shared_ptr<Commit> commit,
                                                        runtime::TaskHandle<> limit) {
    std::exception_ptr failure;
    try {
        std::deque<runtime::TaskHandle<>> pending;
        {
            const std::lock_guard lock(self->pendingSendLock_);
            pending = std::exchange(self->pendingSendTasks_, {});
        }
        for (const auto& task : pending)
            co_await task.value();

        co_await runtime::runOn(self->parts_.sending, sendRest(self, commit->session));
        self->requireCurrent(commit->session);
        self->transcript_.expectOutcome();
        co_await sendMessage(self, commit->session, commitFrame());
    } catch (...) {
        failure = std::current_exception();
    }
    limit.cancel();
    if (!self->takeCommit(commit))
        co_return;
    if (failure)
        commit->sent.fail(failure);
    else
        commit->sent.resume();
}

runtime::Task<> RealtimeTranscriptionEngine::watchCommit(WeakSelf weakSelf, std::shared_ptr<Commit> commit,
                                                         runtime::Clock* clock) {
    if (co_await runtime::sleep(*clock, commitTimeout) == runtime::SleepOutcome::interrupted)
        co_return;
    const auto self = weakSelf.lock();
    if (!self || !self->takeCommit(commit))
        co_return;
    self->logger_.error("RealtimeSTT: Audio not sent within {} s — giving the session up", commitTimeout);
    Socket socket;
    {
        const std::lock_guard lock(self->accumulationLock_);
        if (self->session_ == commit->session) {
            socket = self->webSocketTask_;
            self->sessionReady_ = false;
            self->sessionDroppedUnexpectedly_ = true;
        }
    }
    // This also ends the receive loop and the sends that still wait.
    if (socket)
        socket->cancel(platform::WebSocketTask::goingAway);
    commit->sent.fail(std::make_exception_ptr(TranscriptionError::networkError(
        {"RealtimeSTT", -1, "The connection to the transcription service does not respond"})));
}

/// Returns whether the caller may end the wait for this commit. Returns true once for each commit.
bool RealtimeTranscriptionEngine::takeCommit(const std::shared_ptr<Commit>& commit) {
    const std::lock_guard lock(accumulationLock_);
    if (commit_ != commit)
        return false;
    commit_.reset();
    return true;
}

bool RealtimeTranscriptionEngine::cancelUncommitted() {
    {
        const std::lock_guard lock(accumulationLock_);
        if (!commit_)
            return false;
    }
    cancelSession();
    return true;
}

/// Sends the audio collected since the last chunk, after the chunks that are being sent.
runtime::Task<> RealtimeTranscriptionEngine::sendRest(Self self, std::uint64_t session) {
    Chunk rest;
    {
        const std::lock_guard lock(self->accumulationLock_);
        if (self->session_ != session)
            throw runtime::CancellationError();
        rest = {std::exchange(self->accumulatedPCM_, {}), self->webSocketTask_};
    }
    if (rest.pcm.empty())
        co_return;
    if (!rest.socket) {
        base::wipe(rest.pcm);
        throw TranscriptionError::engineUnavailable();
    }
    auto message = audioFrame(rest.pcm);
    base::wipe(rest.pcm);
    co_await rest.socket->send(std::move(message));
}

runtime::Task<> RealtimeTranscriptionEngine::sendMessage(Self self, std::uint64_t session,
                                                         WebSocketMessage message) {
    Socket socket;
    {
        const std::lock_guard lock(self->accumulationLock_);
        if (self->session_ != session)
            throw runtime::CancellationError();
        socket = self->webSocketTask_;
    }
    if (!socket) {
        self->logger_.error("RealtimeSTT: sendMessage called with no active WebSocket — session likely "
                            "failed to connect");
        throw TranscriptionError::engineUnavailable();
    }
    co_await socket->send(std::move(message));
}

runtime::Task<> RealtimeTranscriptionEngine::watchWait(WeakSelf weakSelf, runtime::Clock* clock) {
    if (co_await runtime::sleep(*clock, transcriptionTimeout) == runtime::SleepOutcome::interrupted)
        co_return;
    const auto self = weakSelf.lock();
    if (self && self->transcript_.resolveContinuation(std::make_exception_ptr(TranscriptionError::timeout())))
        self->logger_.error("RealtimeSTT: Transcript timed out after 10 s");
}

void RealtimeTranscriptionEngine::discardAudio() {
    const std::lock_guard lock(accumulationLock_);
    base::wipe(accumulatedPCM_);
}

void RealtimeTranscriptionEngine::resetForNextUtterance() {
    transcript_.forgetUtterance();
    discardAudio();
    {
        const std::lock_guard lock(pendingSendLock_);
        pendingSendTasks_.clear();
    }
    sessionDroppedUnexpectedly_ = false;
    logger_.info("RealtimeSTT: Reset for next utterance (session still active)");
}

} // namespace sonvale::transcription
