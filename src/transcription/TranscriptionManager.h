#pragma once

#include "base/Observed.h"
#include "platform/AudioTypes.h"
#include "transcription/RealtimeTranscriptionEngine.h"
#include "transcription/TranscriptionEngine.h"
#include "transcription/TranscriptionEnginePreference.h"

#include <functional>
#include <memory>

namespace sonvale::transcription {

/// Owns the engines, chooses between them, and provides the one stream to the realtime service. Main actor.
class TranscriptionManager {
public:
    /// Receives captured buffers on the capture thread. Never waits and never throws.
    using AudioConsumer = std::function<void(const platform::PcmBufferPtr&)>;

    TranscriptionManager(std::shared_ptr<TranscriptionEngine> cloudEngine,
                         std::shared_ptr<RealtimeTranscriptionEngine> realtimeEngine);
    TranscriptionManager(const TranscriptionManager&) = delete;
    TranscriptionManager& operator=(const TranscriptionManager&) = delete;

    const std::shared_ptr<TranscriptionEngine> cloudEngine;

    base::Observed<TranscriptionEnginePreference> preferredEngine{TranscriptionEnginePreference::hybrid};

    /// Null until the startup sets it.
    base::Observed<std::shared_ptr<TranscriptionEngine>> localEngine;

    /// Returns whether the preference streams audio while the user speaks.
    bool isStreamingPreferred() const;

    /// Asks the local engine to load its model if it may get the file of a recording, because the recording
    /// runs without a session. Returns at once.
    void prepareLocalEngine() const;

    /// Transcribes a finished file. `cloud` and `streaming` use the cloud, `local` uses this machine, and
    /// `hybrid` uses the cloud and, after any failure, this machine. Throws the error of the last engine
    /// used. If the local engine is needed and not usable, throws `engineUnavailable`, or for `hybrid` the
    /// cloud's error. Cancelling the task cancels the engine's task.
    runtime::Task<std::string> transcribe(std::filesystem::path audioFileURL,
                                          std::optional<std::string> language);

    /// Transcribes a finished file on this machine, for any preference. Throws `engineUnavailable` if there
    /// is no usable local engine, or the engine's error. Cancelling the task cancels the engine's task.
    runtime::Task<std::string> transcribeOnDevice(std::filesystem::path audioFileURL,
                                                  std::optional<std::string> language);

    /// Streams a recording of this format. Wipes the remaining audio of an earlier recording, passes the
    /// consumer of the new one to `bind`, and opens a session if none is open. Audio is kept from the call of
    /// `bind` on, also if the session does not open. Throws `engineUnavailable` for a format without
    /// channels, and the errors of `RealtimeTranscriptionEngine::startSession`.
    runtime::Task<> startStreaming(platform::AudioFormat inputFormat,
                                   std::function<void(AudioConsumer)> bind);

    /// Ends the utterance and returns its text, as
    /// `RealtimeTranscriptionEngine::finalizeStreamingTranscription`. Only one call may wait at a time,
    /// because an answer does not say to which call it belongs.
    runtime::Task<std::string> finishStreaming();

    /// Keeps the session for the next utterance.
    void resetStream() const { realtimeEngine_->resetForNextUtterance(); }

    /// Closes the session and wipes the audio collected for it. Returns at once.
    void cancelStream() const { realtimeEngine_->cancelSession(); }

    /// Cancels the stream if its audio is not sent yet, as `RealtimeTranscriptionEngine::cancelUncommitted`.
    bool cancelUncommittedStream() const { return realtimeEngine_->cancelUncommitted(); }

    /// Closes a session that no recording uses. Does nothing if there is none.
    void closeReadyStream() const { realtimeEngine_->closeReadySession(); }

    /// Returns whether a session is open and sends audio at once.
    bool isStreamReady() const { return realtimeEngine_->hasReadySession(); }

    /// Opens a session before a recording if the preference streams. Never throws.
    runtime::Task<> preWarm(platform::AudioFormat inputFormat);

private:
    std::shared_ptr<TranscriptionEngine> usableLocalEngine() const;

    const std::shared_ptr<RealtimeTranscriptionEngine> realtimeEngine_;
};

} // namespace sonvale::transcription
