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

/// A transfer or a socket that failed below HTTP. `what()` is fit for the user and names no address.
class UrlError : public std::runtime_error {
public:
    /// The codes are those of the system's own interface.
    enum class Code {
        unknown = -1,
        cancelled = -999,
        badUrl = -1000,
        timedOut = -1001,
        cannotFindHost = -1003,
        cannotConnectToHost = -1004,
        networkConnectionLost = -1005,
        notConnectedToInternet = -1009,
        redirectToNonExistentLocation = -1010, ///< to another origin, with what may not go there
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
    std::string url; ///< absolute; http and https, for a socket ws and wss
    std::vector<HttpHeader> headers;
    /// Sent as it stands; null for none. It is read until the call returns and never copied whole, so that
    /// its owner can overwrite it afterwards.
    std::shared_ptr<const std::vector<std::byte>> body;
    /// The request fails when nothing has moved for so long, in either direction. For a socket: until it is
    /// open.
    double timeoutSeconds = 60;
    /// As `timeoutSeconds`, until the first byte of the request can be sent: the name is resolved, the server
    /// reached, the connection secured. Absent: no limit of its own.
    std::optional<double> connectTimeoutSeconds = std::nullopt;
};

struct UrlResponse {
    std::optional<int> statusCode;   ///< absent: what came was not HTTP
    std::vector<HttpHeader> headers; ///< with names in any case (RFC 9110, 5.1)
    std::string body;                ///< decoded from its transfer coding, otherwise as it came
};

/// An answer whose body is read while it comes, line by line. Dropping it closes the connection of an answer
/// that has not ended.
///
/// It keeps its session. Any thread; one `next()` at a time.
class UrlLines {
public:
    /// Of one line, in bytes. A longer one ends the answer with `dataLengthExceedsMaximum`.
    static constexpr std::size_t longestLine = 1UL << 20U;

    UrlLines() = default;
    UrlLines(const UrlLines&) = delete;
    UrlLines& operator=(const UrlLines&) = delete;
    virtual ~UrlLines() = default;

    /// The answer without its body.
    virtual const UrlResponse& head() const = 0;

    /// The next line as soon as it has come, without its end: a line feed, a carriage return, or both in this
    /// order. The last one may do without. The bytes are as they came, UTF-8 or not. Nothing once the answer
    /// has ended.
    ///
    /// Throws `UrlError` where it breaks off, behind all whole lines that had come, and again when it is
    /// called again. Cancelling the task closes the connection and throws `cancelled`, as does a session that
    /// is or gets invalidated.
    virtual runtime::Task<std::optional<std::string>> next() = 0;
};

/// A set of connections without memory: no cookies, no cache, nothing on disk. Connections are kept alive
/// between its requests, unless they were idle for so long that the other side may have closed them. The
/// system's proxy settings are honoured, and certificates are verified against the system's authorities and
/// those of the file that SSL_CERT_FILE names.
///
/// Any thread, and every operation may be called on several at once. A session that is dropped lives on until
/// its last request has ended.
class UrlSession {
public:
    UrlSession() = default;
    UrlSession(const UrlSession&) = delete;
    UrlSession& operator=(const UrlSession&) = delete;
    virtual ~UrlSession() = default;

    /// Sends the request and waits for the whole answer, whatever its status. Redirects are followed (ten at
    /// most, never from https to http). A request with a body, an Authorization header or another method than
    /// GET and HEAD is redirected only within its origin (scheme, host and port, RFC 6454); otherwise the
    /// call throws `redirectToNonExistentLocation`. Throws `UrlError`. Cancelling the task closes the
    /// connection and throws `cancelled`; so does a session that is or gets invalidated.
    ///
    /// Such a request reaches the server at most once: if its connection ends without an answer, the call
    /// throws `networkConnectionLost`, also on a connection that was kept from an earlier request.
    virtual runtime::Task<UrlResponse> data(UrlRequest request) = 0;

    /// Sends the request as `data` does, and returns as soon as the head of the answer has come, whatever its
    /// status; never null. Only a little of the body is read ahead of who takes its lines. The request's time
    /// limit goes on to count for the body, while a line is waited for. The request's own body is let go of
    /// with the return, even where the server has answered before it had it whole.
    virtual runtime::Task<std::shared_ptr<UrlLines>> lines(UrlRequest request) = 0;

    /// A socket that is not connected yet; never null. On an invalidated session it fails when it is resumed.
    virtual std::shared_ptr<WebSocketTask> webSocketTask(UrlRequest request) = 0;

    /// Ends every request and socket of the session with `cancelled`, and refuses new ones. Returns at once.
    virtual void invalidateAndCancel() = 0;
};

/// Makes sessions. Any thread; outlives them.
class UrlSessions {
public:
    UrlSessions() = default;
    UrlSessions(const UrlSessions&) = delete;
    UrlSessions& operator=(const UrlSessions&) = delete;
    virtual ~UrlSessions() = default;

    /// Never null.
    virtual std::shared_ptr<UrlSession> makeEphemeral() = 0;
};

} // namespace sonvale::platform
