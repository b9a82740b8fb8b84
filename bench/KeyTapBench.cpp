#include "adapters/x11/keys/SyntheticKeyLedger.h"
#include "adapters/x11/keys/X11EventTap.h"
#include "adapters/x11/keys/X11SyntheticInput.h"
#include "bench/Percentiles.h"
#include "bench/Rounds.h"

#include "runtime/SystemClock.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/KeyWindow.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/TestKeyboard.h"

#include <X11/keysym.h>
#include <benchmark/benchmark.h>

#include <atomic>
#include <utility>
#include <vector>

namespace sonvale::tests {

namespace {

using adapters::x11::SyntheticKeyLedger;
using adapters::x11::X11EventTap;
using adapters::x11::X11SyntheticInput;

/// Measures from the time when a key is sent to the server to the callback on the tap's thread.
void keyToCallback(benchmark::State& state) {
    const PrivateDisplay display;
    const runtime::SystemClock clock;
    X11EventTap tap(clock, std::make_shared<SyntheticKeyLedger>(), display.name());
    std::atomic<double> calledAt = 0;
    tap.start([&](const platform::KeyEvent&) {
        calledAt = monotonicSeconds();
        return platform::KeyVerdict::pass;
    });
    TestKeyboard keyboard(display.name(), TestKeyboard::Source::hardware);
    std::vector<double> latencies;
    bool isDown = false;
    for (auto step : state) {
        (void)step;
        isDown = !isDown;
        calledAt = 0;
        const double pressedAt = monotonicSeconds();
        isDown ? keyboard.down(XK_x) : keyboard.up(XK_x);
        while (calledAt == 0 && monotonicSeconds() - pressedAt < 1) {
        }
        latencies.push_back(calledAt - pressedAt);
        state.SetIterationTime(latencies.back());
    }
    tap.stop();
    bench::reportPercentiles(state, std::move(latencies));
}
BENCHMARK(keyToCallback)->UseManualTime()->Iterations(bench::rounds(2000))->Unit(benchmark::kMicrosecond);

/// Measures one paste until the call returns.
void pressPaste(benchmark::State& state) {
    const PrivateDisplay display;
    const runtime::SystemClock clock;
    const KeyWindow window(display.name());
    X11SyntheticInput input(clock, std::make_shared<SyntheticKeyLedger>(), {}, display.name());
    std::vector<double> durations;
    for (auto step : state) {
        (void)step;
        const double before = monotonicSeconds();
        input.pressPaste();
        durations.push_back(monotonicSeconds() - before);
        state.SetIterationTime(durations.back());
    }
    bench::reportPercentiles(state, std::move(durations));
}
BENCHMARK(pressPaste)->UseManualTime()->Iterations(bench::rounds(200))->Unit(benchmark::kMicrosecond);

} // namespace

} // namespace sonvale::tests
