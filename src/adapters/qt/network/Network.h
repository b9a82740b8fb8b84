#pragma once

#include "adapters/qt/network/ClosingSockets.h"
#include "adapters/qt/network/HttpCall.h"
#include "adapters/qt/network/HttpLines.h"
#include "adapters/qt/network/KeptConnections.h"
#include "adapters/qt/network/SocketConnection.h"
#include "adapters/qt/network/TlsConfiguration.h"

#include <QObject>
#include <QString>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace sonvale::adapters::qt {

using NetworkId = std::uint64_t;

/// One session on the network thread: its connections, requests and sockets. Its destruction cancels them
/// all.
class NetworkSession final : public QObject {
public:
    NetworkSession(TlsConfiguration& tls, ClosingSockets& closing, KeptConnections::Uptime uptime);
    ~NetworkSession() override;

    void startCall(NetworkId id, platform::UrlRequest request,
                   runtime::Continuation<platform::UrlResponse> caller);
    void cancelCall(NetworkId id);

    void startLines(NetworkId id, platform::UrlRequest request,
                    runtime::Continuation<platform::UrlResponse> caller);
    /// Returns null if there are none.
    HttpLines* lines(NetworkId id);
    void dropLines(NetworkId id);

    void addSocket(NetworkId id, platform::UrlRequest request);
    /// Returns null if there is none.
    SocketConnection* socket(NetworkId id);
    void dropSocket(NetworkId id);

private:
    TlsConfiguration& tls_;
    ClosingSockets& closing_;
    KeptConnections connections_;
    std::map<NetworkId, std::unique_ptr<HttpCall>> calls_;
    std::map<NetworkId, std::unique_ptr<HttpLines>> lines_;
    std::map<NetworkId, std::unique_ptr<SocketConnection>> sockets_;
};

/// The objects of the network thread, which only that thread uses. A session that is not in it has been
/// invalidated or destroyed.
class Network {
public:
    /// `authorities` names a file of additional trusted certificates; empty for none.
    Network(QString authorities, KeptConnections::Uptime uptime);
    void addSession(NetworkId id);
    /// Returns null if there is none.
    NetworkSession* session(NetworkId id);
    void endSession(NetworkId id);
    /// Ends all sessions, then calls `done`, possibly later: sockets get a moment to send their close frame.
    void endAllSessions(std::function<void()> done);

private:
    TlsConfiguration tls_;
    const KeptConnections::Uptime uptime_;
    ClosingSockets closingSockets_;
    std::map<NetworkId, std::unique_ptr<NetworkSession>> sessions_;
};

} // namespace sonvale::adapters::qt
