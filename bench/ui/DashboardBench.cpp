#include "bench/Rounds.h"

#include "tests/ui/common/ViewFixture.h"
#include "ui/home/HistoryModel.h"
#include "ui/snippets/SnippetsModel.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>

namespace sonvale::tests {

namespace {

using namespace std::chrono_literals;

/// The dashboard of a signed-in user, in a window without a screen.
class Dashboard : public ViewFixture {
public:
    Dashboard() { startSignedIn(); }

    persistence::ModelContext& store() { return *state().modelContext; }
    QQuickView& open() { return openDashboard(); }
    void close() { closeDashboard(); }
    void select(QQuickView& view, const std::string& tab) { click(view, "sidebar." + tab); }
    ui::DashboardModel& model(QQuickView& view) {
        return *view.rootObject()->property("model").value<ui::DashboardModel*>();
    }
    QQuickItem& find(QQuickView& view, const std::string& name) { return item(view, name); }

    void addHistory(std::int64_t count) {
        const std::string words = "I would like to go through the figures for the second quarter before we "
                                  "meet on Thursday, and there are two things that I do not understand yet.";
        for (std::int64_t i = 0; i < count; ++i)
            store().insert(persistence::Transcription{.rawText = words,
                                                      .processedText = words,
                                                      .timestamp = clock().date() - i * 5min,
                                                      .wordCount = 28,
                                                      .durationSeconds = 9});
        store().save();
    }
    void addSnippets(int count, const std::string& letter) {
        for (int i = 0; i < count; ++i)
            store().insert(persistence::Snippet{
                .trigger = fmt::format("tr{}gger phrase number {}", letter, i),
                .content = fmt::format("The t{}xt that stands for it, {} times as long as what is said, so "
                                       "that it is worth its while: {}.",
                                       letter, i, std::string(120, 'x'))});
        store().save();
    }

private:
    void TestBody() override {}
};

/// Measures from the request for the window to its first frame, with that many rows in the history.
void openDashboardWithHistory(benchmark::State& state) {
    Dashboard dashboard;
    dashboard.addHistory(bench::rows(state.range(0)));
    // The first window of a process loads the views.
    dashboard.open();
    dashboard.close();
    for (auto _ : state) {
        auto& view = dashboard.open();
        benchmark::DoNotOptimize(view.grabWindow());
        state.PauseTiming();
        dashboard.close();
        state.ResumeTiming();
    }
}
BENCHMARK(openDashboardWithHistory)->Arg(10)->Arg(100'000)->Unit(benchmark::kMillisecond);

/// Scrolls one page per frame through a hundred thousand rows.
void scrollHistory(benchmark::State& state) {
    Dashboard dashboard;
    dashboard.addHistory(bench::rows(100'000));
    auto& view = dashboard.open();
    auto& list = dashboard.find(view, "history");
    double longest = 0;
    for (auto _ : state) {
        const double start = monotonicSeconds();
        list.setProperty("contentY", list.property("contentY").toReal() + 600);
        benchmark::DoNotOptimize(view.grabWindow());
        longest = std::max(longest, monotonicSeconds() - start);
    }
    state.counters["longest_ms"] = 1000 * longest;
}
BENCHMARK(scrollHistory)->Unit(benchmark::kMillisecond)->Iterations(bench::rounds(300));

/// Types a key into the search field of ten thousand snippets and draws the frame after it.
void searchSnippets(benchmark::State& state) {
    Dashboard dashboard;
    dashboard.addSnippets(static_cast<int>(bench::rows(10'000)), state.range(0) == 0 ? "i" : "ï");
    auto& view = dashboard.open();
    dashboard.select(view, "snippets");
    auto& snippets = *dashboard.model(view).snippets();
    const auto typed = state.range(0) == 0 ? QStringLiteral("trigger phrase number 77")
                                           : QStringLiteral("trïgger phrase number 77");
    double longest = 0;
    qsizetype length = 0;
    for (auto _ : state) {
        const double start = monotonicSeconds();
        snippets.setSearchText(typed.left(length++ % typed.size() + 1));
        benchmark::DoNotOptimize(view.grabWindow());
        longest = std::max(longest, monotonicSeconds() - start);
    }
    state.counters["longest_ms"] = 1000 * longest;
    state.SetLabel(state.range(0) == 0 ? "ASCII" : "with accents");
}
BENCHMARK(searchSnippets)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(bench::rounds(240));

} // namespace

} // namespace sonvale::tests
