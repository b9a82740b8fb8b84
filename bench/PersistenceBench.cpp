#include "bench/Rounds.h"

#include "persistence/AuditLogger.h"
#include "persistence/ModelContainer.h"
#include "persistence/Settings.h"
#include "runtime/SystemClock.h"
#include "runtime/TaskPool.h"
#include "tests/support/ChildProcess.h"

#include <benchmark/benchmark.h>

namespace sonvale::persistence {

namespace {

/// Measures single calls, because their maximum matters here and not the average.
class Percentiles {
public:
    template <class Call>
    void time(Call call) {
        const auto begin = std::chrono::steady_clock::now();
        call();
        const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - begin;
        milliseconds_.push_back(elapsed.count());
    }

    void report(benchmark::State& state) {
        std::ranges::sort(milliseconds_);
        state.counters["p50_ms"] = milliseconds_[milliseconds_.size() / 2];
        state.counters["p99_ms"] = milliseconds_[milliseconds_.size() * 99 / 100];
    }

private:
    std::vector<double> milliseconds_;
};

Transcription dictation(std::int64_t number) {
    return Transcription{.rawText = std::string(300, 'r'),
                         .processedText = std::string(300, 'p'),
                         .timestamp = base::Date(std::chrono::seconds(number)),
                         .appName = "Editor",
                         .wordCount = 50};
}

void setASetting(benchmark::State& state) {
    const tests::TemporaryDirectory directory;
    Settings settings(std::filesystem::path(directory.path()) / "com.sonvale.app/defaults.json");
    settings.set(keys::scratchpadText, std::string(20000, 's'));
    Percentiles percentiles;
    std::int64_t value = 0;
    for (auto step : state)
        percentiles.time([&] { settings.set(keys::onboardingStep, ++value); });
    percentiles.report(state);
}
BENCHMARK(setASetting)->Unit(benchmark::kMillisecond)->UseRealTime();

void readASetting(benchmark::State& state) {
    const tests::TemporaryDirectory directory;
    Settings settings(std::filesystem::path(directory.path()) / "com.sonvale.app/defaults.json");
    settings.set(keys::localOnlyMode, true);
    for (auto step : state)
        benchmark::DoNotOptimize(settings.read(keys::localOnlyMode));
}
BENCHMARK(readASetting);

/// Saves a dictation with the argument's number of rows in the history.
void saveADictation(benchmark::State& state) {
    const tests::TemporaryDirectory directory;
    const auto container = ModelContainer::open(directory.path());
    auto& context = container->mainContext();
    for (std::int64_t i = 0; i < state.range(0); ++i)
        context.insert(dictation(i));
    context.save();
    Percentiles percentiles;
    std::int64_t number = state.range(0);
    for (auto step : state) {
        percentiles.time([&] {
            context.insert(dictation(++number));
            context.save();
        });
    }
    percentiles.report(state);
}
BENCHMARK(saveADictation)->Arg(0)->Arg(50000)->Unit(benchmark::kMillisecond)->UseRealTime();

void fetchTheNewestDictations(benchmark::State& state) {
    const auto container = ModelContainer::openInMemory();
    auto& context = container->mainContext();
    for (std::int64_t i = 0; i < state.range(0); ++i)
        context.insert(dictation(i));
    context.save();
    const FetchDescriptor<Transcription> newest{.sortBy = {{&Transcription::timestamp, SortOrder::reverse}},
                                                .limit = 50};
    for (auto step : state)
        benchmark::DoNotOptimize(context.fetch(newest));
}
BENCHMARK(fetchTheNewestDictations)->Arg(1000)->Arg(50000)->Unit(benchmark::kMicrosecond);

/// Measures the cost of an audit event for its caller.
void emitAnAuditEvent(benchmark::State& state) {
    const tests::TemporaryDirectory directory;
    runtime::SystemClock clock;
    runtime::TaskPool pool(1, std::make_shared<runtime::TaskRegistry>());
    AuditLogger logger(pool.makeSerialActor("audit"), clock, directory.path());
    for (auto step : state)
        logger.logRecordingStopped(1.5);
    pool.join();
}
BENCHMARK(emitAnAuditEvent)->Iterations(bench::rounds(20000));

} // namespace

} // namespace sonvale::persistence
