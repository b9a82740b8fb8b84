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

/// The stream from the microphone to the realtime service. Only this class binds and unbinds the recorder's
/// buffers. Main actor.
class SpeechStream {
public:
    /// The referenced objects must outlive it.
    SpeechStream(const Environment& environment, std::shared_ptr<audio::AudioRecorder> recorder,
                 std::shared_ptr<transcription::TranscriptionManager> manager, const Captures& captures,
                 const runtime::OwnedTasks& tasks);

    /// Returns whether the engine preference streams while the user speaks.
    bool isPreferred() const { return manager_->isStreamingPreferred(); }
    /// Returns whether a session is open and sends audio at once.
    bool isReady() const { return manager_->isStreamReady(); }

    /// Starts to stream the recording that has begun. Returns whether it is streamed; if not, its file gives
    /// the text.
    runtime::Task<bool> begin();

    /// Ends the dictation's last utterance and unbinds the recorder. Later speech belongs to no dictation,
    /// and the next dictation may use the session. Returns the text, or nullopt if the file must give it.
    runtime::Task<std::optional<std::string>> finish();

    /// Ends an utterance; the recording stays bound. Returns its text, or nullopt if the service returns none
    /// or if the next recording uses the microphone and the session.
    runtime::Task<std::optional<std::string>> finishPiece(std::shared_ptr<Recording> recording);

    /// Keeps the session for the next utterance.
    void reset() { manager_->resetStream(); }

    /// Closes the session and wipes the audio collected for it.
    void cancel() { manager_->cancelStream(); }

    /// Cancels an end whose audio is not sent yet. Returns whether it cancelled. That end continues without a
    /// text.
    bool cancelUncommitted() { return manager_->cancelUncommittedStream(); }

    /// Ends the use of the service. Later speech goes neither to a session that is still open nor, as
    /// collected audio, to the next one. The file of the recording contains it.
    void stop();

    /// Starts to open a session before the next recording, if the preference streams. Cancels an earlier
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
    runtime::AsyncMutex commit_; ///< locked while waiting for a text of the service
    runtime::TaskHandle<> preWarm_;
};

} // namespace sonvale::core
