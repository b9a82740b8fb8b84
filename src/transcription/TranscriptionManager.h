#pragma once

#include "audio/AudioRecorder.h"
#include "base/Observed.h"
#include "transcription/RealtimeTranscriptionEngine.h"
#include "transcription/TranscriptionEngine.h"
#include "transcription/TranscriptionEnginePreference.h"

#include <memory>

namespace sonvale::transcription {

/// Owns the engines and chooses between them. Lives on the main actor.
class TranscriptionManager {
public:
    TranscriptionManager(std::shared_ptr<TranscriptionEngine> cloudEngine,
                         std::shared_ptr<RealtimeTranscriptionEngine> realtimeEngine);
    TranscriptionManager(const TranscriptionManager&) = delete;
    TranscriptionManager& operator=(const TranscriptionManager&) = delete;

    const std::shared_ptr<TranscriptionEngine> cloudEngine;
    const std::shared_ptr<RealtimeTranscriptionEngine> realtimeEngine;

    base::Observed<TranscriptionEnginePreference> preferredEngine{TranscriptionEnginePreference::hybrid};

    /// Null until the start-up sets it.
    base::Observed<std::shared_ptr<TranscriptionEngine>> localEngine;

    /// Whether the preference streams while the user speaks.
    bool isStreamingPreferred() const;

    /// Told when a recording goes on without a session, whose file may come to the local engine: it can load
    /// its model meanwhile. Returns at once.
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

    /// Binds the recorder's buffers to the realtime engine and makes sure that a session stands. Throws as
    /// `startSession` does; audio is kept from the call on, whatever comes. Audio that an earlier recording
    /// left behind is wiped.
    runtime::Task<> startStreaming(std::shared_ptr<audio::AudioRecorder> recorder);

    /// Opens a session ahead of a recording where the preference streams. Never throws.
    runtime::Task<> preWarm(platform::AudioFormat inputFormat);

private:
    std::shared_ptr<TranscriptionEngine> usableLocalEngine() const;
};

} // namespace sonvale::transcription
