#pragma once

#include "base/Log.h"
#include "runtime/Actor.h"
#include "transcription/RealtimeAudioSender.h"
#include "transcription/RealtimeConnection.h"
#include "transcription/RealtimeTranscript.h"

#include <memory>

namespace sonvale::transcription {

/// Receives the messages of a session until its socket ends. Has no state of its own and no lock. Any thread.
///
/// Owned by a shared pointer. A receive loop holds a weak reference while it waits, and ends with the object.
class RealtimeReceiver : public std::enable_shared_from_this<RealtimeReceiver> {
public:
    /// The clock outlives it.
    RealtimeReceiver(runtime::Actor pool, runtime::Clock& clock,
                     std::shared_ptr<RealtimeConnection> connection,
                     std::shared_ptr<RealtimeAudioSender> sender,
                     std::shared_ptr<RealtimeTranscript> transcript);

    /// Starts to receive from this socket. Passes its messages to the transcript until another session
    /// begins. When the socket fails, notes that the session was lost and ends the wait for a text with
    /// `networkError`.
    runtime::TaskHandle<> start(RealtimeConnection::Socket socket);

    /// Logs how long the session was open, once for each session.
    void logLifecycle(const char* occasion);

private:
    using Weak = std::weak_ptr<RealtimeReceiver>;

    static runtime::Task<> receive(Weak weakSelf, RealtimeConnection::Socket socket);
    void endReceiving(const RealtimeConnection::Socket& socket);

    base::Logger logger_{"RealtimeSTT"};
    const runtime::Actor pool_;
    runtime::Clock& clock_;
    const std::shared_ptr<RealtimeConnection> connection_;
    const std::shared_ptr<RealtimeAudioSender> sender_;
    const std::shared_ptr<RealtimeTranscript> transcript_;
};

} // namespace sonvale::transcription
