#include "transcription/RealtimeUtteranceEnd.h"

#include "base/Wipe.h"
#include "transcription/RealtimeMessages.h"

#include <utility>

namespace sonvale::transcription {

namespace {

/// Sends the audio collected since the last chunk, after the chunks that are being sent.
runtime::Task<> sendRest(std::shared_ptr<RealtimeConnection> connection, std::uint64_t session) {
    auto rest = connection->takeRest(session);
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

runtime::Task<> sendMessage(std::shared_ptr<RealtimeConnection> connection, std::uint64_t session,
                            platform::WebSocketMessage message) {
    const auto socket = connection->socketOf(session);
    if (!socket) {
        base::Logger("RealtimeSTT")
            .error("RealtimeSTT: sendMessage called with no active WebSocket — session likely failed to "
                   "connect");
        throw TranscriptionError::engineUnavailable();
    }
    co_await socket->send(std::move(message));
}

TranscriptionError droppedSession() {
    return TranscriptionError::networkError({"RealtimeSTT", -1, "WebSocket session ended during recording"});
}

} // namespace

RealtimeUtteranceEnd::RealtimeUtteranceEnd(runtime::Actor pool, runtime::Actor sending, runtime::Clock& clock,
                                           std::shared_ptr<RealtimeConnection> connection,
                                           std::shared_ptr<RealtimeAudioSender> sender,
                                           std::shared_ptr<RealtimeTranscript> transcript)
    : pool_(std::move(pool))
    , sending_(std::move(sending))
    , clock_(clock)
    , connection_(std::move(connection))
    , sender_(std::move(sender))
    , transcript_(std::move(transcript)) {}

runtime::Task<std::string> RealtimeUtteranceEnd::finish() {
    transcript_->beginUtterance();
    if (connection_->wasDropped()) {
        logger_.error("RealtimeSTT: Session dropped during recording — cannot finalize");
        throw droppedSession();
    }

    std::function<void(runtime::Continuation<>)> commit = [this](runtime::Continuation<> sent) {
        beginCommit(std::move(sent));
    };
    co_await runtime::suspend<>(std::move(commit));
    logger_.info("RealtimeSTT: Buffer committed — awaiting transcript");

    std::function<void(runtime::Continuation<std::string>)> wait =
        [this](runtime::Continuation<std::string> continuation) {
            transcript_->installContinuation(std::move(continuation));
            runtime::spawn(pool_, watchWait(weak_from_this(), &clock_));
            // The socket may have been lost before this wait began.
            if (connection_->wasDropped())
                transcript_->resolveContinuation(std::make_exception_ptr(droppedSession()));
        };
    co_return co_await runtime::suspend<std::string>(std::move(wait));
}

/// Starts to send the rest and the commit. Resumes `sent` with the outcome, or earlier if the time limit
/// passes or the session is cancelled: a connection that is lost without notice takes no bytes and reports no
/// error.
void RealtimeUtteranceEnd::beginCommit(runtime::Continuation<> sent) {
    const auto commit = std::make_shared<const Commit>(std::move(sent), connection_->current());
    CommitPtr replaced;
    {
        const std::lock_guard lock(commitLock_);
        replaced = std::exchange(commit_, commit);
    }
    if (replaced)
        replaced->sent.fail(std::make_exception_ptr(runtime::CancellationError()));
    const auto limit = runtime::spawn(pool_, watchCommit(weak_from_this(), commit, &clock_));
    runtime::spawn(pool_, sendCommit(shared_from_this(), commit, limit));
}

runtime::Task<> RealtimeUtteranceEnd::sendCommit(Self self, CommitPtr commit, runtime::TaskHandle<> limit) {
    std::exception_ptr failure;
    try {
        const auto pending = self->sender_->takePending();
        for (const auto& task : pending)
            co_await task.value();

        co_await runtime::runOn(self->sending_, sendRest(self->connection_, commit->session));
        self->connection_->requireCurrent(commit->session);
        self->transcript_->expectOutcome();
        co_await sendMessage(self->connection_, commit->session, commitFrame());
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

runtime::Task<> RealtimeUtteranceEnd::watchCommit(WeakSelf weakSelf, CommitPtr commit,
                                                  runtime::Clock* clock) {
    if (co_await runtime::sleep(*clock, commitTimeout) == runtime::SleepOutcome::interrupted)
        co_return;
    const auto self = weakSelf.lock();
    if (!self || !self->takeCommit(commit))
        co_return;
    self->logger_.error("RealtimeSTT: Audio not sent within {} s — giving the session up", commitTimeout);
    // The cancel also ends the receive loop and the sends that still wait.
    if (const auto socket = self->connection_->giveUp(commit->session))
        socket->cancel(platform::WebSocketTask::goingAway);
    commit->sent.fail(std::make_exception_ptr(TranscriptionError::networkError(
        {"RealtimeSTT", -1, "The connection to the transcription service does not respond"})));
}

/// Returns whether the caller may end the wait for this commit. Returns true once for each commit.
bool RealtimeUtteranceEnd::takeCommit(const CommitPtr& commit) {
    const std::lock_guard lock(commitLock_);
    if (commit_ != commit)
        return false;
    commit_.reset();
    return true;
}

bool RealtimeUtteranceEnd::isSending() const {
    const std::lock_guard lock(commitLock_);
    return commit_ != nullptr;
}

std::optional<runtime::Continuation<>> RealtimeUtteranceEnd::takeWait() {
    CommitPtr commit;
    {
        const std::lock_guard lock(commitLock_);
        commit = std::exchange(commit_, nullptr);
    }
    return commit ? std::optional(commit->sent) : std::nullopt;
}

runtime::Task<> RealtimeUtteranceEnd::watchWait(WeakSelf weakSelf, runtime::Clock* clock) {
    if (co_await runtime::sleep(*clock, transcriptionTimeout) == runtime::SleepOutcome::interrupted)
        co_return;
    const auto self = weakSelf.lock();
    if (self &&
        self->transcript_->resolveContinuation(std::make_exception_ptr(TranscriptionError::timeout())))
        self->logger_.error("RealtimeSTT: Transcript timed out after 10 s");
}

} // namespace sonvale::transcription
