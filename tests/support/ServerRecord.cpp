#include "tests/support/ServerRecord.h"

#include "tests/support/ServiceAnswers.h"

#include <chrono>
#include <stdexcept>
#include <utility>

namespace sonvale::tests {

void ServerRecord::answer(const std::string& path, Answer answer) {
    const std::lock_guard lock(mutex_);
    handlers_.erase(path);
    answers_[path].push_back(std::move(answer));
}

void ServerRecord::answerBy(const std::string& path, TestServer::Handler handler) {
    const std::lock_guard lock(mutex_);
    answers_.erase(path);
    handlers_[path] = std::move(handler);
}

void ServerRecord::forget(const std::string& path) {
    const std::lock_guard lock(mutex_);
    handlers_.erase(path);
    answers_.erase(path);
}

void ServerRecord::guard(const std::string& path, TestServer::Guard guard) {
    const std::lock_guard lock(mutex_);
    guards_[path] = std::move(guard);
}

std::optional<Answer> ServerRecord::refusal(const Request& head) const {
    TestServer::Guard guard;
    {
        const std::lock_guard lock(mutex_);
        if (const auto found = guards_.find(head.path()); found != guards_.end())
            guard = found->second;
    }
    return guard ? guard(head) : std::nullopt;
}

void ServerRecord::setRealtime(Realtime realtime) {
    const std::lock_guard lock(mutex_);
    realtime_ = std::move(realtime);
}

ServerRecord::Reply ServerRecord::nextReply(const std::string& path) {
    const std::lock_guard lock(mutex_);
    if (const auto handler = handlers_.find(path); handler != handlers_.end())
        return handler->second;
    const auto found = answers_.find(path);
    if (found == answers_.end())
        return backendError(404, "Not found");
    auto& queue = found->second;
    auto answer = queue.front();
    if (queue.size() > 1)
        queue.pop_front();
    return answer;
}

Realtime ServerRecord::realtime() const {
    const std::lock_guard lock(mutex_);
    return realtime_;
}

int ServerRecord::connectionOpened() {
    const std::lock_guard lock(mutex_);
    ++totals_.openConnections;
    changed_.notify_all();
    return ++totals_.connections;
}

void ServerRecord::connectionClosed() {
    const std::lock_guard lock(mutex_);
    --totals_.openConnections;
    changed_.notify_all();
}

void ServerRecord::received(Request request) {
    const std::lock_guard lock(mutex_);
    ++totals_.requests;
    ++totals_.requestsByPath[request.path()];
    requests_.push_back(std::move(request));
    changed_.notify_all();
}

std::size_t ServerRecord::socketOpened(Request handshake) {
    const std::lock_guard lock(mutex_);
    Socket socket;
    socket.handshake = std::move(handshake);
    socket.isOpen = true;
    sockets_.push_back(std::move(socket));
    ++totals_.sockets;
    changed_.notify_all();
    return sockets_.size() - 1;
}

void ServerRecord::received(std::size_t socket, SocketFrame frame, bool isAppend, bool isCommit) {
    const std::lock_guard lock(mutex_);
    auto& record = sockets_.at(socket);
    record.frames.push_back(std::move(frame));
    ++totals_.frames;
    if (isAppend) {
        ++record.appends;
        ++totals_.appends;
    }
    if (isCommit) {
        ++record.commits;
        ++totals_.commits;
    }
    changed_.notify_all();
}

void ServerRecord::sent(std::size_t socket, SocketFrame frame) {
    const std::lock_guard lock(mutex_);
    sockets_.at(socket).sent.push_back(std::move(frame));
    changed_.notify_all();
}

void ServerRecord::socketClosed(std::size_t socket, std::optional<int> closeCode) {
    const std::lock_guard lock(mutex_);
    auto& record = sockets_.at(socket);
    if (closeCode)
        record.closeCode = closeCode;
    if (!std::exchange(record.isOpen, false))
        return;
    ++totals_.closedSockets;
    changed_.notify_all();
}

std::vector<Request> ServerRecord::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

std::vector<Socket> ServerRecord::sockets() const {
    const std::lock_guard lock(mutex_);
    return sockets_;
}

Socket ServerRecord::socket() const {
    const std::lock_guard lock(mutex_);
    if (sockets_.empty())
        throw std::runtime_error("no socket has been opened");
    return sockets_.back();
}

ServerRecord::Totals ServerRecord::totals() const {
    const std::lock_guard lock(mutex_);
    return totals_;
}

bool ServerRecord::waitFor(double seconds, const std::function<bool(const Totals&)>& isReached) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::duration<double>(seconds),
                             [&] { return isReached(totals_); });
}

} // namespace sonvale::tests
