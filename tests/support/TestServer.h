#pragma once

#include "base/Json.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sonvale::tests {

class TestCertificates;

using Headers = std::vector<std::pair<std::string, std::string>>;

/// The value of the header of that name, whatever the case of its letters; empty when there is none.
std::string headerValue(const Headers& headers, const std::string& name);

/// What the server says to one HTTP request.
struct Answer {
    enum class Fault {
        none,
        closesBeforeAnswer, ///< reads the request, then closes without a byte
        resets,             ///< reads the request, then resets the connection
        closesInUpload,     ///< closes when it has read the request's head
        closesInBody,       ///< announces the whole body, sends its first half, then closes
        neverAnswers,       ///< reads the request and keeps the connection open without a byte
        neverEnds,          ///< sends everything, and keeps the body open
        breaksOff,          ///< sends everything but the end of a chunked body, then closes
        sendsGarbage,       ///< bytes that are not HTTP, then closes
        tricklesSlowly,     ///< the body byte by byte, `pieceSeconds` apart (50 ms when that is 0)
    };

    int status = 200;
    Headers headers = {}; ///< without a Content-Type of their own: "application/json"
    std::string body = {};
    double delaySeconds = 0; ///< before the first byte
    Fault fault = Fault::none;
    std::vector<std::string> pieces = {}; ///< sent after `body`, one chunk of the chunked coding for each
    double pieceSeconds = 0;              ///< before each piece
};

/// One HTTP request as it was received; upgrades to a socket are among them.
struct Request {
    std::string method = {};
    std::string target = {}; ///< path and query
    Headers headers = {};    ///< in their order
    std::string body = {};   ///< byte for byte
    int connection = 0;      ///< 1 for the first connection to the server
    double monotonicTime = 0;

    std::string path() const; ///< without the query
    std::string header(const std::string& name) const { return headerValue(headers, name); }
};

/// A message of a WebSocket.
struct SocketFrame {
    double monotonicTime = 0; ///< when it was received, or handed to the system
    bool isBinary = false;
    std::string bytes = {};
};

/// How the sockets at /v1/realtime behave. As it stands: the whole conversation of a transcription session,
/// with an empty transcript.
struct Realtime {
    enum class Ending { closeFrame, reset };
    struct Error {
        std::string message = {};
        base::Json code = nullptr;
        std::string type = "invalid_request_error";
    };
    struct RawFrame {
        std::string bytes = {};
        bool isBinary = false;
    };

    // Handshake
    double handshakeSeconds = 0; ///< before it is answered
    int refusesWithStatus = 0;   ///< such as 401 or 503; 0: it is accepted
    std::string token = {};      ///< the only bearer token that is accepted; empty: any

    // Answer to a commit
    std::string transcript = {};
    bool sendsDeltas = true;         ///< the transcript word by word before it is completed
    double transcriptSeconds = 0;    ///< from the commit to the first delta
    bool isSilent = false;           ///< acknowledges the commit and says no more
    std::optional<Error> error = {}; ///< instead of a transcript
    /// Makes the transcript from the samples since the last commit (24 kHz, 16 bits, mono). It runs on a
    /// thread of the server's that may take its time, one call at a time.
    std::function<std::string(const std::string& pcm)> transcriber = {};
    bool refusesShortAudio = true; ///< an error for less than 100 ms, as the service does

    // Ends
    bool closesAtCommit = false;
    std::optional<int> dropsAfterAppends = {}; ///< ends the socket when so many append frames have come
    Ending ending = Ending::closeFrame;
    int closeCode = 1000;

    // Frames out of turn
    std::vector<RawFrame> framesAtOpen = {};   ///< after `session.created`
    std::vector<RawFrame> framesAtCommit = {}; ///< before the answer
    bool isEcho = false;                       ///< no conversation: every frame is sent back
};

/// One WebSocket as far as it has gone.
struct Socket {
    Request handshake;
    std::vector<SocketFrame> frames; ///< received
    std::vector<SocketFrame> sent;
    bool isOpen = false;          ///< no side has sent a close frame, and the connection stands
    std::optional<int> closeCode; ///< of the client's close frame; 1005 for one without a code
    int appends = 0;              ///< append frames among `frames`
    int commits = 0;

