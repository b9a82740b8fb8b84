#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace sonvale::adapters::posix {

/// Runs work in order on a thread of its own, which is started with the first work. For libraries that block.
class SerialThread {
public:
    /// `name` is the thread's for the system: 15 letters at most.
    explicit SerialThread(std::string name);
    SerialThread(const SerialThread&) = delete;
    SerialThread& operator=(const SerialThread&) = delete;
    /// As `end()`.
    ~SerialThread();

    /// Queues `work`, which must not throw; dropped after `end()`. Any thread, but never inside this call.
    void post(std::function<void()> work);

    /// Runs what is queued and ends the thread. Not on the thread itself. A second call does nothing.
    void end();

private:
    void run();

    const std::string name_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> queue_; ///< guarded by `mutex_`, as all below
    bool isEnding_ = false;
    std::thread thread_;
};

} // namespace sonvale::adapters::posix
