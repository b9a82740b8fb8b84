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

} // namespace sonvale::bench