    /// The samples of all append frames, decoded and joined.
    std::string audio() const;
    /// The text frames of one `type`, as JSON.
    std::vector<base::Json> events(const std::string& type) const;
};

/// An HTTP/1.1 and WebSocket server on 127.0.0.1, on a thread of its own. It plays the outside service and
/// the backend, with faults on demand, and keeps everything that it receives.
///
/// Every operation may be called on any thread. Destroying it closes everything at once.
class TestServer {
public:
    struct Options {
        bool isTls = false;
        int port = 0; ///< 0: any free one
        /// A socket that listens already, which the server closes, such as `PrivateNetwork::listen()`; `url`
        /// does not know its address, and `setListening` is not for it.
        int listener = -1;
        /// For TLS; null: its own, made at run time. Share them for several servers under one authority.
        std::shared_ptr<const TestCertificates> certificates = {};
    };

    using Handler = std::function<Answer(const Request&)>;
    using Guard = std::function<std::optional<Answer>(const Request& head)>;

    TestServer();
    /// Throws `std::runtime_error` when the port is taken or the certificates cannot be made.
    explicit TestServer(Options options);
    ~TestServer();
    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;

    int port() const;
    /// The address of a path ("/v1/models") by host name "127.0.0.1".
    std::string url(const std::string& path = "") const;       ///< http or https
    std::string socketUrl(const std::string& path = "") const; ///< ws or wss
    /// The certificate of the authority that signed the server's, for SSL_CERT_FILE. Only with TLS.
    std::filesystem::path caFile() const;

    /// Appends to the answers of a path (without a query). Each is given once, the last one again and again.
    /// A path without an answer gets 404.
    void answer(const std::string& path, Answer answer);
    /// Drops the answers of a path and asks `handler` from now on, on a thread of the server's that may take
    /// its time, one call at a time. An exception is answered with 500.
    void answerBy(const std::string& path, Handler handler);
    /// Drops the answers of a path.
    void forget(const std::string& path);

    /// Shows the head of each request for the path, with an empty body, to `guard` from now on. What it
    /// returns is the answer then, and none of the path's own is used up; nothing lets the request go on to
    /// those.
    /// "/v1/realtime" is the handshake of the sockets. It runs on the server's thread: it is quick and does
    /// not throw. An empty one takes the path's guard away.
    void guard(const std::string& path, Guard guard);

    /// For the sockets that come next.
    void setRealtime(Realtime realtime);

    /// Everything so far, sockets' handshakes included, in the order in which they were complete.
    std::vector<Request> requests() const;
    std::vector<Request> requests(const std::string& path) const;
    std::vector<Socket> sockets() const; ///< those whose handshake was accepted
    Socket socket() const;               ///< the newest; throws when there is none
    int connections() const;             ///< accepted so far
    int openConnections() const;

    // Each waits at most `seconds` and returns whether so many were there.
    bool waitForRequests(int count, double seconds) const;
    bool waitForRequests(const std::string& path, int count, double seconds) const;
    bool waitForSockets(int count, double seconds) const; ///< accepted
    bool waitForFrames(int count, double seconds) const;  ///< received by all sockets together
    bool waitForAppends(int count, double seconds) const;
    bool waitForCommits(int count, double seconds) const;
    bool waitForClosedSockets(int count, double seconds) const;
    /// Waits until exactly so many connections are open.
    bool waitForOpenConnections(int count, double seconds) const;

    // In the moment; nothing happens when there is no such socket.
    void send(std::string text);                      ///< to the newest open socket
    void sendBinary(std::string bytes);               ///< likewise
    void ping();                                      ///< likewise
    void closeAll(int code, std::string reason = ""); ///< every open socket, by a close frame
    void dropAll();                                   ///< resets every connection
    /// While it does not listen, connections are refused.
    void setListening(bool isListening);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

/// A port of 127.0.0.1 on which nobody listens.
int unusedPort();

} // namespace sonvale::tests
