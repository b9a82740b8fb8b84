#include "runtime/SystemClock.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <unordered_map>

namespace sonvale::runtime {

using Steady = std::chrono::steady_clock;

struct SystemClock::Impl {
    using Key = std::pair<Steady::time_point, TimerId>;

    std::mutex mutex;
    std::condition_variable changed;
    std::map<Key, std::function<void()>> timers;
    std::unordered_map<TimerId, Steady::time_point> dueTimes;
    TimerId nextId = 1;
    bool isEnding = false;
    std::thread thread;

    void run() {
        std::unique_lock lock(mutex);
        while (!isEnding) {
            if (timers.empty()) {
                changed.wait(lock);
                continue;
            }
            const auto first = timers.begin();
            const auto due = first->first.first;
            if (Steady::now() < due) {
                changed.wait_until(lock, due);
                continue;
            }
            dueTimes.erase(first->first.second);
            const auto action = std::move(timers.extract(first).mapped());
            lock.unlock();
            action();
            lock.lock();
        }
    }
};

SystemClock::SystemClock()
    : impl_(std::make_unique<Impl>()) {
    impl_->thread = std::thread([impl = impl_.get()] { impl->run(); });
}

SystemClock::~SystemClock() {
    {
        const std::lock_guard lock(impl_->mutex);
        impl_->isEnding = true;
    }
    impl_->changed.notify_all();
    impl_->thread.join();
}

double SystemClock::now() const {
    return std::chrono::duration<double>(Steady::now().time_since_epoch()).count();
}

Date SystemClock::date() const {
    return std::chrono::system_clock::now();
}

Clock::TimerId SystemClock::schedule(double seconds, std::function<void()> due) {
    const auto delay = std::chrono::duration_cast<Steady::duration>(std::chrono::duration<double>(seconds));
    const auto at = Steady::now() + delay;
    const std::lock_guard lock(impl_->mutex);
    const auto id = impl_->nextId++;
    const auto [place, isNew] = impl_->timers.emplace(Impl::Key(at, id), std::move(due));
    impl_->dueTimes.emplace(id, at);
    // Only an earlier end of the thread's wait needs waking it.
    if (place == impl_->timers.begin())
        impl_->changed.notify_all();
    return id;
}

bool SystemClock::cancel(TimerId timer) {
    std::function<void()> dropped; // destroyed outside the lock: it may hold the last reference to anything
    const std::lock_guard lock(impl_->mutex);
    const auto due = impl_->dueTimes.find(timer);
    if (due == impl_->dueTimes.end())
        return false;
    const auto entry = impl_->timers.find(Impl::Key(due->second, timer));
    dropped = std::move(entry->second);
    impl_->timers.erase(entry);
    impl_->dueTimes.erase(due);
    return true;
}

} // namespace sonvale::runtime
