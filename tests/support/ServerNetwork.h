#pragma once

#include "tests/support/RealtimeConversation.h"
#include "tests/support/ServerRecord.h"
#include "tests/support/TestCertificates.h"

#include <memory>

namespace sonvale::tests {

/// The connections of a `TestServer`: HTTP/1.1 with keep-alive and WebSocket on one port of 127.0.0.1. Any
/// thread; what it does in the moment is done when the call returns.
class ServerNetwork {
public:
    /// Plain without certificates. `listener`: a socket that listens already, which it closes; -1: one of its
    /// own. Throws `std::runtime_error`.
    ServerNetwork(ServerRecord& record, int port, const TestCertificates* certificates, int listener = -1);
    /// Closes everything at once. Waits for a handler or a transcriber that is at work.
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
