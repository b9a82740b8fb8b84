#pragma once

#include "runtime/Task.h"

#include <chrono>
#include <cstdint>
#include <functional>

namespace sonvale::runtime {

using Date = std::chrono::system_clock::time_point;

/// All time of the program: nothing else reads a clock or sleeps.
class Clock {
public:
    using TimerId = std::uint64_t;

    Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    virtual ~Clock() = default;

    /// Seconds on a clock that never goes back. It counts the time that the machine sleeps, and so do timers.
    /// Only differences mean anything. Any thread.
    virtual double now() const = 0;

    /// Seconds that the machine has slept since it started. Only differences mean anything. Any thread.
    virtual double secondsAsleep() const = 0;

    /// The calendar's time. Any thread.
    virtual Date date() const = 0;

    /// Runs `due` once, `seconds` from now (at once in the next turn when not positive), on a thread of the
    /// clock's choosing. `due` must be short and must not block. From any thread.
    virtual TimerId schedule(double seconds, std::function<void()> due) = 0;

    /// Drops a timer. False when it has run, is running or is unknown. From any thread.
    virtual bool cancel(TimerId timer) = 0;
};

enum class SleepOutcome { finished, interrupted };

/// Suspends for `seconds`. In a task that is or gets cancelled it ends at once with `interrupted`. The clock
/// must outlive the sleep.
Task<SleepOutcome> sleep(Clock& clock, double seconds);

/// Elapsed time since `start` of the same clock in whole milliseconds, truncated.
std::int64_t millisecondsSince(const Clock& clock, double start);

} // namespace sonvale::runtime
