#pragma once

#include "core/flows/Captures.h"
#include "core/flows/Transcripts.h"
#include "runtime/OwnedTasks.h"
#include "transcription/TranscriptionManager.h"

#include <memory>
#include <string>

namespace sonvale::core {

/// What was said and can no longer be typed: a recording that the service gave no text for is transcribed
/// from its file, and the text goes to the history and to paste-last. It is not typed, because the user may
/// be in another application by then. Main actor.
class LostSpeech {
public:
    /// What is referred to must outlive it.
    LostSpeech(Captures& captures, Transcripts& transcripts,
               std::shared_ptr<transcription::TranscriptionManager> manager,
               const runtime::OwnedTasks& tasks);

    /// Ends the capture and begins to transcribe its file, if it holds speech, and the one before it if that
    /// one holds the beginning.
    void rescue(Recording& recording);

    /// Begins to transcribe a file, in a task of its own, so that neither the microphone nor the next
    /// utterance waits. The files are transcribed one after the other: the history has them in the order in
    /// which they were spoken. Each file is deleted with its task, however that ends.
    void rescue(RecordingFile file, bool isLocalOnly);

private:
    static runtime::Task<std::string> textOf(runtime::TaskHandle<> previous,
                                             std::shared_ptr<transcription::TranscriptionManager> manager,
                                             RecordingFile file, bool isLocalOnly);

    Captures& captures_;
    Transcripts& transcripts_;
    std::shared_ptr<transcription::TranscriptionManager> manager_;
    const runtime::OwnedTasks& tasks_;
    runtime::TaskHandle<> newest_; ///< it waits for the one before
};

/// Transcribes a file. What was recorded in local-only mode stays on this machine, also if the mode has been
/// left since. Throws as `TranscriptionManager::transcribe`.
runtime::Task<std::string> transcribeFile(std::shared_ptr<transcription::TranscriptionManager> manager,
                                          std::filesystem::path file, bool isLocalOnly);

} // namespace sonvale::core
