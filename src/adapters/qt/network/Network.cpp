#include "adapters/qt/network/Network.h"

#include "adapters/qt/network/NetworkRequests.h"

#include <QMetaObject>

namespace sonvale::adapters::qt {

NetworkSession::NetworkSession(TlsConfiguration& tls, ClosingSockets& closing, KeptConnections::Uptime uptime)
    : tls_(tls)
    , closing_(closing)
    , connections_(std::move(uptime)) {}

NetworkSession::~NetworkSession() {
    sockets_.clear();
    lines_.clear();
    calls_.clear();
}

void NetworkSession::startCall(NetworkId id, platform::UrlRequest request,
                               runtime::Continuation<platform::UrlResponse> caller) {
    // In a later turn of the event loop: the call may be in the middle of its own work.
    const auto onEnd = [this, id] {
        QMetaObject::invokeMethod(this, [this, id] { calls_.erase(id); }, Qt::QueuedConnection);
    };
    auto& call = calls_[id];
    call = std::make_unique<HttpCall>(connections_, tls_, std::move(request), std::move(caller), onEnd);
    call->start();
}

void NetworkSession::cancelCall(NetworkId id) {
    const auto found = calls_.find(id);
    if (found != calls_.end())
        found->second->cancel();
}

void NetworkSession::startLines(NetworkId id, platform::UrlRequest request,
                                runtime::Continuation<platform::UrlResponse> caller) {
    auto& lines = lines_[id];
    lines = std::make_unique<HttpLines>(connections_, tls_, std::move(request), std::move(caller));
    lines->start();
}

HttpLines* NetworkSession::lines(NetworkId id) {
    const auto found = lines_.find(id);
    return found == lines_.end() ? nullptr : found->second.get();
}

void NetworkSession::dropLines(NetworkId id) {
    lines_.erase(id);
}

void NetworkSession::addSocket(NetworkId id, platform::UrlRequest request) {
    sockets_[id] = std::make_unique<SocketConnection>(tls_, std::move(request), closing_);
}

SocketConnection* NetworkSession::socket(NetworkId id) {
    const auto found = sockets_.find(id);
    return found == sockets_.end() ? nullptr : found->second.get();
}

void NetworkSession::dropSocket(NetworkId id) {
    sockets_.erase(id);
}

Network::Network(QString authorities, KeptConnections::Uptime uptime)
    : tls_(std::move(authorities))
    , uptime_(std::move(uptime)) {}

void Network::addSession(NetworkId id) {
    sessions_[id] = std::make_unique<NetworkSession>(tls_, closingSockets_, uptime_);
}

NetworkSession* Network::session(NetworkId id) {
    const auto found = sessions_.find(id);
    return found == sessions_.end() ? nullptr : found->second.get();
}

void Network::endSession(NetworkId id) {
    sessions_.erase(id);
}

void Network::endAllSessions(std::function<void()> done) {
    constexpr int millisecondsToClose = 500;
    sessions_.clear();
    closingSockets_.whenEmpty(millisecondsToClose, std::move(done));
}

} // namespace sonvale::adapters::qt
