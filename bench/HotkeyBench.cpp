#include "hotkeys/HotkeyBindingStore.h"
#include "hotkeys/HotkeyManager.h"
#include "tests/fakes/FakeEventTap.h"
#include "tests/support/TestRuntime.h"

#include <benchmark/benchmark.h>

#include <array>
#include <memory>

namespace sonvale::hotkeys {

namespace {

namespace modifier = platform::modifier;
using Type = platform::KeyEvent::Type;

/// Exposes its callback, so that only the callback is measured.
class BareTap final : public platform::EventTap {
public:
    bool probe() override { return true; }
    bool start(Callback newCallback) override {
        callback = std::move(newCallback);
        return true;
    }
    void stop() override { callback = nullptr; }
    void enable() override {}
    void perform(std::function<void()> block) override { block(); }
    void setSwallowable(std::vector<platform::KeyCombination> /*combinations*/) override {}
    void setOnTaken(std::function<void(platform::KeyCombination)> /*onTaken*/) override {}

    Callback callback;
};

struct Listening {
    Listening() {
        runtime.main().post([this] {
            manager = std::make_unique<HotkeyManager>(runtime.main(), runtime.clock(), tap);
            manager->updateBindings(HotkeyBindingStore::defaults());
            manager->start();
        });
        runtime.runUntilIdle();
    }

    tests::TestRuntime runtime;
    BareTap tap;
    std::unique_ptr<HotkeyManager> manager;
};

void sendAll(benchmark::State& state, std::initializer_list<platform::KeyEvent> events) {
    Listening listening;
    std::int64_t count = 0;
    for (auto _ : state) {
        for (const auto& event : events)
            benchmark::DoNotOptimize(listening.tap.callback(event));
        // The main actor's work is not measured; its queue is cleared from time to time.
        if (++count % 1024 == 0) {
            state.PauseTiming();
            listening.runtime.runUntilIdle();
            state.ResumeTiming();
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(events.size()));
    listening.runtime.runUntilIdle();
}

/// Measures ordinary typing without a match.
void BM_tapCallbackTyping(benchmark::State& state) {
    sendAll(state, {{Type::keyDown, 7, 0}, {Type::keyUp, 7, 0}});
}

/// Measures a hotkey with a key: one delivery for each event.
void BM_tapCallbackShortcut(benchmark::State& state) {
    sendAll(state, {{Type::keyDown, 49, modifier::option}, {Type::keyUp, 49, modifier::option}});
}

/// Measures a quick tap of Option: a timer set and dropped, two deliveries.
void BM_tapCallbackModifierTap(benchmark::State& state) {
    sendAll(state, {{Type::flagsChanged, 58, modifier::option}, {Type::flagsChanged, 58, 0}});
}

} // namespace

BENCHMARK(BM_tapCallbackTyping);
BENCHMARK(BM_tapCallbackShortcut);
BENCHMARK(BM_tapCallbackModifierTap);

} // namespace sonvale::hotkeys
