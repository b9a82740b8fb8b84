#include "runtime/Clock.h"

#include <optional>

namespace sonvale::runtime {

// The header requires that the clock outlives the sleep.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-reference-coroutine-parameters)
Task<SleepOutcome> sleep(Clock& clock, double seconds) {
    struct Wait {
        std::optional<Continuation<SleepOutcome>> continuation;
        Clock::TimerId timer = 0;
    };
    const auto wait = std::make_shared<Wait>();

    std::function<void(Continuation<SleepOutcome>)> start =
        [wait, &clock, seconds](Continuation<SleepOutcome> continuation) {
            wait->continuation = continuation;
            wait->timer =
                clock.schedule(seconds, [continuation] { continuation.resume(SleepOutcome::finished); });
        };
    std::function<void()> onCancel = [wait, &clock] {
        clock.cancel(wait->timer);
        wait->continuation->resume(SleepOutcome::interrupted);
    };

    const auto outcome = co_await suspend<SleepOutcome>(std::move(start), std::move(onCancel));
    co_return outcome;
}

std::int64_t millisecondsSince(const Clock& clock, double start) {
    // Differences of decimal fractions can be slightly too small; 350 ms must not be reported as 349.
    constexpr double epsilon = 1e-6;
    return static_cast<std::int64_t>((clock.now() - start) * 1000.0 + epsilon);
}

} // namespace sonvale::runtime
