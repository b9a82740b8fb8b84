#pragma once

#include "adapters/qt/Network.h"

#include <QThread>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

namespace sonvale::adapters::qt {

/// The thread on which requests and sockets run. Any thread may use it.
class NetworkThread {
public:
    /// `authorities` names a file of certificates that are trusted too; empty for none.
    NetworkThread(const QString& authorities, const KeptConnections::Uptime& uptime);
    NetworkThread(const NetworkThread&) = delete;
    NetworkThread& operator=(const NetworkThread&) = delete;
    /// As `end()`.
    ~NetworkThread();

    /// Queues `work`, in the order of the calls; it never runs inside this one. False, and `work` is not
    /// kept, after `end()`.
    bool post(std::function<void(Network&)> work);

    /// A number that no other session, request or socket has.
    NetworkId makeId() { return ++lastId_; }

    /// Runs what is queued, ends every session and, within half a second, the thread. Not on the thread
    /// itself. A second call does nothing.
    void end();

private:
    void run(const QString& authorities, const KeptConnections::Uptime& uptime,
             const std::function<void()>& started);

    std::atomic<NetworkId> lastId_ = 0;
    std::unique_ptr<QThread> thread_;
    std::mutex mutex_;
    QObject* receiver_ = nullptr; ///< guarded by `mutex_`; null before and after
    Network* network_ = nullptr;  ///< on the thread only
};

} // namespace sonvale::adapters::qt
