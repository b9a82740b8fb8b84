#include "bench/Rounds.h"

#include "tests/contract/x11/AccessibleSession.h"

#include <benchmark/benchmark.h>

namespace sonvale::tests {

namespace {

/// Reads the selected text of a real editor: mousepad has AT-SPI by GTK, featherpad by Qt.
void selectedTextOf(benchmark::State& state, Editor::Program program) {
    AccessibleSession session;
    session.turnOnForAll();
    session.open(program, "one two");
    if (!session.selectsAll("one two")) {
        state.SkipWithError("the editor does not tell its selection");
        return;
    }
    session.useProgramTimes();
    for (auto step : state) {
        (void)step;
        benchmark::DoNotOptimize(session.tree().selectedText());
    }
}

} // namespace

BENCHMARK_CAPTURE(selectedTextOf, gtk, Editor::Program::mousepad)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(bench::rounds(50));
BENCHMARK_CAPTURE(selectedTextOf, qt, Editor::Program::featherpad)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(bench::rounds(50));

} // namespace sonvale::tests
