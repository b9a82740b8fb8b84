#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace sonvale::adapters::posix {

/// Runs work in order on a thread of its own, which the first work starts. For libraries that block.
class SerialThread {
public:
    /// `name` is the name of the thread in the system, up to 15 letters.
    explicit SerialThread(std::string name);
    SerialThread(const SerialThread&) = delete;
    SerialThread& operator=(const SerialThread&) = delete;
    /// Does what `end()` does.
    ~SerialThread();

    /// Queues `work`, which must not throw and never runs inside this call. After `end()` the work is
    /// dropped. Any thread.
    void post(std::function<void()> work);

    /// Runs the queued work and ends the thread. Must not be called on the thread itself. A second call does
    /// nothing.
    void end();

private:
    void run();

    const std::string name_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> queue_; ///< guarded by `mutex_`, like the fields below
    bool isEnding_ = false;
    std::thread thread_;
};

} // namespace sonvale::adapters::posix
