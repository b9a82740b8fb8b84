#pragma once

#include "tests/support/TestServer.h"

#include <deque>
#include <string>
#include <vector>

namespace sonvale::tests {

/// An action of a server on a socket.
struct SocketAction {
    enum class Kind {
        send,
        ping,
        close,
        reset,
        transcribe, ///< turns `bytes` (samples) into text, then asks `RealtimeConversation::transcribed`
    };

    Kind kind = Kind::send;
    std::string bytes = {}; ///< the content of a frame, or the reason of a close frame
    bool isBinary = false;
    int closeCode = 1000;
    double delaySeconds = 0; ///< from now
};

/// The behavior of the outside service on one realtime socket. It uses no network. One thread at a time.
class RealtimeConversation {
public:
    explicit RealtimeConversation(Realtime script);

    struct Reaction {
        std::vector<SocketAction> actions = {};
        bool isAppend = false;
        bool isCommit = false;
    };

    std::vector<SocketAction> opened();
    Reaction received(const std::string& bytes, bool isBinary);
    /// Returns the actions after a transcription; called once per `transcribe`, in order. nullopt means that
    /// it failed.
    std::vector<SocketAction> transcribed(const std::optional<std::string>& text);

    const Realtime& script() const { return script_; }

private:
    using Actions = std::vector<SocketAction>;

    Actions updated(const base::Json& event);
    Actions appended(const base::Json& event);
    Actions committed(const base::Json& event);
    Actions answered(const std::string& item, const std::string& transcript, std::size_t bytes);
    SocketAction event(base::Json body, double delaySeconds = 0);
    SocketAction error(const Realtime::Error& error, const base::Json& cause,
                       const char* parameter = nullptr);
    SocketAction end() const;

    /// A commit whose transcript is not finished.
    struct Waiting {
        std::string item;
        std::size_t bytes = 0;
    };

    Realtime script_;
    base::Json session_;
    std::string samples_;
    base::Json lastItem_;
    std::deque<Waiting> waiting_;
    int appends_ = 0;
};

/// Returns a transcription session as the service describes it before its configuration.
base::Json transcriptionSession();
/// Returns a new identifier in the form of the service: "event_..." for "event".
std::string serviceIdentifier(const std::string& kind);

} // namespace sonvale::tests
