#include "transcription/TranscriptionManager.h"

#include "transcription/TranscriptionError.h"

#include <utility>

namespace sonvale::transcription {

runtime::Task<std::string> TranscriptionManager::transcribe(std::filesystem::path audioFileURL,
                                                            std::optional<std::string> language) {
    const auto preference = preferredEngine.get();
    const bool isLocalAllowed = preference == TranscriptionEnginePreference::local ||
                                preference == TranscriptionEnginePreference::hybrid;
    // Held, so that the engine stays while it works.
    const auto engine = localEngine.get();
    if (!isLocalAllowed || !engine || !engine->isAvailable())
        throw TranscriptionError::engineUnavailable();
    co_return co_await engine->transcribe(std::move(audioFileURL), std::move(language));
}

} // namespace sonvale::transcription
