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

/// Returns the value of the header of that name, whose case does not count; empty if there is none.
std::string headerValue(const Headers& headers, const std::string& name);

/// The server's answer to one HTTP request.
struct Answer {
    enum class Fault {
        none,
        closesBeforeAnswer, ///< reads the request, then closes without a byte
        resets,             ///< reads the request, then resets the connection
        closesInUpload,     ///< closes after it has read the request's head
        closesInBody,       ///< announces the whole body, sends its first half, then closes
        neverAnswers,       ///< reads the request and keeps the connection open without a byte
        neverEnds,          ///< sends everything and leaves the body open
        breaksOff,          ///< sends everything except the end of a chunked body, then closes
        sendsGarbage,       ///< sends bytes that are not HTTP, then closes
        tricklesSlowly,     ///< sends the body byte by byte, `pieceSeconds` apart (50 ms if that is 0)
    };

    int status = 200;
    Headers headers = {}; ///< "application/json" if they contain no Content-Type
    std::string body = {};
    double delaySeconds = 0; ///< before the first byte
    Fault fault = Fault::none;
    std::vector<std::string> pieces = {}; ///< sent after `body`, each as one chunk of the chunked coding
    double pieceSeconds = 0;              ///< before each piece
};

/// One HTTP request as it was received, including upgrades to a socket.
struct Request {
    std::string method = {};
    std::string target = {}; ///< path and query
    Headers headers = {};    ///< in order
    std::string body = {};   ///< byte for byte
    int connection = 0;      ///< 1 for the first connection to the server
    double monotonicTime = 0;

    std::string path() const; ///< without the query
    std::string header(const std::string& name) const { return headerValue(headers, name); }
};

/// A message of a WebSocket.
struct SocketFrame {
    double monotonicTime = 0; ///< when it was received, or passed to the system
    bool isBinary = false;
    std::string bytes = {};
};

/// The behavior of the sockets at /v1/realtime. By default: the whole conversation of a transcription
/// session, with an empty transcript.
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
    double handshakeSeconds = 0; ///< delay of its answer
    int refusesWithStatus = 0;   ///< such as 401 or 503; 0 accepts it
    std::string token = {};      ///< the only accepted bearer token; empty accepts any

    // Answer to a commit
    std::string transcript = {};
    bool sendsDeltas = true;         ///< sends the transcript word by word before it is completed
    double transcriptSeconds = 0;    ///< from the commit to the first delta
    bool isSilent = false;           ///< acknowledges the commit and sends nothing more
    std::optional<Error> error = {}; ///< instead of a transcript
    /// Makes the transcript from the samples since the last commit (24 kHz, 16 bits, mono). It runs on a
    /// thread of the server and may block it, one call at a time.
    std::function<std::string(const std::string& pcm)> transcriber = {};
    bool refusesShortAudio = true; ///< sends an error for less than 100 ms, as the service does

    // Ends
    bool closesAtCommit = false;
    std::optional<int> dropsAfterAppends = {}; ///< ends the socket after this many append frames
    Ending ending = Ending::closeFrame;
    int closeCode = 1000;

    // Unexpected frames
    std::vector<RawFrame> framesAtOpen = {};   ///< after `session.created`
    std::vector<RawFrame> framesAtCommit = {}; ///< before the answer
    bool isEcho = false;                       ///< no conversation: sends every frame back
};

/// One WebSocket and its traffic so far.
struct Socket {
    Request handshake;
    std::vector<SocketFrame> frames; ///< received
    std::vector<SocketFrame> sent;
    bool isOpen = false;          ///< no side has sent a close frame, and the connection is open
    std::optional<int> closeCode; ///< the code of the client's close frame; 1005 for one without a code
    int appends = 0;              ///< number of append frames in `frames`
    int commits = 0;

    /// Returns the samples of all append frames, decoded and joined.
    std::string audio() const;
    /// Returns the text frames of one `type`, as JSON.
    std::vector<base::Json> events(const std::string& type) const;
};

