#pragma once

#include "tests/support/TestServer.h"

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <variant>

namespace sonvale::tests {

/// The answers of a server, and what it has received. Any thread.
class ServerRecord {
public:
    using Reply = std::variant<Answer, TestServer::Handler>;

    void answer(const std::string& path, Answer answer);
    void answerBy(const std::string& path, TestServer::Handler handler);
    void forget(const std::string& path);
    void guard(const std::string& path, TestServer::Guard guard);
    void setRealtime(Realtime realtime);
    /// Returns the answer of the path's guard, if it refuses the request.
    std::optional<Answer> refusal(const Request& head) const;
    /// Removes and returns the next answer of a path; 404 if it has none.
    Reply nextReply(const std::string& path);
    Realtime realtime() const;

    /// Returns the number of a new connection.
    int connectionOpened();
    void connectionClosed();
    void received(Request request);
    /// Returns the index of a new socket in `sockets()`.
    std::size_t socketOpened(Request handshake);
    void received(std::size_t socket, SocketFrame frame, bool isAppend, bool isCommit);
    void sent(std::size_t socket, SocketFrame frame);
    /// May be called again if the client's close frame arrives after the server's.
    void socketClosed(std::size_t socket, std::optional<int> closeCode);

    std::vector<Request> requests() const;
    std::vector<Socket> sockets() const;
    Socket socket() const;

    struct Totals {
        int connections = 0;
        int openConnections = 0;
        int requests = 0;
        std::map<std::string, int> requestsByPath;
        int sockets = 0;
        int closedSockets = 0;
        int frames = 0;
        int appends = 0;
        int commits = 0;
    };
    Totals totals() const;
    /// Returns whether `isReached` held within the time.
    bool waitFor(double seconds, const std::function<bool(const Totals&)>& isReached) const;

private:
    mutable std::mutex mutex_; // guards all fields
    mutable std::condition_variable changed_;
    std::map<std::string, std::deque<Answer>> answers_;
    std::map<std::string, TestServer::Handler> handlers_;
    std::map<std::string, TestServer::Guard> guards_;
    Realtime realtime_;
    std::vector<Request> requests_;
    std::vector<Socket> sockets_;
    Totals totals_;
};

} // namespace sonvale::tests
