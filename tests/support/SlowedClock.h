#pragma once

#include "runtime/SystemClock.h"

#include <functional>
#include <utility>

namespace sonvale::tests {

/// The machine's clock, which can run more slowly. A program with short time limits then gets more of the
/// machine's time within them, so that a test does not depend on how busy the machine is. One thread.
class SlowedClock final : public runtime::Clock {
public:
    /// A second of this clock is `times` seconds of the machine.
    explicit SlowedClock(double times)
        : times_(times) {}

    /// Sets the factor from now on.
    void setTimes(double times) {
        reached_ = now();
        since_ = clock_.now();
        times_ = times;
    }

    double now() const override { return reached_ + (clock_.now() - since_) / times_; }
    double secondsAsleep() const override { return clock_.secondsAsleep(); }
    runtime::Date date() const override { return clock_.date(); }
    TimerId schedule(double seconds, std::function<void()> due) override {
        return clock_.schedule(seconds * times_, std::move(due));
    }
    bool cancel(TimerId timer) override { return clock_.cancel(timer); }

private:
    runtime::SystemClock clock_;
    double times_;
    double since_ = clock_.now();
    double reached_ = 0;
};

} // namespace sonvale::tests
