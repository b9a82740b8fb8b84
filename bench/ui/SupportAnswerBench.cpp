#include "services/SupportChatViewModel.h"
#include "tests/support/ChildProcess.h"
#include "ui/common/Views.h"
#include "ui/support/SupportMessagesModel.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <QCoreApplication>
#include <QQmlPropertyMap>
#include <QQuickView>
#include <algorithm>

namespace sonvale::tests {

namespace {

constexpr std::size_t answerSize = 50'000;

std::string answer() {
    std::string text;
    for (int i = 0; text.size() < answerSize; ++i)
        text += fmt::format("{} words of a long answer{}", i, i % 12 == 11 ? ".\n" : ", ");
    text.resize(answerSize);
    return text;
}

/// Draws an answer that grows by that many bytes from one frame to the next, in the window of the help tab.
void drawGrowingAnswer(benchmark::State& state) {
    ui::Views views;
    const auto whole = answer();
    const auto step = static_cast<std::size_t>(state.range(0));
    double longest = 0;
    std::size_t updates = 0;
    for (auto _ : state) {
        ui::SupportMessagesModel messages;
        QQmlPropertyMap chat;
        chat.insert({{QStringLiteral("messages"), QVariant::fromValue<QObject*>(&messages)},
                     {QStringLiteral("inputText"), QString()},
                     {QStringLiteral("isStreaming"), true},
                     {QStringLiteral("isWaitingForFirstChunk"), false},
                     {QStringLiteral("canSend"), false},
                     {QStringLiteral("errorMessage"), QString()}});
        const auto view = views.make(QStringLiteral("HelpView"),
                                     {{QStringLiteral("model"), QVariant::fromValue<QObject*>(&chat)}});
        view->resize(690, 700);
        view->show();
        std::vector<services::ChatMessage> conversation{{.role = "assistant"}};
        for (std::size_t begin = 0; begin < whole.size(); begin += step) {
            const double start = monotonicSeconds();
            conversation.back().content += whole.substr(begin, step);
            messages.show(conversation);
            QCoreApplication::processEvents();
            benchmark::DoNotOptimize(view->grabWindow());
            longest = std::max(longest, monotonicSeconds() - start);
            ++updates;
        }
    }
    state.counters["longest_ms"] = 1000 * longest;
    state.counters["updates"] = static_cast<double>(updates) / static_cast<double>(state.iterations());
}
BENCHMARK(drawGrowingAnswer)->Arg(250)->Unit(benchmark::kMillisecond)->Iterations(1);

/// Splits a growing answer without a window, in the smallest pieces.
void splitGrowingAnswer(benchmark::State& state) {
    const auto whole = answer();
    for (auto _ : state) {
        ui::SupportMessagesModel messages;
        std::vector<services::ChatMessage> conversation{{.role = "assistant"}};
        for (const char byte : whole) {
            conversation.back().content += byte;
            messages.show(conversation);
        }
        benchmark::DoNotOptimize(messages.rowCount());
    }
}
BENCHMARK(splitGrowingAnswer)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace sonvale::tests
