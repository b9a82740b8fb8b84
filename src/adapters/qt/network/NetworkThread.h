#pragma once

#include "adapters/qt/network/Network.h"

#include <QThread>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

namespace sonvale::adapters::qt {

/// The thread on which requests and sockets run. May be used from any thread.
class NetworkThread {
public:
    /// `authorities` names a file of additional trusted certificates; empty for none.
    NetworkThread(const QString& authorities, const KeptConnections::Uptime& uptime);
    NetworkThread(const NetworkThread&) = delete;
    NetworkThread& operator=(const NetworkThread&) = delete;
    /// Does what `end()` does.
    ~NetworkThread();

    /// Queues `work`, in the order of the calls. It never runs inside this call. After `end()` returns false
    /// and drops the work.
    bool post(std::function<void(Network&)> work);

    /// Returns a number that no other session, request or socket has.
    NetworkId makeId() { return ++lastId_; }

    /// Runs the queued work, ends every session and, within half a second, the thread. Must not be called on
    /// the thread itself. A second call does nothing.
    void end();

private:
    void run(const QString& authorities, const KeptConnections::Uptime& uptime,
             const std::function<void()>& started);

    std::atomic<NetworkId> lastId_ = 0;
    std::unique_ptr<QThread> thread_;
    std::mutex mutex_;
    QObject* receiver_ = nullptr; ///< guarded by `mutex_`; null before and after
    Network* network_ = nullptr;  ///< used only on the thread
};

} // namespace sonvale::adapters::qt
