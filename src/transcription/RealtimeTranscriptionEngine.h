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

/// Streams the microphone to the realtime transcription service over a WebSocket, so that the text is there a
/// moment after the user stops.
///
/// Held by a shared pointer. Its tasks run on the pool and hold it weakly while they wait; `appendAudio` runs
/// on the capture thread, everything else may be called from any thread. Three locks guard its state; each is
/// held for single steps only, never across a suspension, a send or a line of log, and no two at once.
class RealtimeTranscriptionEngine final : public StreamingTranscriptionEngine,
                                          public std::enable_shared_from_this<RealtimeTranscriptionEngine> {
public:
    static constexpr std::size_t targetChunkBytes = 4800; ///< 100 ms of 16-bit mono audio at 24,000 Hz
    static constexpr double commitTimeout = 5;         ///< seconds for the rest of the audio and the commit
    static constexpr double transcriptionTimeout = 10; ///< seconds from the commit to the transcript
    static constexpr double preWarmLifetime = 100;     ///< seconds that a session stands unused

    /// What it works with; everything referred to outlives it.
    struct Parts {
        runtime::Actor pool;
        runtime::Actor sending; ///< serial: audio leaves in the order in which it was captured
        runtime::Clock& clock;
        platform::UrlSessions& urlSessions;
        platform::SampleRateConverters& converters;
        services::ServiceAddresses addresses;
        services::TokenProvider tokenProvider;
        std::function<std::optional<std::string>()> language; ///< the user's choice now; any thread
    };

    explicit RealtimeTranscriptionEngine(Parts parts);
    ~RealtimeTranscriptionEngine() override;

    bool isAvailable() const override { return true; }

    /// Always throws `engineUnavailable`: it takes no file.
    runtime::Task<std::string> transcribe(std::filesystem::path audioFileURL,
                                          std::optional<std::string> language) override;

    /// Needs one request for a token, unless there is a key, and one handshake; none with a session that
    /// stands. Throws `TranscriptionError`, `platform::UrlError`, or `runtime::CancellationError` when
    /// another start or a cancel overtakes it. Cancelling the task cuts the request for the token short.
    runtime::Task<> startSession(platform::AudioFormat inputFormat) override;

    void appendAudio(const platform::PcmBuffer& buffer) override;

    /// At most `commitTimeout` until the commit is sent and `transcriptionTimeout` after it; cancelling the
    /// task does not cut it short. A connection that does not take the audio in time is closed, and the call
    /// throws `networkError`. A second call while one waits ends the first with `runtime::CancellationError`.
    runtime::Task<std::string> finalizeStreamingTranscription() override;

    /// Wipes the audio that has not been sent yet.
    void discardAudio();

    /// Keeps the session and forgets what it has of the present utterance.
    void resetForNextUtterance();

    void cancelSession() override;

    /// Cancels the session if the end of an utterance still waits for its audio to leave; that call then
    /// throws `runtime::CancellationError`. Returns whether it did. Any thread.
    bool cancelUncommitted();

    /// Closes a session that stands ready, for a caller that knows that no recording uses it and that its
    /// connection may be dead. Does nothing if there is none. Any thread.
    void closeReadySession();

    /// Opens a session ahead of a recording; it is closed again when nobody has taken it within
    /// `preWarmLifetime`. Never throws. Nothing when a session stands.
    runtime::Task<> preWarm(platform::AudioFormat inputFormat);

    /// For the one who takes a pre-warmed session over: it is not closed any more.
    void clearPreWarmState();

    /// Whether audio that is appended now goes out at once, to a session of the language that is set now: the
    /// language is sent only when a session opens. False for a session that was open while the
    /// machine slept: its connection is likely dead, and nothing says so.
    bool hasReadySession() const;

private:
    using Self = std::shared_ptr<RealtimeTranscriptionEngine>;
    using WeakSelf = std::weak_ptr<RealtimeTranscriptionEngine>;
    using Socket = std::shared_ptr<platform::WebSocketTask>;

    /// Audio on its way out, with the socket that it is meant for.
    struct Chunk {
        base::WipedBytes pcm;
        Socket socket;
    };

    /// The end of an utterance whose commit has not been sent. The one that takes it out of `commit_` ends
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
    void takeDownFormerSession();
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
    audio::PCMResampler pcmResampler_; ///< the capture thread's
    RealtimeTranscript transcript_;    ///< has the second lock, `continuationLock`

    mutable std::mutex accumulationLock_;        ///< guards all down to `sleptAtOpening_`
    base::WipedBytes accumulatedPCM_;            ///< converted and not yet sent
    bool sessionReady_ = false;                  ///< the session has its settings
    std::optional<std::string> sessionLanguage_; ///< among them
    Socket webSocketTask_;
    std::deque<Chunk> outgoing_; ///< in the order of the capture
    std::uint64_t session_ = 0;  ///< grows with every start and cancel
    std::shared_ptr<platform::UrlSession> urlSession_;
    runtime::TaskHandle<> receiveTask_;
    runtime::TaskHandle<> preWarmRefreshTask_;
    std::optional<platform::AudioFormat> cachedInputFormat_; ///< of the last pre-warm
    std::shared_ptr<Commit> commit_;                         ///< present while its audio leaves
    std::optional<double> sessionOpenedAt_;
    double sleptAtOpening_ = 0; ///< the machine's time asleep when the session opened

    std::mutex pendingSendLock_;
    std::deque<runtime::TaskHandle<>> pendingSendTasks_; ///< guarded by `pendingSendLock_`

    std::atomic<bool> audioWasSentInSession_ = false;
    std::atomic<bool> sessionDroppedUnexpectedly_ = false;
};

} // namespace sonvale::transcription
