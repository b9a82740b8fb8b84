#include "transcription/TranscriptionManager.h"

#include "transcription/TranscriptionError.h"

#include <exception>
#include <utility>

namespace sonvale::transcription {

using Preference = TranscriptionEnginePreference;

TranscriptionManager::TranscriptionManager(std::shared_ptr<TranscriptionEngine> cloud,
                                           std::shared_ptr<RealtimeTranscriptionEngine> realtime)
    : cloudEngine(std::move(cloud))
    , realtimeEngine_(std::move(realtime)) {}

bool TranscriptionManager::isStreamingPreferred() const {
    const auto preference = preferredEngine.get();
    return preference == Preference::streaming || preference == Preference::hybrid;
}

std::shared_ptr<TranscriptionEngine> TranscriptionManager::usableLocalEngine() const {
    const auto engine = localEngine.get();
    return engine && engine->isAvailable() ? engine : nullptr;
}

void TranscriptionManager::prepareLocalEngine() const {
    const auto preference = preferredEngine.get();
    const bool isLocalPossible = preference == Preference::local || preference == Preference::hybrid;
    if (const auto engine = isLocalPossible ? usableLocalEngine() : nullptr)
        engine->prepare();
}

runtime::Task<std::string> TranscriptionManager::transcribe(std::filesystem::path audioFileURL,
                                                            std::optional<std::string> language) {
    const auto preference = preferredEngine.get();
    std::exception_ptr cloudError;
    if (preference != Preference::local) {
        // Keeps the engine while it works.
        const auto cloud = cloudEngine;
        try {
            co_return co_await cloud->transcribe(audioFileURL, language);
        } catch (...) {
            cloudError = std::current_exception();
        }
        if (preference != Preference::hybrid)
            std::rethrow_exception(cloudError);
    }

    if (cloudError && !usableLocalEngine())
        std::rethrow_exception(cloudError);
    co_return co_await transcribeOnDevice(std::move(audioFileURL), std::move(language));
}

runtime::Task<std::string> TranscriptionManager::transcribeOnDevice(std::filesystem::path audioFileURL,
                                                                    std::optional<std::string> language) {
    const auto local = usableLocalEngine();
    if (!local)
        throw TranscriptionError::engineUnavailable();
    co_return co_await local->transcribe(std::move(audioFileURL), std::move(language));
}

runtime::Task<> TranscriptionManager::startStreaming(platform::AudioFormat inputFormat,
                                                     std::function<void(AudioConsumer)> bind) {
    if (inputFormat.channelCount == 0)
        throw TranscriptionError::engineUnavailable();

    const auto engine = realtimeEngine_;
    // A buffer that was being converted when an earlier recording was unbound may have arrived later.
    engine->discardAudio();
    // First, so that the speech during the opening of the socket is kept.
    bind([engine](const platform::PcmBufferPtr& buffer) { engine->appendAudio(*buffer); });

    // Also if another session is opened: the refresh timer of the previous session must not close it.
    engine->clearPreWarmState();
    if (!engine->hasReadySession())
        co_await engine->startSession(inputFormat);
}

runtime::Task<std::string> TranscriptionManager::finishStreaming() {
    const auto engine = realtimeEngine_;
    co_return co_await engine->finalizeStreamingTranscription();
}

runtime::Task<> TranscriptionManager::preWarm(platform::AudioFormat inputFormat) {
    if (!isStreamingPreferred())
        co_return;
    const auto engine = realtimeEngine_;
    co_await engine->preWarm(inputFormat);
}

} // namespace sonvale::transcription
