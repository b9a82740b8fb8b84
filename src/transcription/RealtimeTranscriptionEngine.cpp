#include "transcription/RealtimeTranscriptionEngine.h"

#include "base/Wipe.h"
#include "transcription/RealtimeMessages.h"

#include <utility>

namespace sonvale::transcription {

using base::wipe;
using platform::WebSocketMessage;

RealtimeTranscriptionEngine::RealtimeTranscriptionEngine(Parts parts)
    : parts_(std::move(parts))
    , pcmResampler_(parts_.converters)
    , transcript_(parts_.clock) {}

RealtimeTranscriptionEngine::~RealtimeTranscriptionEngine() {
    wipe(accumulatedPCM_);
    receiveTask_.cancel();
    preWarmRefreshTask_.cancel();
    if (webSocketTask_)
        webSocketTask_->cancel(platform::WebSocketTask::goingAway);
    if (urlSession_)
        urlSession_->invalidateAndCancel();
}

runtime::Task<std::string> RealtimeTranscriptionEngine::transcribe(std::filesystem::path /*audioFileURL*/,
                                                                   std::optional<std::string> /*language*/) {
    throw TranscriptionError::engineUnavailable();
    co_return "";
}

// Sending.

void RealtimeTranscriptionEngine::appendAudio(const platform::PcmBuffer& buffer) {
    auto bytes = pcmResampler_.resample(buffer);
    if (!bytes)
        return;
    {
        const std::lock_guard lock(accumulationLock_);
        accumulatedPCM_ += *bytes;
        wipe(*bytes);
        if (!sessionReady_ || accumulatedPCM_.size() < targetChunkBytes)
            return;
        outgoing_.push_back({std::exchange(accumulatedPCM_, {}), webSocketTask_});
    }
    sendChunk();
}

void RealtimeTranscriptionEngine::flushPreHandshake() {
    std::size_t chunks = 0;
    {
        const std::lock_guard lock(accumulationLock_);
        chunks = accumulatedPCM_.size() / targetChunkBytes;
        if (chunks == 0)
            return;
        for (std::size_t i = 0; i < chunks; ++i)
            outgoing_.push_back(
                {accumulatedPCM_.substr(i * targetChunkBytes, targetChunkBytes), webSocketTask_});
        auto tail = accumulatedPCM_.substr(chunks * targetChunkBytes);
        wipe(accumulatedPCM_);
        accumulatedPCM_ = std::move(tail);
    }
    logger_.info("RealtimeSTT: Flushing {} pre-handshake bytes ({} chunk(s))", chunks * targetChunkBytes,
                 chunks);
    for (std::size_t i = 0; i < chunks; ++i)
        sendChunk();
}

/// Starts to send the next outgoing chunk. The task takes the chunk under the lock, so that concurrent
/// callers cannot change the order of the audio.
void RealtimeTranscriptionEngine::sendChunk() {
    audioWasSentInSession_ = true;
    const auto task = runtime::spawn(parts_.sending, sendNextChunk(weak_from_this()));

    const std::lock_guard lock(pendingSendLock_);
    // Finished tasks need no waiting. In a long recording they would accumulate.
    while (!pendingSendTasks_.empty() && pendingSendTasks_.front().isDone())
        pendingSendTasks_.pop_front();
    pendingSendTasks_.push_back(task);
}

std::optional<RealtimeTranscriptionEngine::Chunk> RealtimeTranscriptionEngine::takeChunk() {
    const std::lock_guard lock(accumulationLock_);
    if (outgoing_.empty())
        return std::nullopt;
    auto chunk = std::move(outgoing_.front());
    outgoing_.pop_front();
    return chunk;
}

runtime::Task<> RealtimeTranscriptionEngine::sendNextChunk(WeakSelf weakSelf) {
    Socket socket;
    WebSocketMessage message;
    {
        const auto self = weakSelf.lock();
        auto chunk = self ? self->takeChunk() : std::nullopt;
        if (!chunk || !chunk->socket)
            co_return;
        message = audioFrame(chunk->pcm);
        wipe(chunk->pcm);
        socket = std::move(chunk->socket);
    }
    try {
        co_await socket->send(std::move(message));
    } catch (const std::exception& error) {
        // The receive loop decides about the session.
        base::Logger("RealtimeSTT").error("RealtimeSTT: Failed to send audio chunk — {}", error.what());
    }
}

// Receiving.

runtime::Task<> RealtimeTranscriptionEngine::receive(WeakSelf weakSelf, Socket socket) {
    while (!co_await runtime::isCurrentTaskCancelled()) {
        {
            const auto self = weakSelf.lock();
            if (!self || self->isStale(socket))
                break;
        }
        std::optional<WebSocketMessage> message;
        std::optional<UnderlyingError> failure;
        try {
            message = co_await socket->receive();
        } catch (const std::exception& error) {
            failure = UnderlyingError::from(error, "RealtimeSTT");
        }

        const auto self = weakSelf.lock();
        if (!self)
            co_return;
        if (message) {
            if (!self->isStale(socket))
                self->transcript_.handleMessage(*message);
            continue;
        }
        self->logger_.error("RealtimeSTT: WebSocket receive error — {}", failure->localizedDescription);
        if (!self->isStale(socket)) {
            self->sessionDroppedUnexpectedly_ = true;
            self->transcript_.resolveContinuation(
                std::make_exception_ptr(TranscriptionError::networkError(*failure)));
        }
        break;
    }
    if (const auto self = weakSelf.lock())
        self->endReceiving(socket);
}

/// Returns whether another session has begun meanwhile. This socket must not change the state of that
/// session.
bool RealtimeTranscriptionEngine::isStale(const Socket& socket) const {
    const std::lock_guard lock(accumulationLock_);
    return webSocketTask_ && webSocketTask_ != socket;
}

void RealtimeTranscriptionEngine::endReceiving(const Socket& socket) {
    if (!isStale(socket)) {
        {
            const std::lock_guard lock(accumulationLock_);
            sessionReady_ = false;
        }
        logLifecycle(" (receive loop exit)");
    }
    logger_.info("RealtimeSTT: Receive loop exited");
}

void RealtimeTranscriptionEngine::logLifecycle(const char* occasion) {
    std::optional<double> openedAt;
    {
        const std::lock_guard lock(accumulationLock_);
        openedAt = std::exchange(sessionOpenedAt_, std::nullopt);
    }
    if (openedAt)
        logger_.info("RealtimeSTT: Session lifecycle{} — duration: {:.1f}s, audio_sent: {}", occasion,
                     parts_.clock.now() - *openedAt, audioWasSentInSession_.exchange(false));
}

} // namespace sonvale::transcription
