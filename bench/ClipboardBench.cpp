#include "adapters/x11/X11Workspace.h"
#include "adapters/x11/selections/X11Pasteboard.h"
#include "bench/Rounds.h"

#include "runtime/SystemClock.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/SelectionOwner.h"
#include "tests/support/SelectionRequestor.h"
#include "tests/support/TestWindow.h"

#include <benchmark/benchmark.h>

namespace sonvale {

namespace {

using tests::bytes;
using tests::manyBytes;
using tests::SelectionOwner;

struct Session {
    runtime::SystemClock clock;
    tests::PrivateDisplay display;
    adapters::x11::X11Pasteboard pasteboard{clock, display.name()};
};

void snapshot(benchmark::State& state, const std::vector<SelectionOwner::Form>& forms) {
    Session session;
    const SelectionOwner owner(session.display.name(), forms);
    for ([[maybe_unused]] auto _ : state) {
        const auto items = session.pasteboard.items();
        if (!items || items->size() != 1 || items->front().representations.size() != forms.size())
            state.SkipWithError("the snapshot is not whole");
    }
}

/// Measures the work of an insertion on the clipboard, without the sleeps.
void insertionOnTextClipboard(benchmark::State& state) {
    Session session;
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        const SelectionOwner owner(session.display.name(), {{"UTF8_STRING", bytes("the user's own text")}});
        state.ResumeTiming();
        session.pasteboard.changeCount();
        auto items = session.pasteboard.items();
        session.pasteboard.clearContents();
        session.pasteboard.setString("dictated text");
        session.pasteboard.clearContents();
        session.pasteboard.writeItems(std::move(items).value());
    }
}

void snapshotOfText(benchmark::State& state) {
    snapshot(state, {{"UTF8_STRING", bytes("the user's own text")}});
}

void snapshotOfEightTextTargets(benchmark::State& state) {
    std::vector<SelectionOwner::Form> forms;
    for (const auto* name : {"UTF8_STRING", "COMPOUND_TEXT", "TEXT", "STRING", "text/plain;charset=utf-8",
                             "text/plain", "text/html", "application/x-rich"})
        forms.push_back({name, bytes("the user's own text")});
    snapshot(state, forms);
}

void snapshotOfImage(benchmark::State& state) {
    snapshot(state, {{.target = "image/png",
                      .data = manyBytes(static_cast<std::size_t>(state.range(0)) << 20),
                      .isIncremental = state.range(1) != 0}});
}

void serveText(benchmark::State& state) {
    Session session;
    session.pasteboard.clearContents();
    session.pasteboard.setString(std::string(static_cast<std::size_t>(state.range(0)), 'x'));
    tests::SelectionRequestor other(session.display.name());
    for ([[maybe_unused]] auto _ : state) {
        if (!other.convert("UTF8_STRING", 20))
            state.SkipWithError("nothing was served");
    }
}

void changeCount(benchmark::State& state) {
    Session session;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(session.pasteboard.changeCount());
}

void frontmostApplication(benchmark::State& state) {
    runtime::SystemClock clock;
    const tests::PrivateDisplay display(tests::WindowManager::openbox);
    adapters::x11::X11Workspace workspace(clock, display.name());
    const tests::TestWindow window(display.name(), {"code", "Code", "main.cpp", {}, 1});
    for ([[maybe_unused]] auto _ : state) {
        if (!workspace.frontmostApplication())
            state.SkipWithError("no front application");
    }
}

BENCHMARK(insertionOnTextClipboard)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(bench::rounds(100));
BENCHMARK(snapshotOfText)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(snapshotOfEightTextTargets)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(snapshotOfImage)
    ->ArgNames({"MB", "INCR"})
    ->Args({5, 0})
    ->Args({5, 1})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(serveText)->ArgName("bytes")->Arg(100)->Arg(5 << 20)->Arg(40 << 20)->UseRealTime()->Unit(
    benchmark::kMillisecond);
BENCHMARK(changeCount)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(frontmostApplication)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

} // namespace sonvale
