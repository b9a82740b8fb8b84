#include "runtime/SystemClock.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <unordered_map>

namespace sonvale::runtime {

namespace {

double secondsOn(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

} // namespace

struct SystemClock::Impl {
    /// The time on CLOCK_BOOTTIME, and the order of scheduling.
    using Key = std::pair<double, TimerId>;

    std::mutex mutex;
    std::map<Key, std::function<void()>> timers;
    std::unordered_map<TimerId, double> dueTimes;
    TimerId nextId = 1;
    bool isEnding = false;
    int alarm = -1; ///< a timerfd; set under `mutex`, read without it
    std::thread thread;

    Impl() {
        // CLOCK_MONOTONIC stops while the machine sleeps.
        alarm = timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC);
        if (alarm < 0)
            throw std::system_error(errno, std::generic_category(), "timerfd_create");
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;
    ~Impl() { close(alarm); }

    /// Sets the alarm to the first timer. The caller holds `mutex`.
    void arm() const {
        itimerspec setting{}; // all zero: no alarm
        if (isEnding) {
            setting.it_value.tv_nsec = 1;
        } else if (!timers.empty()) {
            const double due = std::max(timers.begin()->first.first, 1e-3);
            const double whole = std::floor(due);
            // Rounded up, so that the thread does not wake before the timer's time.
            setting.it_value.tv_sec = static_cast<time_t>(whole);
            setting.it_value.tv_nsec =
                std::min(static_cast<long>(std::ceil((due - whole) * 1e9)), 999999999L);
        }
        timerfd_settime(alarm, TFD_TIMER_ABSTIME, &setting, nullptr);
    }

    void run() {
        std::unique_lock lock(mutex);
        while (!isEnding) {
            const bool hasExpired =
                !timers.empty() && timers.begin()->first.first <= secondsOn(CLOCK_BOOTTIME);
            if (!hasExpired) {
                arm();
                lock.unlock();
                std::uint64_t expirations = 0;
                // After an interrupted or early read the loop checks the timers again.
                static_cast<void>(read(alarm, &expirations, sizeof expirations));
                lock.lock();
                continue;
            }
            const auto first = timers.begin();
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
        impl_->arm();
    }
    impl_->thread.join();
}

double SystemClock::now() const {
    return secondsOn(CLOCK_BOOTTIME);
}

double SystemClock::secondsAsleep() const {
    return secondsOn(CLOCK_BOOTTIME) - secondsOn(CLOCK_MONOTONIC);
}

Date SystemClock::date() const {
    return std::chrono::system_clock::now();
}

Clock::TimerId SystemClock::schedule(double seconds, std::function<void()> action) {
    const double at = secondsOn(CLOCK_BOOTTIME) + seconds;
    const std::lock_guard lock(impl_->mutex);
    const auto id = impl_->nextId++;
    const auto [place, isNew] = impl_->timers.emplace(Impl::Key(at, id), std::move(action));
    impl_->dueTimes.emplace(id, at);
    // The thread must wake only if its wait has become shorter.
    if (place == impl_->timers.begin())
        impl_->arm();
    return id;
}

bool SystemClock::cancel(TimerId timer) {
    // destroyed outside the lock, because it may hold the last reference to any object
    std::function<void()> dropped;
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
