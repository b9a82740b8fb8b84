#pragma once

#include "platform/AudioTypes.h"
#include "transcription/TranscriptionEngine.h"

namespace sonvale::transcription {

/// Turns speech into text while it is spoken.
class StreamingTranscriptionEngine : public TranscriptionEngine {
public:
    /// Opens a session for audio of that format, or takes one that stands already. Runs away from the
    /// caller's actor. Throws when it cannot be opened; audio that was appended stays.
    virtual runtime::Task<> startSession(platform::AudioFormat inputFormat) = 0;

    /// Takes one captured buffer, before or in a session. On the capture thread: it never waits and never
    /// throws.
    virtual void appendAudio(const platform::PcmBuffer& buffer) = 0;

    /// Ends the utterance and waits for its text. Runs away from the caller's actor and ends within some
    /// seconds. Throws `TranscriptionError`, or `runtime::CancellationError` when the session is cancelled.
    virtual runtime::Task<std::string> finalizeStreamingTranscription() = 0;

    /// Closes the session and forgets what was spoken. Returns at once; any thread.
    virtual void cancelSession() = 0;
};

} // namespace sonvale::transcription
