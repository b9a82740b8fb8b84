#pragma once

#include "runtime/Task.h"

#include <chrono>
#include <cstdint>
#include <functional>

namespace sonvale::runtime {

using Date = std::chrono::system_clock::time_point;

/// The only source of time in the program: nothing else reads a clock or sleeps.
class Clock {
public:
    using TimerId = std::uint64_t;

    Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    virtual ~Clock() = default;

    /// Returns the seconds of a clock that never goes back. It counts the time while the machine sleeps, and
    /// so do timers. Only differences are meaningful. Any thread.
    virtual double now() const = 0;

    /// Returns the seconds for which the machine has slept since its start. Only differences are meaningful.
    /// Any thread.
    virtual double secondsAsleep() const = 0;

    /// Returns the calendar's time. Any thread.
    virtual Date date() const = 0;

    /// Runs `action` once after `seconds` (in the next turn if they are not positive), on a thread that the
    /// clock chooses. `action` must be short and must not block. From any thread.
    virtual TimerId schedule(double seconds, std::function<void()> action) = 0;

    /// Drops a timer. Returns false if it has run, is running or is unknown. From any thread.
    virtual bool cancel(TimerId timer) = 0;
};

enum class SleepOutcome { finished, interrupted };

/// Suspends for `seconds`. Returns `interrupted` at once if the task is or gets cancelled. The clock must
/// outlive the sleep.
Task<SleepOutcome> sleep(Clock& clock, double seconds);

/// Returns the time since `start` on the same clock in whole milliseconds, truncated.
std::int64_t millisecondsSince(const Clock& clock, double start);

} // namespace sonvale::runtime
