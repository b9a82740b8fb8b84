#include "runtime/ManualClock.h"

#include <algorithm>

namespace sonvale::runtime {

double ManualClock::now() const {
    const std::lock_guard lock(mutex_);
    return now_;
}

double ManualClock::secondsAsleep() const {
    const std::lock_guard lock(mutex_);
    return asleep_;
}

Date ManualClock::date() const {
    const std::lock_guard lock(mutex_);
    return date_;
}

void ManualClock::setDate(Date date) {
    const std::lock_guard lock(mutex_);
    date_ = date;
}

Clock::TimerId ManualClock::schedule(double seconds, std::function<void()> action) {
    const std::lock_guard lock(mutex_);
    const auto id = nextId_++;
    timers_.emplace(std::pair(now_ + std::max(seconds, 0.0), id), std::move(action));
    return id;
}

bool ManualClock::cancel(TimerId timer) {
    std::function<void()> dropped;
    const std::lock_guard lock(mutex_);
    const auto entry = std::find_if(timers_.begin(), timers_.end(),
                                    [timer](const auto& e) { return e.first.second == timer; });
    if (entry == timers_.end())
        return false;
    dropped = std::move(entry->second);
    timers_.erase(entry);
    return true;
}

void ManualClock::advance(double seconds) {
    if (settle_)
        settle_();
    // Sums of decimal fractions differ slightly; such a difference is not a difference in time.
    constexpr double sameMoment = 1e-9;
    const double end = now() + seconds;
    while (true) {
        std::function<void()> action;
        {
            const std::lock_guard lock(mutex_);
            if (timers_.empty() || timers_.begin()->first.first > end + sameMoment)
                break;
            const auto step = std::max(timers_.begin()->first.first - now_, 0.0);
            now_ += step;
            date_ += std::chrono::duration_cast<Date::duration>(std::chrono::duration<double>(step));
            action = std::move(timers_.extract(timers_.begin()).mapped());
        }
        action();
        if (settle_)
            settle_();
    }
    const std::lock_guard lock(mutex_);
    const auto rest = std::max(end - now_, 0.0);
    date_ += std::chrono::duration_cast<Date::duration>(std::chrono::duration<double>(rest));
    now_ += rest;
}

void ManualClock::sleepThrough(double seconds) {
    if (settle_)
        settle_();
    {
        const std::lock_guard lock(mutex_);
        now_ += seconds;
        asleep_ += seconds;
        date_ += std::chrono::duration_cast<Date::duration>(std::chrono::duration<double>(seconds));
    }
    advance(0);
}

std::size_t ManualClock::pending() const {
    const std::lock_guard lock(mutex_);
    return timers_.size();
}

double ManualClock::untilNext() const {
    const std::lock_guard lock(mutex_);
    return timers_.empty() ? -1 : timers_.begin()->first.first - now_;
}

} // namespace sonvale::runtime
