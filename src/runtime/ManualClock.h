#pragma once

#include "runtime/Clock.h"

#include <map>
#include <mutex>

namespace sonvale::runtime {

/// A clock that stands still until a test advances it.
class ManualClock final : public Clock {
public:
    /// `settle` runs everything that is ready; it is called before time moves and after every due timer.
    explicit ManualClock(std::function<void()> settle = {}, Date date = Date{})
        : settle_(std::move(settle))
        , date_(date) {}

    double now() const override;
    double secondsAsleep() const override;
    Date date() const override;
    TimerId schedule(double seconds, std::function<void()> due) override;
    bool cancel(TimerId timer) override;

    /// Moves time on by `seconds`, stopping at every timer that becomes due, in order of time and then of
    /// scheduling, timers that are scheduled on the way included.
    void advance(double seconds);

    /// As `advance`, with the machine asleep: timers that become due meanwhile run at the end.
    void sleepThrough(double seconds);

    /// Number of timers that wait.
    std::size_t pending() const;
    /// Seconds to the next timer; negative when there is none.
    double untilNext() const;
    /// Moves the calendar alone.
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
