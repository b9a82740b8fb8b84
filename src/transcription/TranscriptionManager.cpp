#include "transcription/TranscriptionManager.h"

#include "transcription/TranscriptionError.h"

#include <utility>

namespace sonvale::transcription {

std::shared_ptr<TranscriptionEngine> TranscriptionManager::usableEngine() const {
    const auto preference = preferredEngine.get();
    const bool isLocalAllowed = preference == TranscriptionEnginePreference::local ||
                                preference == TranscriptionEnginePreference::hybrid;
    const auto engine = localEngine.get();
    return isLocalAllowed && engine && engine->isAvailable() ? engine : nullptr;
}

void TranscriptionManager::prepare() const {
    if (const auto engine = usableEngine())
        engine->prepare();
}

runtime::Task<std::string> TranscriptionManager::transcribe(std::filesystem::path audioFileURL,
                                                            std::optional<std::string> language) {
    // Held, so that the engine stays while it works.
    const auto engine = usableEngine();
    if (!engine)
        throw TranscriptionError::engineUnavailable();
    co_return co_await engine->transcribe(std::move(audioFileURL), std::move(language));
}

} // namespace sonvale::transcription
