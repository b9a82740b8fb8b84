#pragma once

#include "adapters/qt/network/NetworkThread.h"

#include <memory>

namespace sonvale::adapters::qt {

/// Shared by a session, its requests and its sockets. The session ends with the last of them. Any thread.
class SessionHandle {
public:
    explicit SessionHandle(std::shared_ptr<NetworkThread> thread);
    SessionHandle(const SessionHandle&) = delete;
    SessionHandle& operator=(const SessionHandle&) = delete;
    ~SessionHandle();

    NetworkThread& thread() const { return *thread_; }
    NetworkId id() const { return id_; }
    void invalidate();

private:
    const std::shared_ptr<NetworkThread> thread_;
    const NetworkId id_;
};

} // namespace sonvale::adapters::qt
