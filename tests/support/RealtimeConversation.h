#pragma once

#include "tests/support/TestServer.h"

#include <deque>
#include <string>
#include <vector>

namespace sonvale::tests {

/// Something that a server does on a socket.
struct SocketAction {
    enum class Kind {
        send,
        ping,
        close,
        reset,
        transcribe, ///< turns `bytes` (samples) into text, then asks `RealtimeConversation::transcribed`
    };

    Kind kind = Kind::send;
    std::string bytes = {}; ///< of a frame; of a close frame its reason
    bool isBinary = false;
    int closeCode = 1000;
    double delaySeconds = 0; ///< from now
};

/// What the outside service says on one realtime socket, and when. It knows no network. One thread at a time.
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
    /// For each `transcribe` once, in their order. Nothing: it failed.
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

    /// A commit whose transcript is being made.
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

/// A transcription session as the service describes it before it was configured.
base::Json transcriptionSession();
/// An identifier as the service makes them, never the same twice: "event_..." for "event".
std::string serviceIdentifier(const std::string& kind);

} // namespace sonvale::tests
