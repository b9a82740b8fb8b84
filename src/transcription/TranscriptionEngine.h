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

    /// Whether `transcribe` can be expected to work now. Any thread; does not block.
    virtual bool isAvailable() const = 0;

    /// Told when a recording begins whose file may come here: what takes long to load can be loaded
    /// meanwhile. Returns at once. Any thread.
    virtual void prepare() {}

    /// The words in a finished audio file. `language` is a code such as "en" or "auto"; absent: the engine
    /// chooses. Runs on any actor and never holds it; the engine must outlive the task. Throws
    /// `TranscriptionError`, when the task is cancelled too, or what the system says about the file.
    virtual runtime::Task<std::string> transcribe(std::filesystem::path audioFileURL,
                                                  std::optional<std::string> language) = 0;
};

} // namespace sonvale::transcription
