#pragma once

#include "audio/PCMResampler.h"
#include "base/Log.h"
#include "transcription/PreWarmTimer.h"
#include "transcription/RealtimeAudioSender.h"
#include "transcription/RealtimeConnection.h"
#include "transcription/RealtimeParts.h"
#include "transcription/RealtimeReceiver.h"
#include "transcription/RealtimeSessionOpener.h"
#include "transcription/RealtimeTranscript.h"
#include "transcription/RealtimeUtteranceEnd.h"
#include "transcription/StreamingTranscriptionEngine.h"

#include <memory>
#include <optional>
#include <string>

namespace sonvale::transcription {

/// Streams the microphone to the realtime transcription service over a WebSocket, so that the text is
/// available a moment after the user stops.
///
/// Owned by a shared pointer. Its tasks run on the pool and hold a weak reference while they wait.
/// `appendAudio` runs on the capture thread; the other operations may be called from any thread.
///
/// The engine itself has no lock. Its parts have one each: `RealtimeConnection` (the session and its audio),
/// `RealtimeAudioSender` (the sends in progress), `RealtimeUtteranceEnd` (the commit), `RealtimeTranscript`
/// (the text) and `PreWarmTimer`. Each is held for single steps only, never across a suspension, a send or a
/// line of log, and no two at the same time.
class RealtimeTranscriptionEngine final : public StreamingTranscriptionEngine,
                                          public std::enable_shared_from_this<RealtimeTranscriptionEngine> {
public:
    using Parts = RealtimeParts;

    static constexpr double preWarmLifetime = 100; ///< seconds that an unused session stays open

    explicit RealtimeTranscriptionEngine(Parts parts);

    bool isAvailable() const override { return true; }

    /// Always throws `engineUnavailable`: it does not transcribe files.
    runtime::Task<std::string> transcribe(std::filesystem::path audioFileURL,
                                          std::optional<std::string> language) override;

    /// Needs one request for a token, unless there is a key, and one handshake. Needs neither if a session is
    /// open. Throws `TranscriptionError`, `platform::UrlError`, or `runtime::CancellationError` if another
    /// start or a cancel overtakes it. Cancelling the task ends the request for the token.
    runtime::Task<> startSession(platform::AudioFormat inputFormat) override;

    void appendAudio(const platform::PcmBuffer& buffer) override;

    /// Waits at most `RealtimeUtteranceEnd::commitTimeout` until the commit is sent, and then
    /// `transcriptionTimeout`. Cancelling the task does not end the wait. If the connection does not take the
    /// audio in time, closes it and throws `networkError`. A second call ends a waiting first one with
    /// `runtime::CancellationError`.
    runtime::Task<std::string> finalizeStreamingTranscription() override;

    /// Wipes the audio that has not been sent yet.
    void discardAudio();

    /// Keeps the session and drops the audio and text of the present utterance.
    void resetForNextUtterance();

    void cancelSession() override;

    /// Cancels the session if a call of `finalizeStreamingTranscription` still waits until its audio is sent.
    /// That call then throws `runtime::CancellationError`. Returns whether it cancelled. Any thread.
    bool cancelUncommitted();

    /// Closes a session that is ready, for a caller that knows that no recording uses it and that its
    /// connection may be lost. Does nothing if there is none. Any thread.
    void closeReadySession();

    /// Opens a session before a recording. Closes it again if no recording uses it within `preWarmLifetime`.
    /// Does nothing if a session is open. Never throws.
    runtime::Task<> preWarm(platform::AudioFormat inputFormat);

    /// Stops the timer that closes an unused session. Called when a recording uses a pre-warmed session.
    void clearPreWarmState();

    /// Returns whether audio that is appended now is sent at once, to a session of the present language: the
    /// language is sent only when a session opens. Returns false if the session was open while the machine
    /// slept: its connection is probably lost, and no event reports it.
    bool hasReadySession() const;

private:
    using Self = std::shared_ptr<RealtimeTranscriptionEngine>;
    using WeakSelf = std::weak_ptr<RealtimeTranscriptionEngine>;

    static runtime::Task<> open(Self self, platform::AudioFormat inputFormat);
    static runtime::Task<> openAhead(Self self, platform::AudioFormat inputFormat);
    static runtime::Task<> closeLater(WeakSelf weakSelf, runtime::Clock* clock);
    static runtime::Task<std::string> finalize(Self self);

    const Parts parts_;
    base::Logger logger_{"RealtimeSTT"};
    audio::PCMResampler pcmResampler_; ///< used by the capture thread only
    PreWarmTimer preWarmTimer_;
    const std::shared_ptr<RealtimeTranscript> transcript_;
    const std::shared_ptr<RealtimeConnection> connection_;
    const std::shared_ptr<RealtimeAudioSender> sender_;
    const std::shared_ptr<RealtimeReceiver> receiver_;
    const std::shared_ptr<RealtimeUtteranceEnd> utteranceEnd_;
    RealtimeSessionOpener opener_;
};

} // namespace sonvale::transcription
