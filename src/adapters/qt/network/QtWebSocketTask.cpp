#include "adapters/qt/network/QtWebSocketTask.h"

#include "adapters/qt/network/NetworkErrors.h"

#include <functional>
#include <optional>
#include <utility>

namespace sonvale::adapters::qt {

namespace {

/// Runs `work` with the socket on the network thread. If there is no socket any more, runs `otherwise` there,
/// or here if the thread has ended.
void withSocket(
    const SessionHandle& session, NetworkId id, std::function<void(SocketConnection&)> work,
    const std::function<void()>& otherwise = [] {}) {
    const bool isPosted = session.thread().post(
        [sessionId = session.id(), id, work = std::move(work), otherwise](Network& network) {
            auto* running = network.session(sessionId);
            if (auto* socket = running ? running->socket(id) : nullptr)
                work(*socket);
            else
                otherwise();
        });
    if (!isPosted)
        otherwise();
}

/// Suspends until an operation on the socket ends, or until the calling task is cancelled.
template <class T, class Operation>
runtime::Task<T> wait(std::shared_ptr<SessionHandle> session, NetworkId id, Operation operation) {
    auto own = std::make_shared<std::optional<runtime::Continuation<T>>>();
    std::function<void(runtime::Continuation<T>)> start = [own, session, id,
                                                           operation = std::move(operation)](auto caller) {
        own->emplace(caller);
        withSocket(
            *session, id, [operation, caller](SocketConnection& socket) { operation(socket, caller); },
            [caller] { caller.fail(urlFailure(platform::UrlError::Code::cancelled)); });
    };
    std::function<void()> onCancel = [own] { (*own)->fail(urlFailure(platform::UrlError::Code::cancelled)); };
    co_return co_await runtime::suspend<T>(std::move(start), std::move(onCancel));
}

runtime::Task<platform::WebSocketMessage> receiveFrom(std::shared_ptr<SessionHandle> session, NetworkId id) {
    if (co_await runtime::isCurrentTaskCancelled())
        throw urlError(platform::UrlError::Code::cancelled);
    co_return co_await wait<platform::WebSocketMessage>(
        session, id, [](SocketConnection& socket, auto caller) { socket.receive(std::move(caller)); });
}

} // namespace

QtWebSocketTask::QtWebSocketTask(std::shared_ptr<SessionHandle> session, platform::UrlRequest request)
    : session_(std::move(session))
    , id_(session_->thread().makeId()) {
    session_->thread().post(
        [sessionId = session_->id(), id = id_, request = std::move(request)](Network& network) {
            if (auto* running = network.session(sessionId))
                running->addSocket(id, request);
        });
}

QtWebSocketTask::~QtWebSocketTask() {
    session_->thread().post([sessionId = session_->id(), id = id_](Network& network) {
        if (auto* running = network.session(sessionId))
            running->dropSocket(id);
    });
}

void QtWebSocketTask::resume() {
    withSocket(*session_, id_, [](SocketConnection& socket) { socket.open(); });
}

runtime::Task<> QtWebSocketTask::send(platform::WebSocketMessage message) {
    return wait<void>(session_, id_, [message = std::move(message)](SocketConnection& socket, auto caller) {
        socket.send(message, std::move(caller));
    });
}

runtime::Task<platform::WebSocketMessage> QtWebSocketTask::receive() {
    return receiveFrom(session_, id_);
}

void QtWebSocketTask::cancel(int closeCode) {
    withSocket(*session_, id_, [closeCode](SocketConnection& socket) { socket.cancel(closeCode); });
}

} // namespace sonvale::adapters::qt
