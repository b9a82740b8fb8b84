#pragma once

#include "runtime/Task.h"

#include <string>

namespace sonvale::platform {

struct WebSocketMessage {
    enum class Kind { text, binary };
    Kind kind = Kind::text;
    std::string bytes; ///< UTF-8 if it is a text
};

/// One WebSocket (RFC 6455). Once open it has no time limit, but it fails with `networkConnectionLost` if the
/// server has not acknowledged what was sent for 10 s, or does not answer for 40 s without traffic. Any
/// thread. Destroying it without a `cancel` closes it as "going away".
class WebSocketTask {
public:
    enum CloseCode : int { normalClosure = 1000, goingAway = 1001 };

    WebSocketTask() = default;
    WebSocketTask(const WebSocketTask&) = delete;
    WebSocketTask& operator=(const WebSocketTask&) = delete;
    virtual ~WebSocketTask() = default;

    /// Starts to connect and returns at once. A second call does nothing.
    virtual void resume() = 0;

    /// Sends one message and returns when the system has taken all of it. Messages are sent in the order in
    /// which the calls were begun; before the socket is open they wait for it. Throws `UrlError` if the
    /// socket could not be opened, has failed, was closed by the server or was cancelled. Cancelling the
    /// calling task throws `cancelled` and does not take the message back.
    virtual runtime::Task<> send(WebSocketMessage message) = 0;

    /// Waits for the next message. Messages are kept in order until they are received. Returns all messages
    /// that arrived before the end; then throws `UrlError` as `send` does, at every call. Cancelling the
    /// calling task throws `cancelled` and loses no message. One caller at a time.
    virtual runtime::Task<WebSocketMessage> receive() = 0;

    /// Closes the socket with this code and without a reason, even while it connects. Every waiting call ends
    /// with `cancelled`. Returns at once; a second call does nothing.
    virtual void cancel(int closeCode) = 0;
};

} // namespace sonvale::platform
