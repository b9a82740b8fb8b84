#include "ui/indicator/RingPainter.h"

#include <benchmark/benchmark.h>

namespace {

using namespace sonvale;

/// Paints one frame of the ring; the view paints 50 per second.
void paintRing(benchmark::State& state) {
    ui::RingPainter painter(static_cast<int>(state.range(0)));
    double t = 0;
    for (auto _ : state) {
        t += 0.02;
        benchmark::DoNotOptimize(painter.paint(platform::RecordingState::recording, 0.7f, t).constBits());
    }
}

BENCHMARK(paintRing)->Arg(48)->Arg(96)->Arg(144)->Unit(benchmark::kMicrosecond);

} // namespace
