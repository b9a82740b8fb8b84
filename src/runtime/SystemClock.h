#pragma once

#include "runtime/Clock.h"

#include <memory>

namespace sonvale::runtime {

/// The machine's clocks; `now` and timers use CLOCK_BOOTTIME. One thread of its own runs the timers and wakes
/// only for them. Throws `std::system_error` if the system provides no timer.
class SystemClock final : public Clock {
public:
    SystemClock();
    ~SystemClock() override;

    double now() const override;
    double secondsAsleep() const override;
    Date date() const override;
    TimerId schedule(double seconds, std::function<void()> action) override;
    bool cancel(TimerId timer) override;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sonvale::runtime
