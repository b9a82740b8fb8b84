#pragma once

#include "runtime/Task.h"

#include <string>

namespace sonvale::platform {

struct WebSocketMessage {
    enum class Kind { text, binary };
    Kind kind = Kind::text;
    std::string bytes; ///< of a text: UTF-8
};

/// One WebSocket (RFC 6455). Once open it has no time limit, but it fails with `networkConnectionLost` when
/// the other side has not acknowledged what was sent for 10 s, or does not answer for 40 s without traffic.
/// Any thread. Dropping it without a `cancel` closes it as "going away".
class WebSocketTask {
public:
    enum CloseCode : int { normalClosure = 1000, goingAway = 1001 };

    WebSocketTask() = default;
    WebSocketTask(const WebSocketTask&) = delete;
    WebSocketTask& operator=(const WebSocketTask&) = delete;
    virtual ~WebSocketTask() = default;

    /// Begins to connect; returns at once. A second call does nothing.
    virtual void resume() = 0;

    /// Sends one message and ends when the system has taken all of it. Messages leave in the order in which
    /// the calls were begun; before the socket is open they wait for it. Throws `UrlError` when the socket
    /// could not be opened, has failed, was closed by the other side or cancelled. Cancelling the calling
    /// task throws `cancelled` and does not take the message back.
    virtual runtime::Task<> send(WebSocketMessage message) = 0;

    /// Waits for the next message; messages that nobody waits for are kept in their order. What came before
    /// the end is handed out first; then throws `UrlError` as `send` does, every time. Cancelling the calling
    /// task throws `cancelled` and loses no message. One caller at a time.
    virtual runtime::Task<WebSocketMessage> receive() = 0;

    /// Closes with this code and without a reason, also while it connects; everything that waits ends with
    /// `cancelled`. Returns at once; a second call does nothing.
    virtual void cancel(int closeCode) = 0;
};

} // namespace sonvale::platform
