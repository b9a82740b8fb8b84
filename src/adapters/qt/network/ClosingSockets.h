#pragma once

#include <QObject>
#include <QWebSocket>
#include <functional>
#include <memory>

namespace sonvale::adapters::qt {

/// Sockets that are no longer used, until they have ended. Network thread only.
class ClosingSockets final : public QObject {
public:
    /// Ends the socket in a later turn of the event loop, because the socket may be the caller.
    void abort(std::unique_ptr<QWebSocket> socket);

    /// Sends a close frame with this code and ends the socket when the server has answered it, after 2 s at
    /// the latest.
    void close(std::unique_ptr<QWebSocket> socket, int code);

    /// Calls `then` when no socket is left, or after this many milliseconds; it may be called at once.
    void whenEmpty(int maxMilliseconds, std::function<void()> then);

private:
    QWebSocket* keep(std::unique_ptr<QWebSocket> socket);
    void becomeEmpty();

    int count_ = 0;
    std::function<void()> whenEmpty_;
};

/// Returns the connection under a socket; null before it is opened.
QAbstractSocket* transportOf(const QWebSocket& socket);

} // namespace sonvale::adapters::qt
