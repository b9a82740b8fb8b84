#pragma once

#include "runtime/Task.h"

#include <filesystem>
#include <optional>
#include <string>

namespace sonvale::transcription {

/// Turns recorded speech into text.
class TranscriptionEngine {
public:
    TranscriptionEngine() = default;
    TranscriptionEngine(const TranscriptionEngine&) = delete;
    TranscriptionEngine& operator=(const TranscriptionEngine&) = delete;
    virtual ~TranscriptionEngine() = default;

    /// Returns whether `transcribe` is expected to work now. Any thread; does not block.
    virtual bool isAvailable() const = 0;

    /// Called when a recording begins whose file this engine may get. The engine can load a model meanwhile.
    /// Returns at once. Any thread.
    virtual void prepare() {}

    /// Returns the words in a finished audio file. `language` is a code such as "en" or "auto"; if it is
    /// absent, the engine chooses. Runs on any actor and never blocks it; the engine must outlive the task.
    /// Throws `TranscriptionError`, also if the task is cancelled, or the system's error about the file.
    virtual runtime::Task<std::string> transcribe(std::filesystem::path audioFileURL,
                                                  std::optional<std::string> language) = 0;
};

} // namespace sonvale::transcription
