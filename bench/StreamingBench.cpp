#include "adapters/ffmpeg/SoxrSampleRateConverter.h"
#include "bench/Percentiles.h"
#include "bench/Rounds.h"

#include "runtime/SystemClock.h"
#include "runtime/TaskPool.h"
#include "tests/fakes/FakeUrlSessions.h"
#include "transcription/RealtimeTranscriptionEngine.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <utility>
#include <vector>

namespace sonvale {

namespace {

runtime::Task<std::optional<std::string>> key() {
    co_return "key";
}

platform::PcmBuffer makeTone(platform::AudioFormat format) {
    platform::PcmBuffer buffer(format, 1024);
    for (std::size_t channel = 0; channel < 2; ++channel) {
        for (std::size_t i = 0; i < 1024; ++i)
            buffer.channel(channel)[i] = 0.3F * std::sin(static_cast<float>(i) * 0.05F);
    }
    return buffer;
}

/// Measures one buffer on the capture thread, in a session that sends its frames at once.
void appendAudio(benchmark::State& state) {
    base::setLogSinks({.logger = [](const base::LogLine&) {}, .system = {}, .perf = [](std::string_view) {}});
    runtime::SystemClock clock;
    auto registry = std::make_shared<runtime::TaskRegistry>();
    runtime::TaskPool pool(2, registry);
    tests::FakeUrlSessions sessions;
    adapters::ffmpeg::SoxrSampleRateConverters converters;
    services::ServiceAddresses addresses;
    addresses.key = "key";
    auto engine = std::make_shared<transcription::RealtimeTranscriptionEngine>(
        transcription::RealtimeTranscriptionEngine::Parts{
            .pool = pool.actor(),
            .sending = pool.makeSerialActor("sending"),
            .clock = clock,
            .urlSessions = sessions,
            .converters = converters,
            .addresses = addresses,
            .tokenProvider = key,
            .language = [] { return std::nullopt; },
        });
    const platform::AudioFormat format{static_cast<double>(state.range(0)), 2};
    const auto started = runtime::spawn(pool.actor(), engine->startSession(format));
    while (!started.isDone()) {
    }

    const auto buffer = makeTone(format);
    std::vector<double> durations;
    for (auto _ : state) {
        const double before = clock.now();
        engine->appendAudio(buffer);
        durations.push_back(clock.now() - before);
        state.SetIterationTime(durations.back());
    }
    bench::reportPercentiles(state, std::move(durations));

    engine->cancelSession();
    registry->waitUntilEmpty(10);
    engine.reset();
    pool.join();
    base::setLogSinks({});
}
BENCHMARK(appendAudio)
    ->Arg(48000)
    ->Arg(44100)
    ->UseManualTime()
    ->Iterations(bench::rounds(5000))
    ->Unit(benchmark::kMicrosecond);

} // namespace

} // namespace sonvale
