#include "transcription/RealtimeTranscriptionEngine.h"

#include <utility>

namespace sonvale::transcription {

RealtimeTranscriptionEngine::RealtimeTranscriptionEngine(Parts parts)
    : parts_(std::move(parts))
    , pcmResampler_(parts_.converters)
    , transcript_(std::make_shared<RealtimeTranscript>(parts_.clock))
    , connection_(std::make_shared<RealtimeConnection>(parts_.clock))
    , sender_(std::make_shared<RealtimeAudioSender>(parts_.sending, connection_))
    , receiver_(
          std::make_shared<RealtimeReceiver>(parts_.pool, parts_.clock, connection_, sender_, transcript_))
    , utteranceEnd_(std::make_shared<RealtimeUtteranceEnd>(parts_.pool, parts_.sending, parts_.clock,
                                                           connection_, sender_, transcript_))
    , opener_(parts_, connection_, sender_, receiver_, transcript_) {}

runtime::Task<std::string> RealtimeTranscriptionEngine::transcribe(std::filesystem::path /*audioFileURL*/,
                                                                   std::optional<std::string> /*language*/) {
    throw TranscriptionError::engineUnavailable();
    co_return "";
}

// Sessions.

runtime::Task<> RealtimeTranscriptionEngine::startSession(platform::AudioFormat inputFormat) {
    return runtime::runOn(parts_.pool, open(shared_from_this(), inputFormat));
}

runtime::Task<> RealtimeTranscriptionEngine::open(Self self, platform::AudioFormat inputFormat) {
    if (self->hasReadySession()) {
        self->clearPreWarmState();
        self->logger_.info("RealtimeSTT: Reusing pre-warmed session");
        base::perfLog("WebSocket session start: 0ms (reused: true)");
        co_return;
    }
    co_await self->opener_.open(inputFormat);
}

bool RealtimeTranscriptionEngine::hasReadySession() const {
    return connection_->isReady(parts_.language());
}

void RealtimeTranscriptionEngine::cancelSession() {
    receiver_->logLifecycle("");
    logger_.info("RealtimeSTT: Cancelling session");

    const auto sent = utteranceEnd_->takeWait();
    const auto line = connection_->end();
    line.receiveTask.cancel();
    preWarmTimer_.cancel();
    line.close();
    connection_->endAudio();
    sender_->forgetPending();
    transcript_->forgetSession();
    connection_->forgetDrop();
    transcript_->resolveContinuation(std::make_exception_ptr(runtime::CancellationError()));
    if (sent)
        sent->fail(std::make_exception_ptr(runtime::CancellationError()));
}

void RealtimeTranscriptionEngine::closeReadySession() {
    if (!connection_->isOpen())
        return;
    logger_.info("RealtimeSTT: Closing an idle session whose connection may be lost");
    cancelSession();
}

// Utterances.

void RealtimeTranscriptionEngine::appendAudio(const platform::PcmBuffer& buffer) {
    if (auto bytes = pcmResampler_.resample(buffer))
        sender_->append(*bytes);
}

runtime::Task<std::string> RealtimeTranscriptionEngine::finalizeStreamingTranscription() {
    return runtime::runOn(parts_.pool, finalize(shared_from_this()));
}

runtime::Task<std::string> RealtimeTranscriptionEngine::finalize(Self self) {
    co_return co_await self->utteranceEnd_->finish();
}

bool RealtimeTranscriptionEngine::cancelUncommitted() {
    if (!utteranceEnd_->isSending())
        return false;
    cancelSession();
    return true;
}

void RealtimeTranscriptionEngine::discardAudio() {
    connection_->wipeRest();
}

void RealtimeTranscriptionEngine::resetForNextUtterance() {
    transcript_->forgetUtterance();
    discardAudio();
    sender_->forgetPending();
    connection_->forgetDrop();
    logger_.info("RealtimeSTT: Reset for next utterance (session still active)");
}

// Pre-warming.

runtime::Task<> RealtimeTranscriptionEngine::preWarm(platform::AudioFormat inputFormat) {
    return runtime::runOn(parts_.pool, openAhead(shared_from_this(), inputFormat));
}

runtime::Task<> RealtimeTranscriptionEngine::openAhead(Self self, platform::AudioFormat inputFormat) {
    if (self->hasReadySession()) {
        self->logger_.info("RealtimeSTT: Pre-warm skipped — session already active");
        co_return;
    }
    self->preWarmTimer_.expect(inputFormat);
    const double startTime = self->parts_.clock.now();
    std::optional<std::string> failure;
    try {
        co_await open(self, inputFormat);
    } catch (const std::exception& error) {
        failure = error.what();
    }
    const auto elapsed = runtime::millisecondsSince(self->parts_.clock, startTime);
    if (failure) {
        base::perfLog(fmt::format("Pre-warm session: {}ms (failed: {})", elapsed, *failure));
        self->logger_.error("RealtimeSTT: Pre-warm failed — {}", *failure);
        co_return;
    }
    base::perfLog(fmt::format("Pre-warm session: {}ms (success)", elapsed));
    self->logger_.info("RealtimeSTT: Pre-warm session established");
    self->preWarmTimer_.start(runtime::spawn(self->parts_.pool, closeLater(self, &self->parts_.clock)));
}

runtime::Task<> RealtimeTranscriptionEngine::closeLater(WeakSelf weakSelf, runtime::Clock* clock) {
    if (co_await runtime::sleep(*clock, preWarmLifetime) == runtime::SleepOutcome::interrupted)
        co_return;
    const auto self = weakSelf.lock();
    if (!self || co_await runtime::isCurrentTaskCancelled())
        co_return;
    self->logger_.info("RealtimeSTT: Pre-warm token expiring — refreshing session");
    // This also cancels the timer, which is this task: an unused session is closed and not opened again.
    self->cancelSession();
    if (co_await runtime::isCurrentTaskCancelled())
        co_return;
    if (const auto format = self->preWarmTimer_.format())
        co_await openAhead(self, *format);
}

void RealtimeTranscriptionEngine::clearPreWarmState() {
    preWarmTimer_.clear();
}

} // namespace sonvale::transcription
