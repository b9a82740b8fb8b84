#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <vector>

namespace sonvale::bench {

/// Adds the counters p50_us and p99_us of these durations in seconds. Does nothing if there are none.
inline void reportPercentiles(benchmark::State& state, std::vector<double> durations) {
    if (durations.empty())
        return;
    std::ranges::sort(durations);
    state.counters["p50_us"] = durations[durations.size() / 2] * 1e6;
    state.counters["p99_us"] = durations[(durations.size() - 1) * 99 / 100] * 1e6;
}

} // namespace sonvale::bench
