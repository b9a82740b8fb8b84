#pragma once

#include "runtime/Task.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace sonvale::platform {

class WebSocketTask;

/// A transfer or a socket that failed below HTTP. `what()` is fit for the user and contains no address.
class UrlError : public std::runtime_error {
public:
    /// The codes are given by the system's own interface.
    enum class Code {
        unknown = -1,
        cancelled = -999,
        badUrl = -1000,
        timedOut = -1001,
        cannotFindHost = -1003,
        cannotConnectToHost = -1004,
        networkConnectionLost = -1005,
        notConnectedToInternet = -1009,
        redirectToNonExistentLocation = -1010, ///< to an origin that the request may not reach
        badServerResponse = -1011,
        dataLengthExceedsMaximum = -1103,
        secureConnectionFailed = -1200,
        serverCertificateUntrusted = -1202,
    };
    static constexpr const char* domain = "NSURLErrorDomain";

    UrlError(Code code, const std::string& description)
        : std::runtime_error(description)
        , code_(code) {}

    Code code() const { return code_; }

private:
    Code code_;
};

struct HttpHeader {
    std::string name;
    std::string value;
    bool operator==(const HttpHeader&) const = default;
};

struct UrlRequest {
    std::string method = "GET";
    std::string url; ///< absolute; http or https, for a socket ws or wss
    std::vector<HttpHeader> headers;
    /// Sent as it is; null for none. It is read until the call returns and is never copied whole, so that its
    /// owner can overwrite it afterwards.
    std::shared_ptr<const std::vector<std::byte>> body;
    /// The request fails if nothing was sent or received for this long. For a socket it counts until the
    /// socket is open.
    double timeoutSeconds = 60;
    /// As `timeoutSeconds`, but until the first byte of the request can be sent: the name is resolved, the
    /// server is reached, the connection is secured. Without it there is no such limit.
    std::optional<double> connectTimeoutSeconds = std::nullopt;
};

struct UrlResponse {
    std::optional<int> statusCode;   ///< absent if the answer was not HTTP
    std::vector<HttpHeader> headers; ///< the case of the names does not count (RFC 9110, 5.1)
    std::string body;                ///< decoded from its transfer coding, otherwise as received
};

/// An answer whose body is read line by line as it arrives. Destroying it closes the connection if the answer
/// has not ended.
///
/// Keeps its session alive. Any thread; one `next()` at a time.
class UrlLines {
public:
    /// The length of a line, in bytes. A longer line ends the answer with `dataLengthExceedsMaximum`.
    static constexpr std::size_t maxLineBytes = 1UL << 20U;

    UrlLines() = default;
    UrlLines(const UrlLines&) = delete;
    UrlLines& operator=(const UrlLines&) = delete;
    virtual ~UrlLines() = default;

    /// Returns the answer without its body.
    virtual const UrlResponse& head() const = 0;

    /// Returns the next line as soon as it has arrived, without its end: a line feed, a carriage return, or
    /// both in this order. The last line need not have one. The bytes are as received, UTF-8 or not. Returns
    /// nullopt if the answer has ended.
    ///
    /// Throws `UrlError` after the last whole line if the answer breaks off, and again at every further call.
    /// Cancelling the task closes the connection and throws `cancelled`; so does a session that is
    /// invalidated.
    virtual runtime::Task<std::optional<std::string>> next() = 0;
};

/// A set of connections without memory: no cookies, no cache, nothing on disk. Connections are kept alive
/// between its requests, unless they were idle for so long that the server may have closed them. Uses the
/// system's proxy settings, and verifies certificates against the system's authorities and the authorities in
/// the file that SSL_CERT_FILE names.
///
/// Any thread; every operation may be called on several threads at once. A session whose owner drops it lives
/// until its last request has ended.
class UrlSession {
public:
    UrlSession() = default;
    UrlSession(const UrlSession&) = delete;
    UrlSession& operator=(const UrlSession&) = delete;
    virtual ~UrlSession() = default;

    /// Sends the request and waits for the whole answer, of any status. Follows redirects (up to ten, never
    /// from https to http). A request with a body, an Authorization header or a method other than GET and
    /// HEAD is redirected only within its origin (scheme, host and port, RFC 6454); otherwise the call throws
    /// `redirectToNonExistentLocation`. Throws `UrlError`. Cancelling the task closes the connection and
    /// throws `cancelled`; so does a session that is invalidated.
    ///
    /// Such a request reaches the server at most once: if its connection ends without an answer, the call
    /// throws `networkConnectionLost`, even on a connection that was kept from an earlier request.
    virtual runtime::Task<UrlResponse> data(UrlRequest request) = 0;

    /// Sends the request as `data` does, and returns as soon as the head of the answer has arrived, with any
    /// status; never null. Reads only a little of the body before its lines are asked for. The request's time
    /// limit applies to the body too, while a line is waited for. The request's own body is released at the
    /// return, even if the server has answered before it had received all of it.
    virtual runtime::Task<std::shared_ptr<UrlLines>> lines(UrlRequest request) = 0;

    /// Returns a socket that is not connected yet; never null. On an invalidated session it fails when it is
    /// resumed.
    virtual std::shared_ptr<WebSocketTask> webSocketTask(UrlRequest request) = 0;

    /// Ends every request and socket of the session with `cancelled`, and refuses new ones. Returns at once.
    virtual void invalidateAndCancel() = 0;
};

/// Makes sessions. Any thread. Must outlive its sessions.
class UrlSessions {
public:
    UrlSessions() = default;
    UrlSessions(const UrlSessions&) = delete;
    UrlSessions& operator=(const UrlSessions&) = delete;
    virtual ~UrlSessions() = default;

    /// Makes a session; never null.
    virtual std::shared_ptr<UrlSession> makeEphemeral() = 0;
};

} // namespace sonvale::platform
