#pragma once

#include "platform/UrlSession.h"
#include "runtime/Clock.h"
#include "transcription/OutgoingAudio.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace sonvale::transcription {

/// The state of the present session and the audio for it. Opens, sends and logs nothing. Any thread.
///
/// One lock, `accumulationLock`, guards everything, because these belong together: audio is cut into chunks
/// only for a ready session, and a chunk goes to the socket that was open when it was cut. Every operation is
/// one step under the lock; no other lock is taken meanwhile.
///
/// Sessions are numbered. An operation with a number has no effect if another start or a cancel has
/// overtaken that session. The destruction closes the session and wipes the audio.
class RealtimeConnection {
public:
    using Socket = OutgoingAudio::Socket;

    /// What a session holds open. The caller that takes it closes it.
    struct Line {
        runtime::TaskHandle<> receiveTask;
        Socket socket;
        std::shared_ptr<platform::UrlSession> urlSession;

        /// Closes the socket as "going away" and ends its URL session.
        void close() const;
    };

    explicit RealtimeConnection(runtime::Clock& clock)
        : clock_(clock) {}
    RealtimeConnection(const RealtimeConnection&) = delete;
    RealtimeConnection& operator=(const RealtimeConnection&) = delete;
    ~RealtimeConnection();

    /// Begins the opening of a session and returns its number. Keeps the audio that is already captured.
    std::uint64_t begin();
    std::uint64_t current() const;
    /// Throws `CancellationError` unless this is the present session.
    void requireCurrent(std::uint64_t session) const;

    /// Removes what the previous session held open.
    Line detach();
    /// Sets the connection of the session. Throws as `requireCurrent`.
    void attach(std::uint64_t session, Socket socket, std::shared_ptr<platform::UrlSession> urlSession);
    /// Makes the session ready: its settings are sent. Returns false, without effect, if it is not the
    /// present one.
    bool becomeReady(std::uint64_t session, runtime::TaskHandle<> receiveTask,
                     std::optional<std::string> language);
    /// Ends the present session, also one that is being opened, and removes what it held open. The caller
    /// then calls `endAudio`.
    Line end();
    /// Makes the session not ready and wipes the rest of the audio.
    void endAudio();
    /// Ends the use of a session that takes no audio: makes it not ready and dropped, and returns its socket.
    /// Returns null, without effect, if it is not the present one.
    Socket giveUp(std::uint64_t session);

    /// Returns whether audio that is appended now is sent at once, in this language. Returns false if the
    /// machine slept since the session opened.
    bool isReady(const std::optional<std::string>& language) const;
    /// Returns whether there is a session with its settings, in any language.
    bool isOpen() const;
    /// Returns the socket, or null if there is none. Throws as `requireCurrent`.
    Socket socketOf(std::uint64_t session) const;
    /// Returns when the session opened, once for each session, by the clock's `now`.
    std::optional<double> takeOpenedAt();

    /// Returns whether another session has begun meanwhile. This socket must not change the state of that
    /// session.
    bool isStale(const Socket& socket) const;
    /// Makes the session of this socket not ready. Returns false, without effect, if the socket is stale.
    bool endReceiving(const Socket& socket);
    /// Notes that the session of this socket was lost. Returns false, without effect, if the socket is stale.
    bool drop(const Socket& socket);
    bool wasDropped() const;
    void forgetDrop();

    /// Appends converted audio and wipes `pcm`. Returns whether there is a new chunk to send.
    bool append(base::WipedBytes& pcm);
    /// Cuts the audio captured before the session was ready. Returns the number of new chunks to send.
    std::size_t cutWholeChunks();
    /// Removes and returns the oldest chunk. Returns nullopt if there is none.
    std::optional<OutgoingAudio::Chunk> takeChunk();
    /// Removes and returns the audio that is in no chunk, with the present socket. Throws as
    /// `requireCurrent`.
    OutgoingAudio::Chunk takeRest(std::uint64_t session);
    void wipeRest();

private:
    runtime::Clock& clock_;

    mutable std::mutex accumulationLock_; ///< guards all below
    OutgoingAudio audio_;
    bool sessionReady_ = false;                  ///< whether the session has its settings
    std::optional<std::string> sessionLanguage_; ///< the language in those settings
    bool sessionDroppedUnexpectedly_ = false;
    std::uint64_t session_ = 0; ///< incremented by every start and cancel
    Line line_;
    std::optional<double> sessionOpenedAt_;
    double sleptAtOpening_ = 0; ///< seconds that the machine had slept when the session opened
};

} // namespace sonvale::transcription
