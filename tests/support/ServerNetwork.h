#pragma once

#include "tests/support/RealtimeConversation.h"
#include "tests/support/ServerRecord.h"
#include "tests/support/TestCertificates.h"

#include <memory>

namespace sonvale::tests {

/// The connections of a `TestServer`: HTTP/1.1 with keep-alive and WebSocket on one port of 127.0.0.1. Any
/// thread. Immediate operations are done when the call returns.
class ServerNetwork {
public:
    /// Uses no TLS without certificates. `listener` is a listening socket, which this object closes; -1 means
    /// its own. Throws `std::runtime_error`.
    ServerNetwork(ServerRecord& record, int port, const TestCertificates* certificates, int listener = -1);
    /// Closes everything at once. Waits for a running handler or transcriber.
    ~ServerNetwork();
    ServerNetwork(const ServerNetwork&) = delete;
    ServerNetwork& operator=(const ServerNetwork&) = delete;

    int port() const;
    void toNewestSocket(SocketAction action);
    void toAllSockets(SocketAction action);
    void dropAll();
    void setListening(bool isListening);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sonvale::tests
