#pragma once

#include <cstdint>
#include <cstdlib>

namespace sonvale::bench {

/// Returns the number of rounds of a benchmark: `count`, or a few if SONVALE_BENCH_SHORT is set, which only
/// proves that the benchmark still runs.
inline std::int64_t rounds(std::int64_t count) {
    constexpr std::int64_t few = 3;
    return std::getenv("SONVALE_BENCH_SHORT") && count > few ? few : count;
}

/// Returns the number of rows at the beginning of a benchmark: `count`, or a few hundred if
/// SONVALE_BENCH_SHORT is set, because making them takes most of its time.
inline std::int64_t rows(std::int64_t count) {
    constexpr std::int64_t some = 500;
    return std::getenv("SONVALE_BENCH_SHORT") && count > some ? some : count;
}

} // namespace sonvale::bench
