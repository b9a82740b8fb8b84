#pragma once

#include "base/Log.h"
#include "runtime/Actor.h"
#include "transcription/RealtimeConnection.h"

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>

namespace sonvale::transcription {

/// Sends the audio of the present session in the order of the capture. Any thread.
///
/// `pendingSendLock` guards the list of the sends in progress. It is held for single steps only, and no other
/// lock is taken meanwhile. A send in progress keeps its socket, but not this object or the connection.
class RealtimeAudioSender {
public:
    using Sends = std::deque<runtime::TaskHandle<>>;

    /// `sending` is serial.
    RealtimeAudioSender(runtime::Actor sending, std::shared_ptr<RealtimeConnection> connection);

    /// Appends converted audio, wipes `pcm`, and starts to send it if it fills a chunk of a ready session.
    /// Never waits and never throws.
    void append(base::WipedBytes& pcm);

    /// Starts to send the whole chunks of the audio that was captured before the session was ready.
    void flushPreHandshake();

    /// Removes and returns the sends in progress, oldest first. They never throw.
    Sends takePending();

    /// Forgets the sends in progress and does not end them.
    void forgetPending();

    /// Returns whether audio was sent since the last call.
    bool takeAudioWasSent() { return audioWasSentInSession_.exchange(false); }

private:
    void sendChunk();
    static runtime::Task<> sendNextChunk(std::weak_ptr<RealtimeConnection> weakConnection);

    base::Logger logger_{"RealtimeSTT"};
    const runtime::Actor sending_;
    const std::shared_ptr<RealtimeConnection> connection_;

    std::mutex pendingSendLock_;
    Sends pendingSendTasks_; ///< guarded by `pendingSendLock_`

    std::atomic<bool> audioWasSentInSession_ = false;
};

} // namespace sonvale::transcription
