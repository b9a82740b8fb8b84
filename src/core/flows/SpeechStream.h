#pragma once

#include "core/Environment.h"
#include "core/flows/Captures.h"
#include "runtime/AsyncMutex.h"
#include "runtime/OwnedTasks.h"
#include "transcription/TranscriptionManager.h"

#include <memory>
#include <optional>
#include <string>

namespace sonvale::core {

/// The stream from the microphone to the realtime service. The recorder's buffers are bound to it, and
/// unbound, here and nowhere else. Main actor.
class SpeechStream {
public:
    /// What is referred to must outlive it.
    SpeechStream(const Environment& environment, std::shared_ptr<audio::AudioRecorder> recorder,
                 std::shared_ptr<transcription::TranscriptionManager> manager, const Captures& captures,
                 const runtime::OwnedTasks& tasks);

    /// Whether the engine preference streams while the user speaks.
    bool isPreferred() const { return manager_->isStreamingPreferred(); }
    /// Whether a session is open and takes audio at once.
    bool isReady() const { return manager_->isStreamReady(); }

    /// Streams the recording that has begun. Returns whether it is streamed; if not, its file gives the text.
    runtime::Task<bool> begin();

    /// Ends the dictation's last utterance and unbinds the recorder: what is said from here on belongs to no
    /// dictation, and the session may serve the next one. Returns the text, or nullopt if the file has to
    /// give it.
    runtime::Task<std::optional<std::string>> finish();

    /// Ends an utterance; the recording stays bound. Returns its text, or nullopt if the service gives none
    /// or if the next recording has the microphone and the session.
    runtime::Task<std::optional<std::string>> finishPiece(std::shared_ptr<Recording> recording);

    /// Keeps the session for the next utterance.
    void reset() { manager_->resetStream(); }

    /// Closes the session and wipes what was gathered for it.
    void cancel() { manager_->cancelStream(); }

    /// Cancels an end whose audio does not leave. Returns whether it did; that end goes on without a text.
    bool cancelUncommitted() { return manager_->cancelUncommittedStream(); }

    /// Ends the use of the service: what is said from now on reaches neither a session that is still open
    /// nor, as gathered audio, the next one. The file of the recording has it.
    void stop();

    /// Begins to open a session ahead of the next recording, if the preference streams. Cancels a former
    /// attempt that still runs.
    void preWarm();

private:
    platform::AudioFormat inputFormat() const;
    static runtime::Task<> openAhead(std::shared_ptr<transcription::TranscriptionManager> manager,
                                     platform::AudioFormat format);

    const Environment& environment_;
    std::shared_ptr<audio::AudioRecorder> recorder_;
    std::shared_ptr<transcription::TranscriptionManager> manager_;
    const Captures& captures_;
    const runtime::OwnedTasks& tasks_;
    runtime::AsyncMutex commit_; ///< held while a text of the service is awaited
    runtime::TaskHandle<> preWarm_;
};

} // namespace sonvale::core
