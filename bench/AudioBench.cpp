#include "adapters/pulse/PulseAudioEngine.h"
#include "bench/Rounds.h"

#include "audio/Level.h"
#include "tests/support/PrivateSound.h"

#include <benchmark/benchmark.h>

namespace sonvale::audio {

namespace {

void levelOfOneBuffer(benchmark::State& state) {
    const platform::PcmBuffer buffer({48000, 2}, 1024);
    for (auto step : state)
        benchmark::DoNotOptimize(level(buffer));
}
BENCHMARK(levelOfOneBuffer);

void beginCapture(benchmark::State& state) {
    const tests::PrivateSound sound;
    adapters::pulse::PulseAudioEngines engines(sound.serverAddress());
    for (auto step : state) {
        const auto engine = engines.makeEngine();
        engine->installTap(1024, [](const platform::PcmBufferPtr&) {});
        engine->start();
        state.PauseTiming();
        engine->stop();
        state.ResumeTiming();
    }
}
BENCHMARK(beginCapture)->Unit(benchmark::kMillisecond)->UseRealTime();

/// Measures from the call at key up to the end of the engine: the input's last samples and the close of the
/// connection.
void endCapture(benchmark::State& state) {
    const tests::PrivateSound sound;
    adapters::pulse::PulseAudioEngines engines(sound.serverAddress());
    for (auto step : state) {
        state.PauseTiming();
        auto engine = engines.makeEngine();
        engine->installTap(1024, [](const platform::PcmBufferPtr&) {});
        engine->start();
        tests::pauseMilliseconds(50);
        state.ResumeTiming();
        engine->drain();
        engine->removeTap();
        engine->stop();
        engine.reset();
    }
}
BENCHMARK(endCapture)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(bench::rounds(50));

} // namespace

} // namespace sonvale::audio
