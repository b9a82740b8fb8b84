#include "adapters/posix/SerialThread.h"

#include <pthread.h>

#include <utility>

namespace sonvale::adapters::posix {

SerialThread::SerialThread(std::string name)
    : name_(std::move(name)) {}

SerialThread::~SerialThread() {
    end();
}

void SerialThread::post(std::function<void()> work) {
    {
        const std::lock_guard lock(mutex_);
        if (isEnding_)
            return;
        queue_.push_back(std::move(work));
        if (!thread_.joinable())
            thread_ = std::thread([this] { run(); });
    }
    changed_.notify_one();
}

void SerialThread::end() {
    std::thread thread;
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
        thread = std::move(thread_);
    }
    changed_.notify_one();
    if (thread.joinable())
        thread.join();
}

void SerialThread::run() {
    pthread_setname_np(pthread_self(), name_.c_str());
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return isEnding_ || !queue_.empty(); });
        if (queue_.empty())
            return;
        auto work = std::move(queue_.front());
        queue_.pop_front();
        lock.unlock();
        work();
        // The destructors of what the work holds may take the lock.
        work = nullptr;
        lock.lock();
    }
}

} // namespace sonvale::adapters::posix
