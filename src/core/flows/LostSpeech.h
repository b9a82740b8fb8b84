#pragma once

#include "core/flows/Captures.h"
#include "core/flows/Transcripts.h"
#include "runtime/OwnedTasks.h"
#include "transcription/TranscriptionManager.h"

#include <memory>
#include <string>

namespace sonvale::core {

/// Rescues speech that can no longer be typed. If the service returned no text for a recording, its file is
/// transcribed, and the text goes to the history and to paste-last. It is not typed, because the user may be
/// in another application by then. Main actor.
class LostSpeech {
public:
    /// The referenced objects must outlive it.
    LostSpeech(Captures& captures, Transcripts& transcripts,
               std::shared_ptr<transcription::TranscriptionManager> manager,
               const runtime::OwnedTasks& tasks);

    /// Ends the capture and starts to transcribe its file if it contains speech, and the previous file if
    /// that contains the beginning.
    void rescue(Recording& recording);

    /// Starts to transcribe a file in a separate task, so that neither the microphone nor the next utterance
    /// waits. The files are transcribed one after the other, so that the history has them in the order in
    /// which they were spoken. Each file is deleted at the end of its task, also after a failure.
    void rescue(RecordingFile file, bool isLocalOnly);

private:
    static runtime::Task<std::string> textOf(runtime::TaskHandle<> previous,
                                             std::shared_ptr<transcription::TranscriptionManager> manager,
                                             RecordingFile file, bool isLocalOnly);

    Captures& captures_;
    Transcripts& transcripts_;
    std::shared_ptr<transcription::TranscriptionManager> manager_;
    const runtime::OwnedTasks& tasks_;
    runtime::TaskHandle<> newest_; ///< waits for the previous task
};

/// Transcribes a file. A recording from local-only mode stays on this machine, also if the mode has been left
/// since. Throws the errors of `TranscriptionManager::transcribe`.
runtime::Task<std::string> transcribeFile(std::shared_ptr<transcription::TranscriptionManager> manager,
                                          std::filesystem::path file, bool isLocalOnly);

} // namespace sonvale::core
