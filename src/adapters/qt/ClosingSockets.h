#pragma once

#include <QObject>
#include <QWebSocket>
#include <functional>
#include <memory>

namespace sonvale::adapters::qt {

/// Sockets that nobody uses any more, until they have ended. On the network thread.
class ClosingSockets final : public QObject {
public:
    /// Ends it in a later turn: it may be the one that is at work.
    void abort(std::unique_ptr<QWebSocket> socket);

    /// Sends a close frame with this code and ends the socket when the other side has answered it, after 2 s
    /// at the latest.
    void close(std::unique_ptr<QWebSocket> socket, int code);

    /// Calls `then`, maybe at once, when there is none left, after so many milliseconds at the latest.
    void whenEmpty(int millisecondsAtMost, std::function<void()> then);

private:
    QWebSocket* keep(std::unique_ptr<QWebSocket> socket);
    void becomeEmpty();

    int count_ = 0;
    std::function<void()> whenEmpty_;
};

/// The connection under a socket; null before it is opened.
QAbstractSocket* transportOf(const QWebSocket& socket);

} // namespace sonvale::adapters::qt
