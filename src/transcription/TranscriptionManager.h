#pragma once

#include "base/Observed.h"
#include "platform/AudioTypes.h"
#include "transcription/RealtimeTranscriptionEngine.h"
#include "transcription/TranscriptionEngine.h"
#include "transcription/TranscriptionEnginePreference.h"

#include <functional>
#include <memory>

namespace sonvale::transcription {

/// Owns the engines and chooses between them, and offers the one stream to the realtime service. Main actor.
class TranscriptionManager {
public:
    /// Takes captured buffers, on the capture thread; it never waits and never throws.
    using AudioConsumer = std::function<void(const platform::PcmBufferPtr&)>;

    TranscriptionManager(std::shared_ptr<TranscriptionEngine> cloudEngine,
                         std::shared_ptr<RealtimeTranscriptionEngine> realtimeEngine);
    TranscriptionManager(const TranscriptionManager&) = delete;
    TranscriptionManager& operator=(const TranscriptionManager&) = delete;

    const std::shared_ptr<TranscriptionEngine> cloudEngine;

    base::Observed<TranscriptionEnginePreference> preferredEngine{TranscriptionEnginePreference::hybrid};

    /// Null until the start-up sets it.
    base::Observed<std::shared_ptr<TranscriptionEngine>> localEngine;

    /// Whether the preference streams while the user speaks.
    bool isStreamingPreferred() const;

    /// Lets the local engine load its model if the file of a recording may come to it: the recording goes on
    /// without a session. Returns at once.
    void prepareLocalEngine() const;

    /// Transcribes a finished file: `cloud` and `streaming` by the cloud, `local` on this machine, `hybrid`
    /// by the cloud and after any failure on this machine. Throws the error of the engine that was asked
    /// last; without a usable local engine `engineUnavailable`, or with `hybrid` the cloud's error.
    /// Cancelling goes to the engine.
    runtime::Task<std::string> transcribe(std::filesystem::path audioFileURL,
                                          std::optional<std::string> language);

    /// Transcribes a finished file on this machine, whatever the preference. Throws `engineUnavailable`
    /// without a usable local engine, or the engine's error. Cancelling goes to the engine.
    runtime::Task<std::string> transcribeOnDevice(std::filesystem::path audioFileURL,
                                                  std::optional<std::string> language);

    /// Streams a recording of this format. Wipes the audio that an earlier recording left behind, hands the
    /// consumer of the new one to `bind`, and makes sure that a session is open: audio is kept from the bind
    /// on, also if the session does not open. Throws `engineUnavailable` for a format without channels, and
    /// as `RealtimeTranscriptionEngine::startSession`.
    runtime::Task<> startStreaming(platform::AudioFormat inputFormat,
                                   std::function<void(AudioConsumer)> bind);

    /// Ends the utterance and returns its text, as
    /// `RealtimeTranscriptionEngine::finalizeStreamingTranscription`. Answers do not say to which of two
    /// calls they belong, so that only one may wait at a time.
    runtime::Task<std::string> finishStreaming();

    /// Keeps the session for the next utterance.
    void resetStream() const { realtimeEngine_->resetForNextUtterance(); }

    /// Closes the session and wipes what was gathered for it. Returns at once.
    void cancelStream() const { realtimeEngine_->cancelSession(); }

    /// Cancels the stream if its audio does not leave, as `RealtimeTranscriptionEngine::cancelUncommitted`.
    bool cancelUncommittedStream() const { return realtimeEngine_->cancelUncommitted(); }

    /// Closes a session that no recording uses. Does nothing if there is none.
    void closeReadyStream() const { realtimeEngine_->closeReadySession(); }

    /// Whether a session is open and takes audio at once.
    bool isStreamReady() const { return realtimeEngine_->hasReadySession(); }

    /// Opens a session ahead of a recording if the preference streams. Never throws.
    runtime::Task<> preWarm(platform::AudioFormat inputFormat);

private:
    std::shared_ptr<TranscriptionEngine> usableLocalEngine() const;

    const std::shared_ptr<RealtimeTranscriptionEngine> realtimeEngine_;
};

} // namespace sonvale::transcription