/// An HTTP/1.1 and WebSocket server on 127.0.0.1, on a thread of its own. It simulates the outside service
/// and the backend, with faults on request, and records everything that it receives.
///
/// Every operation may be called on any thread. The destructor closes everything at once.
class TestServer {
public:
    struct Options {
        bool isTls = false;
        int port = 0; ///< 0 means any free port
        /// A listening socket, which the server closes, such as `PrivateNetwork::listen()`. `url` does not
        /// know its address, and `setListening` does not apply to it.
        int listener = -1;
        /// For TLS; null makes new ones at run time. Share them between servers with one authority.
        std::shared_ptr<const TestCertificates> certificates = {};
    };

    using Handler = std::function<Answer(const Request&)>;
    using Guard = std::function<std::optional<Answer>(const Request& head)>;

    TestServer();
    /// Throws `std::runtime_error` if the port is in use or the certificates cannot be made.
    explicit TestServer(Options options);
    ~TestServer();
    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;

    int port() const;
    /// Returns the address of a path ("/v1/models") with the host "127.0.0.1".
    std::string url(const std::string& path = "") const;       ///< http or https
    std::string socketUrl(const std::string& path = "") const; ///< ws or wss
    /// Returns the certificate of the server's authority, for SSL_CERT_FILE. Only with TLS.
    std::filesystem::path caFile() const;

    /// Appends to the answers of a path (without a query). Each is given once, and the last one repeatedly. A
    /// path without an answer gets 404.
    void answer(const std::string& path, Answer answer);
    /// Drops the answers of a path and calls `handler` from now on, on a thread of the server that it may
    /// block, one call at a time. An exception is answered with 500.
    void answerBy(const std::string& path, Handler handler);
    /// Drops the answers of a path.
    void forget(const std::string& path);

    /// Calls `guard` from now on with the head of each request for the path, with an empty body. Its result
    /// is then the answer, and none of the path's own answers is used up; nullopt lets the request pass to
    /// those. "/v1/realtime" is the handshake of the sockets. It runs on the server's thread, so it must be
    /// quick and must not throw. An empty function removes the path's guard.
    void guard(const std::string& path, Guard guard);

    /// Sets the behavior of later sockets.
    void setRealtime(Realtime realtime);

    /// Returns all requests so far, including the sockets' handshakes, in the order of their completion.
    std::vector<Request> requests() const;
    std::vector<Request> requests(const std::string& path) const;
    std::vector<Socket> sockets() const; ///< those with an accepted handshake
    Socket socket() const;               ///< the newest; throws if there is none
    int connections() const;             ///< accepted so far
    int openConnections() const;

    // Each waits for up to `seconds` and returns whether the count was reached.
    bool waitForRequests(int count, double seconds) const;
    bool waitForRequests(const std::string& path, int count, double seconds) const;
    bool waitForSockets(int count, double seconds) const; ///< accepted
    bool waitForFrames(int count, double seconds) const;  ///< received by all sockets together
    bool waitForAppends(int count, double seconds) const;
    bool waitForCommits(int count, double seconds) const;
    bool waitForClosedSockets(int count, double seconds) const;
    /// Waits until exactly this many connections are open.
    bool waitForOpenConnections(int count, double seconds) const;

    // Takes effect at once. Does nothing if there is no such socket.
    void send(std::string text);                      ///< to the newest open socket
    void sendBinary(std::string bytes);               ///< also to the newest open socket
    void ping();                                      ///< also to the newest open socket
    void closeAll(int code, std::string reason = ""); ///< closes every open socket with a close frame
    void dropAll();                                   ///< resets every connection
    /// Makes the server listen, or refuse connections.
    void setListening(bool isListening);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

/// Returns an unused port of 127.0.0.1.
int unusedPort();

} // namespace sonvale::tests
