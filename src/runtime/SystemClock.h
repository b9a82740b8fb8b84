#pragma once

#include "runtime/Clock.h"

#include <memory>

namespace sonvale::runtime {

/// The machine's clocks; `now` and timers are on CLOCK_BOOTTIME. Timers run on one thread of its own, which
/// wakes only when one is due. Throws `std::system_error` if the system gives it no timer.
class SystemClock final : public Clock {
public:
    SystemClock();
    ~SystemClock() override;

    double now() const override;
    double secondsAsleep() const override;
    Date date() const override;
    TimerId schedule(double seconds, std::function<void()> due) override;
    bool cancel(TimerId timer) override;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sonvale::runtime
