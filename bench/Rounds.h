#pragma once

#include <cstdint>
#include <cstdlib>

namespace sonvale::bench {

/// Returns how often a benchmark with a fixed number of rounds runs: `count` times, or a few times if
/// SONVALE_BENCH_SHORT is set, which only proves that it still runs.
inline std::int64_t rounds(std::int64_t count) {
    constexpr std::int64_t few = 3;
    return std::getenv("SONVALE_BENCH_SHORT") && count > few ? few : count;
}

/// Returns how many rows a benchmark begins with: `count`, or at most some hundreds if SONVALE_BENCH_SHORT is
/// set, because making them takes most of its time.
inline std::int64_t rows(std::int64_t count) {
    constexpr std::int64_t some = 500;
    return std::getenv("SONVALE_BENCH_SHORT") && count > some ? some : count;
}

} // namespace sonvale::bench
