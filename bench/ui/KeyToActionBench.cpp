#include "adapters/qt/QtMainContext.h"
#include "adapters/x11/keys/SyntheticKeyLedger.h"
#include "adapters/x11/keys/X11EventTap.h"
#include "bench/Percentiles.h"
#include "bench/Rounds.h"

#include "hotkeys/HotkeyBindingStore.h"
#include "hotkeys/HotkeyManager.h"
#include "runtime/SystemClock.h"
#include "runtime/Task.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/TestKeyboard.h"

#include <X11/keysym.h>
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <algorithm>
#include <atomic>
#include <thread>
#include <utility>
#include <vector>

namespace sonvale::tests {

namespace {

/// Presses "Option + Space" in each round of the benchmark and adds the seconds until `heardAt` is set to
/// `latencies`. Ends Qt's event loop after the last round.
void pressKeys(benchmark::State& state, const PrivateDisplay& display, std::atomic<double>& heardAt,
               std::vector<double>& latencies) {
    TestKeyboard keyboard(display.name(), TestKeyboard::Source::hardware);
    for (auto _ : state) {
        heardAt = 0;
        keyboard.down(XK_Alt_L);
        pauseMilliseconds(5);
        const double pressedAt = monotonicSeconds();
        keyboard.down(XK_space);
        if (!eventually(2, [&] { return heardAt > 0; })) {
            state.SkipWithError("no action was heard");
            break;
        }
        latencies.push_back(heardAt - pressedAt);
        state.SetIterationTime(latencies.back());
        keyboard.up(XK_space);
        keyboard.up(XK_Alt_L);
        pauseMilliseconds(5);
    }
    QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit, Qt::QueuedConnection);
}

/// Measures from the time when the last key of "Option + Space" is sent to the server to the action on the
/// main actor, in Qt's event loop.
void keyToAction(benchmark::State& state) {
    const PrivateDisplay display;
    const runtime::SystemClock clock;
    runtime::SystemClock timers;
    adapters::qt::QtMainContext main(timers, std::make_shared<runtime::TaskRegistry>());
    adapters::x11::X11EventTap tap(clock, std::make_shared<adapters::x11::SyntheticKeyLedger>(),
                                   display.name());
    hotkeys::HotkeyManager manager(main.actor(), timers, tap);
    manager.updateBindings(hotkeys::HotkeyBindingStore::defaults());

    std::atomic<double> heardAt = 0;
    manager.setOnAction([&](hotkeys::HotkeyAction, hotkeys::HotkeyEventType type) {
        if (type == hotkeys::HotkeyEventType::down)
            heardAt = monotonicSeconds();
    });
    if (!manager.start()) {
        state.SkipWithError("the tap did not start");
        return;
    }

    std::vector<double> latencies;
    std::thread user([&] { pressKeys(state, display, heardAt, latencies); });
    QCoreApplication::exec();
    user.join();
    bench::reportPercentiles(state, std::move(latencies));
}
BENCHMARK(keyToAction)->UseManualTime()->Iterations(bench::rounds(1000))->Unit(benchmark::kMicrosecond);

} // namespace

} // namespace sonvale::tests
