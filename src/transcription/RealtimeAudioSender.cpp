#include "transcription/RealtimeAudioSender.h"

#include "base/Wipe.h"
#include "transcription/RealtimeMessages.h"

#include <utility>

namespace sonvale::transcription {

RealtimeAudioSender::RealtimeAudioSender(runtime::Actor sending,
                                         std::shared_ptr<RealtimeConnection> connection)
    : sending_(std::move(sending))
    , connection_(std::move(connection)) {}

void RealtimeAudioSender::append(base::WipedBytes& pcm) {
    if (connection_->append(pcm))
        sendChunk();
}

void RealtimeAudioSender::flushPreHandshake() {
    const auto chunks = connection_->cutWholeChunks();
    if (chunks == 0)
        return;
    logger_.info("RealtimeSTT: Flushing {} pre-handshake bytes ({} chunk(s))",
                 chunks * OutgoingAudio::targetChunkBytes, chunks);
    for (std::size_t i = 0; i < chunks; ++i)
        sendChunk();
}

RealtimeAudioSender::Sends RealtimeAudioSender::takePending() {
    const std::lock_guard lock(pendingSendLock_);
    return std::exchange(pendingSendTasks_, {});
}

void RealtimeAudioSender::forgetPending() {
    const std::lock_guard lock(pendingSendLock_);
    pendingSendTasks_.clear();
}

/// Starts to send the next outgoing chunk. The task takes the chunk under the connection's lock, so that
/// concurrent callers cannot change the order of the audio.
void RealtimeAudioSender::sendChunk() {
    audioWasSentInSession_ = true;
    const auto task = runtime::spawn(sending_, sendNextChunk(connection_));

    const std::lock_guard lock(pendingSendLock_);
    // Finished tasks need no waiting. In a long recording they would accumulate.
    while (!pendingSendTasks_.empty() && pendingSendTasks_.front().isDone())
        pendingSendTasks_.pop_front();
    pendingSendTasks_.push_back(task);
}

runtime::Task<> RealtimeAudioSender::sendNextChunk(std::weak_ptr<RealtimeConnection> weakConnection) {
    RealtimeConnection::Socket socket;
    platform::WebSocketMessage message;
    {
        const auto connection = weakConnection.lock();
        auto chunk = connection ? connection->takeChunk() : std::nullopt;
        if (!chunk || !chunk->socket)
            co_return;
        message = audioFrame(chunk->pcm);
        base::wipe(chunk->pcm);
        socket = std::move(chunk->socket);
    }
    try {
        co_await socket->send(std::move(message));
    } catch (const std::exception& error) {
        // The receive loop decides about the session.
        base::Logger("RealtimeSTT").error("RealtimeSTT: Failed to send audio chunk — {}", error.what());
    }
}

} // namespace sonvale::transcription
