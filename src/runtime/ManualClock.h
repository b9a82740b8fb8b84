#pragma once

#include "runtime/Clock.h"

#include <map>
#include <mutex>

namespace sonvale::runtime {

/// A clock for tests. Its time does not move until the test advances it.
class ManualClock final : public Clock {
public:
    /// `settle` runs everything that is ready. It is called before time moves and after every timer.
    explicit ManualClock(std::function<void()> settle = {}, Date date = Date{})
        : settle_(std::move(settle))
        , date_(date) {}

    double now() const override;
    double secondsAsleep() const override;
    Date date() const override;
    TimerId schedule(double seconds, std::function<void()> action) override;
    bool cancel(TimerId timer) override;

    /// Advances time by `seconds` and stops at every timer on the way, in order of time and then of
    /// scheduling, including timers that are scheduled on the way.
    void advance(double seconds);

    /// Works as `advance` while the machine sleeps: the timers of this time run at its end.
    void sleepThrough(double seconds);

    /// Returns the number of waiting timers.
    std::size_t pending() const;
    /// Returns the seconds to the next timer; negative if there is none.
    double untilNext() const;
    /// Changes the calendar's time only.
    void setDate(Date date);

private:
    mutable std::mutex mutex_;
    std::function<void()> settle_;
    double now_ = 1000;
    double asleep_ = 0;
    Date date_;
    std::map<std::pair<double, TimerId>, std::function<void()>> timers_;
    TimerId nextId_ = 1;
};

} // namespace sonvale::runtime
