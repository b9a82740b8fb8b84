#pragma once

#include "base/Observed.h"
#include "transcription/TranscriptionEngine.h"
#include "transcription/TranscriptionEnginePreference.h"

#include <memory>

namespace sonvale::transcription {

/// Owns the engines and chooses between them. Lives on the main actor.
class TranscriptionManager {
public:
    TranscriptionManager() = default;
    TranscriptionManager(const TranscriptionManager&) = delete;
    TranscriptionManager& operator=(const TranscriptionManager&) = delete;

    base::Observed<TranscriptionEnginePreference> preferredEngine{TranscriptionEnginePreference::hybrid};

    /// Null until the start-up sets it.
    base::Observed<std::shared_ptr<TranscriptionEngine>> localEngine;

    /// Told when a recording begins, so that the engine that will be asked can get ready. Returns at once.
    void prepare() const;

    /// Transcribes a finished file by the preferred engine. Throws the engine's error as it is, and
    /// `engineUnavailable` when no engine that the preference allows is there. Cancelling goes to the engine.
    runtime::Task<std::string> transcribe(std::filesystem::path audioFileURL,
                                          std::optional<std::string> language);

private:
    std::shared_ptr<TranscriptionEngine> usableEngine() const;
};

} // namespace sonvale::transcription
