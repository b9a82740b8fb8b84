#include "base/Json.h"
#include "persistence/SettingsKeys.h"
#include "services/SupportChatViewModel.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/WebToken.h"
#include "tests/ui/common/ViewFixture.h"
#include "ui/support/SupportChatModel.h"
#include "ui/support/SupportMessagesModel.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <memory>

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

/// A signed-in user with a question in the support chat.
class SupportChat : public ViewFixture {
public:
    SupportChat() {
        const auto now = std::chrono::duration<double>(clock().date().time_since_epoch()).count();
        settings().set(persistence::keys::accessToken,
                       signedWebToken({{"exp", static_cast<std::int64_t>(now) + 86400}}, "secret"));
        startSignedIn();
    }

    QQuickView& ask() {
        auto& view = openDashboard();
        click(view, "sidebar.help");
        click(view, "input");
        type(view, "Why?");
        press(view, Qt::Key_Return);
        auto all = network().requests();
        std::erase_if(all, [](const auto& each) { return !each->lines; });
        answer_ = all.back();
        change([this] { answer_->answerHead(200); });
        return view;
    }
    void receive(const std::string& text) {
        change([&] {
            answer_->lines->give(
                "data: " + base::jsonText({{"choices", {{{"delta", {{"content", text}}}}}}}) + "\n\n");
            advance(1.01 * ui::SupportChatModel::betweenUpdates);
        });
    }

private:
    void TestBody() override {}

    std::shared_ptr<FakeRequest> answer_;
};

/// Draws an answer that grows by that many bytes from one frame to the next, in the window of the help tab.
void drawGrowingAnswer(benchmark::State& state) {
    const auto whole = answer();
    const auto step = static_cast<std::size_t>(state.range(0));
    double longest = 0;
    std::size_t updates = 0;
    for (auto _ : state) {
        SupportChat chat;
        auto& view = chat.ask();
        for (std::size_t begin = 0; begin < whole.size(); begin += step) {
            const double start = monotonicSeconds();
            chat.receive(whole.substr(begin, step));
            benchmark::DoNotOptimize(view.grabWindow());
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
