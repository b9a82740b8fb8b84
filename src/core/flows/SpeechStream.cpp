#include "core/flows/SpeechStream.h"

#include "base/Log.h"
#include "runtime/Clock.h"

#include <utility>

namespace sonvale::core {

SpeechStream::SpeechStream(const Environment& environment, std::shared_ptr<audio::AudioRecorder> recorder,
                           std::shared_ptr<transcription::TranscriptionManager> manager,
                           const Captures& captures, const runtime::OwnedTasks& tasks)
    : environment_(environment)
    , recorder_(std::move(recorder))
    , manager_(std::move(manager))
    , captures_(captures)
    , tasks_(tasks) {}

runtime::Task<bool> SpeechStream::begin() {
    if (!isPreferred())
        co_return false;
    const auto* capture = recorder_->audioEngine();
    const auto format = capture ? capture->outputFormat() : platform::AudioFormat{};
    const std::function<void(audio::AudioRecorder::BufferConsumer)> bind =
        [recorder = recorder_](audio::AudioRecorder::BufferConsumer consumer) {
            recorder->setOnBuffer(std::move(consumer));
        };
    try {
        co_await manager_->startStreaming(format, bind);
        co_return true;
    } catch (const std::exception&) {
        // The engine has logged the reason. The recording continues.
    }
    co_return false;
}

runtime::Task<std::optional<std::string>> SpeechStream::finish() {
    // The input still holds the last sounds before the key went up.
    recorder_->drain();
    recorder_->setOnBuffer(nullptr);
    // After a cancel the service may still work on the previous recording.
    const auto turn = co_await commit_.lock();

    const double startTime = environment_.clock.now();
    std::optional<std::string> text;
    std::string remark;
    bool isCancelled = false;
    try {
        text = co_await manager_->finishStreaming();
    } catch (const runtime::CancellationError& error) {
        isCancelled = true;
        remark = fmt::format(" (failed: {})", error.what());
    } catch (const std::exception& error) {
        remark = fmt::format(" (failed: {})", error.what());
    }
    base::perfLog(fmt::format("stopDictation → finalize: {}ms{}",
                              runtime::millisecondsSince(environment_.clock, startTime), remark));
    // A late transcript must not appear in the next text. After a cancel, the open session is another one.
    if (!text && !isCancelled)
        cancel();
    co_return text;
}

runtime::Task<std::optional<std::string>> SpeechStream::finishPiece(std::shared_ptr<Recording> recording) {
    const auto turn = co_await commit_.lock();
    if (!captures_.isNewest(*recording))
        co_return std::nullopt;
    recorder_->drain();
    try {
        co_return co_await manager_->finishStreaming();
    } catch (const std::exception&) {
        // The engine has logged the reason. Both modes continue without the piece.
        co_return std::nullopt;
    }
}

void SpeechStream::stop() {
    preWarm_.cancel();
    recorder_->setOnBuffer(nullptr);
    cancel();
}

void SpeechStream::preWarm() {
    preWarm_.cancel();
    preWarm_ = tasks_.run<SpeechStream>(*this, [](SpeechStream& self) {
        return openAhead(self.manager_, self.isPreferred() ? self.inputFormat() : platform::AudioFormat{});
    });
}

platform::AudioFormat SpeechStream::inputFormat() const {
    const auto* capture = recorder_->audioEngine();
    return capture ? capture->outputFormat() : environment_.audioEngines.makeEngine()->outputFormat();
}

runtime::Task<> SpeechStream::openAhead(std::shared_ptr<transcription::TranscriptionManager> manager,
                                        platform::AudioFormat format) {
    if (format.channelCount > 0)
        co_await manager->preWarm(format);
}

} // namespace sonvale::core
