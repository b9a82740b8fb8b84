#pragma once

#include "platform/AudioTypes.h"
#include "transcription/TranscriptionEngine.h"

namespace sonvale::transcription {

/// Turns speech into text while the user speaks.
class StreamingTranscriptionEngine : public TranscriptionEngine {
public:
    /// Opens a session for audio of this format, or uses one that is open. Does not run on the caller's
    /// actor. Throws if the session cannot be opened; keeps the audio that was appended.
    virtual runtime::Task<> startSession(platform::AudioFormat inputFormat) = 0;

    /// Appends one captured buffer, before or during a session. Runs on the capture thread: never waits and
    /// never throws.
    virtual void appendAudio(const platform::PcmBuffer& buffer) = 0;

    /// Ends the utterance and waits for its text. Does not run on the caller's actor; ends within some
    /// seconds. Throws `TranscriptionError`, or `runtime::CancellationError` if the session is cancelled.
    virtual runtime::Task<std::string> finalizeStreamingTranscription() = 0;

    /// Closes the session and drops its audio and text. Returns at once; any thread.
    virtual void cancelSession() = 0;
};

} // namespace sonvale::transcription
