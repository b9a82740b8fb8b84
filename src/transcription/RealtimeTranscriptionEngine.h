#pragma once

#include "audio/PCMResampler.h"
#include "base/Log.h"
#include "base/WipingAllocator.h"
#include "platform/UrlSession.h"
#include "platform/WebSocketTask.h"
#include "runtime/Clock.h"
#include "services/ServiceAddresses.h"
#include "services/TokenProvider.h"
#include "transcription/RealtimeTranscript.h"
#include "transcription/StreamingTranscriptionEngine.h"

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace sonvale::transcription {

/// Streams the microphone to the realtime transcription service over a WebSocket, so that the text is
/// available a moment after the user stops.
///
/// Owned by a shared pointer. Its tasks run on the pool and hold a weak reference while they wait.
/// `appendAudio` runs on the capture thread; the other operations may be called from any thread. Three locks
/// guard the state. Each is held for single steps only, never across a suspension, a send or a line of log,
/// and no two at the same time.
class RealtimeTranscriptionEngine final : public StreamingTranscriptionEngine,
                                          public std::enable_shared_from_this<RealtimeTranscriptionEngine> {
public:
    static constexpr std::size_t targetChunkBytes = 4800; ///< 100 ms of 16-bit mono audio at 24,000 Hz
    static constexpr double commitTimeout = 5;         ///< seconds for the rest of the audio and the commit
    static constexpr double transcriptionTimeout = 10; ///< seconds from the commit to the transcript
    static constexpr double preWarmLifetime = 100;     ///< seconds that an unused session stays open

    /// The objects that it uses. All of them outlive it.
    struct Parts {
        runtime::Actor pool;
        runtime::Actor sending; ///< serial: audio leaves in the order in which it was captured
        runtime::Clock& clock;
        platform::UrlSessions& urlSessions;
        platform::SampleRateConverters& converters;
        services::ServiceAddresses addresses;
        services::TokenProvider tokenProvider;
        std::function<std::optional<std::string>()> language; ///< the user's present choice; any thread
    };

    explicit RealtimeTranscriptionEngine(Parts parts);
    ~RealtimeTranscriptionEngine() override;

    bool isAvailable() const override { return true; }

    /// Always throws `engineUnavailable`: it does not transcribe files.
    runtime::Task<std::string> transcribe(std::filesystem::path audioFileURL,
                                          std::optional<std::string> language) override;

    /// Needs one request for a token, unless there is a key, and one handshake. Needs neither if a session is
    /// open. Throws `TranscriptionError`, `platform::UrlError`, or `runtime::CancellationError` if another
    /// start or a cancel overtakes it. Cancelling the task ends the request for the token.
    runtime::Task<> startSession(platform::AudioFormat inputFormat) override;

    void appendAudio(const platform::PcmBuffer& buffer) override;

    /// Waits at most `commitTimeout` until the commit is sent, and then `transcriptionTimeout`. Cancelling
    /// the task does not end the wait. If the connection does not take the audio in time, closes it and
    /// throws `networkError`. A second call ends a waiting first one with `runtime::CancellationError`.
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
    using Socket = std::shared_ptr<platform::WebSocketTask>;

    /// Audio that is about to be sent, with the socket to send it to.
    struct Chunk {
        base::WipedBytes pcm;
        Socket socket;
    };

    /// The end of an utterance whose commit has not been sent. The caller that removes it from `commit_` ends
    /// the wait.
    struct Commit {
        explicit Commit(runtime::Continuation<> continuation)
            : sent(std::move(continuation)) {}
        const runtime::Continuation<> sent;
        std::uint64_t session = 0;
    };

    static runtime::Task<> open(Self self, platform::AudioFormat inputFormat);
    static runtime::Task<> openAhead(Self self, platform::AudioFormat inputFormat);
    static runtime::Task<std::string> finalize(Self self);
    static runtime::Task<> receive(WeakSelf weakSelf, Socket socket);
    static runtime::Task<> sendNextChunk(WeakSelf weakSelf);
    static void beginCommit(const Self& self, runtime::Continuation<> sent);
    static runtime::Task<> sendCommit(Self self, std::shared_ptr<Commit> commit, runtime::TaskHandle<> limit);
    static runtime::Task<> watchCommit(WeakSelf weakSelf, std::shared_ptr<Commit> commit,
                                       runtime::Clock* clock);
    bool takeCommit(const std::shared_ptr<Commit>& commit);
    static runtime::Task<> sendRest(Self self, std::uint64_t session);
    static runtime::Task<> closeLater(WeakSelf weakSelf, runtime::Clock* clock);
    static runtime::Task<> watchWait(WeakSelf weakSelf, runtime::Clock* clock);
    static runtime::Task<> sendMessage(Self self, std::uint64_t session, platform::WebSocketMessage message);

    runtime::Task<std::string> fetchEphemeralToken(std::string authToken);
    std::uint64_t beginSession();
    void requireCurrent(std::uint64_t session) const;
    Socket connect(std::uint64_t session, const std::string& token, const platform::AudioFormat& inputFormat);
    void closePreviousSession();
    void becomeReady(std::uint64_t session, const Socket& socket, std::optional<std::string> language);
    void flushPreHandshake();
    void sendChunk();
    void endReceiving(const Socket& socket);
    bool isStale(const Socket& socket) const;
    void logLifecycle(const char* occasion);
    void startRefreshTimer();
    std::optional<Chunk> takeChunk();

    const Parts parts_;
    base::Logger logger_{"RealtimeSTT"};
    audio::PCMResampler pcmResampler_; ///< used by the capture thread only
    RealtimeTranscript transcript_;    ///< contains the second lock, `continuationLock`

    mutable std::mutex accumulationLock_;        ///< guards all down to `sleptAtOpening_`
    base::WipedBytes accumulatedPCM_;            ///< converted and not yet sent
    bool sessionReady_ = false;                  ///< whether the session has its settings
    std::optional<std::string> sessionLanguage_; ///< the language in those settings
    Socket webSocketTask_;
    std::deque<Chunk> outgoing_; ///< in the order of the capture
    std::uint64_t session_ = 0;  ///< incremented by every start and cancel
    std::shared_ptr<platform::UrlSession> urlSession_;
    runtime::TaskHandle<> receiveTask_;
    runtime::TaskHandle<> preWarmRefreshTask_;
    std::optional<platform::AudioFormat> cachedInputFormat_; ///< of the last pre-warm
    std::shared_ptr<Commit> commit_;                         ///< present while its audio is being sent
    std::optional<double> sessionOpenedAt_;
    double sleptAtOpening_ = 0; ///< seconds that the machine had slept when the session opened

    std::mutex pendingSendLock_;
    std::deque<runtime::TaskHandle<>> pendingSendTasks_; ///< guarded by `pendingSendLock_`

    std::atomic<bool> audioWasSentInSession_ = false;
    std::atomic<bool> sessionDroppedUnexpectedly_ = false;
};

} // namespace sonvale::transcription
