#include "transcription/RealtimeReceiver.h"

#include <utility>

namespace sonvale::transcription {

RealtimeReceiver::RealtimeReceiver(runtime::Actor pool, runtime::Clock& clock,
                                   std::shared_ptr<RealtimeConnection> connection,
                                   std::shared_ptr<RealtimeAudioSender> sender,
                                   std::shared_ptr<RealtimeTranscript> transcript)
    : pool_(std::move(pool))
    , clock_(clock)
    , connection_(std::move(connection))
    , sender_(std::move(sender))
    , transcript_(std::move(transcript)) {}

runtime::TaskHandle<> RealtimeReceiver::start(RealtimeConnection::Socket socket) {
    return runtime::spawn(pool_, receive(weak_from_this(), std::move(socket)));
}

runtime::Task<> RealtimeReceiver::receive(Weak weakSelf, RealtimeConnection::Socket socket) {
    while (!co_await runtime::isCurrentTaskCancelled()) {
        {
            const auto self = weakSelf.lock();
            if (!self || self->connection_->isStale(socket))
                break;
        }
        std::optional<platform::WebSocketMessage> message;
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
            if (!self->connection_->isStale(socket))
                self->transcript_->handleMessage(*message);
            continue;
        }
        self->logger_.error("RealtimeSTT: WebSocket receive error — {}", failure->localizedDescription);
        if (self->connection_->drop(socket))
            self->transcript_->resolveContinuation(
                std::make_exception_ptr(TranscriptionError::networkError(*failure)));
        break;
    }
    if (const auto self = weakSelf.lock())
        self->endReceiving(socket);
}

void RealtimeReceiver::endReceiving(const RealtimeConnection::Socket& socket) {
    if (connection_->endReceiving(socket))
        logLifecycle(" (receive loop exit)");
    logger_.info("RealtimeSTT: Receive loop exited");
}

void RealtimeReceiver::logLifecycle(const char* occasion) {
    if (const auto openedAt = connection_->takeOpenedAt())
        logger_.info("RealtimeSTT: Session lifecycle{} — duration: {:.1f}s, audio_sent: {}", occasion,
                     clock_.now() - *openedAt, sender_->takeAudioWasSent());
}

} // namespace sonvale::transcription
