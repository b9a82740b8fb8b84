#include "persistence/ModelContainer.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/support/ChildProcess.h"
#include "textprocessing/CleanUpPrompt.h"
#include "textprocessing/ContextBuilder.h"
#include "textprocessing/ModelOutput.h"
#include "textprocessing/SnippetMatcher.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

namespace sonvale::textprocessing {

namespace {

/// Texts that take different paths through the rules of clean-up.
enum Script { ascii, umlauts, cyrillic, accentsApart, shortLines, shortCyrillicLines };

std::string wordOf(Script script, std::int64_t number) {
    switch (script) {
    case ascii:
        return fmt::format("word{}", number % 2000);
    case umlauts:
        return fmt::format("\u00FCber\u00E4ll{}", number % 2000);
    case cyrillic:
        return fmt::format("\u0441\u043B\u043E\u0432\u043E{}", number % 2000);
    case accentsApart:
        return fmt::format("e\u0301te\u0301{}", number % 2000);
    case shortLines:
        return "no\n";
    case shortCyrillicLines:
        return "\u043D\u043E\n";
    }
    return {};
}

/// Returns a text of about that many characters, in sentences and paragraphs.
std::string makeText(Script script, std::int64_t characters) {
    std::string text;
    std::int64_t count = 0;
    for (std::int64_t number = 0; count < characters; ++number) {
        const auto word = wordOf(script, number);
        const bool isAlone = word.ends_with('\n');
        text += word + (isAlone ? "" : number % 80 == 79 ? ".\n" : number % 12 == 11 ? ". " : " ");
        count += isAlone ? 3 : script == ascii ? 9 : 10;
    }
    return text;
}

/// Cleans an answer. The arguments are the script and the number of characters.
void cleanAnAnswer(benchmark::State& state) {
    const auto text = makeText(static_cast<Script>(state.range(0)), state.range(1));
    const auto output = "Here is the cleaned text: \"" + text + "\"\nNote: nothing else.";
    if (cleanOutput(output, text).empty())
        state.SkipWithError("nothing is left");
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(cleanOutput(output, text));
    state.SetComplexityN(state.range(1));
}

void addScripts(benchmark::internal::Benchmark* benchmark) {
    for (const auto script : {ascii, umlauts, cyrillic, accentsApart, shortLines, shortCyrillicLines}) {
        for (const auto characters : {10'000, 100'000, 1'000'000})
            benchmark->Args({script, characters});
    }
}
BENCHMARK(cleanAnAnswer)
    ->ArgNames({"script", "characters"})
    ->Apply(addScripts)
    ->Unit(benchmark::kMillisecond);

/// A store in a file with that many snippets and words.
class FilledStore {
public:
    explicit FilledStore(std::int64_t count) {
        auto& context = container_->mainContext();
        for (std::int64_t i = 0; i < count; ++i) {
            context.insert(persistence::Snippet{.trigger = fmt::format("Insert \u00FCbung {}", i),
                                                .content = std::string(200, 'c'),
                                                .category = "work"});
            context.insert(persistence::DictionaryEntry{.word = fmt::format("Son\u00FCvale{}", i),
                                                        .expansion = "a longer form of it"});
        }
        context.insert(persistence::WritingStyle{.category = "email", .formality = 4});
        context.save();
    }

    persistence::ModelContext& context() { return container_->mainContext(); }

private:
    tests::TemporaryDirectory directory_;
    std::unique_ptr<persistence::ModelContainer> container_ =
        persistence::ModelContainer::open(directory_.path());
};

/// Matches a transcript without a trigger, so that every snippet is compared.
void matchNoSnippet(benchmark::State& state) {
    FilledStore store(state.range(0));
    SnippetMatcher matcher(store.context());
    for ([[maybe_unused]] auto _ : state) {
        if (matcher.match("what was said had \u00FCbung in it and no trigger at its end.").matched)
            state.SkipWithError("a snippet matched");
    }
}
BENCHMARK(matchNoSnippet)->Arg(100)->Arg(10'000)->Unit(benchmark::kMillisecond);

/// Matches the last snippet, and counts and saves its use.
void matchTheLastSnippet(benchmark::State& state) {
    FilledStore store(state.range(0));
    SnippetMatcher matcher(store.context());
    const auto said = fmt::format("please insert \u00DCbung {}.", state.range(0) - 1);
    for ([[maybe_unused]] auto _ : state) {
        if (!matcher.match(said).matched)
            state.SkipWithError("no snippet matched");
    }
}
BENCHMARK(matchTheLastSnippet)->Arg(10'000)->Unit(benchmark::kMillisecond)->UseRealTime();

/// Builds a context with that many words in the vocabulary.
void buildAContext(benchmark::State& state) {
    FilledStore store(state.range(0));
    tests::FakeWorkspace workspace;
    const ContextBuilder builder{FocusedAppDetector(workspace)};
    const FocusedAppInfo mail{"com.apple.mail", "Mail", 1};
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(builder.build(mail, &store.context()));
}
BENCHMARK(buildAContext)->Arg(100)->Arg(5'000)->Unit(benchmark::kMillisecond);

/// Builds a prompt with the words in the form for the model.
void buildAPrompt(benchmark::State& state) {
    ProcessingContext context;
    for (std::int64_t i = 0; i < state.range(0); ++i)
        context.dictionaryEntries.push_back(fmt::format("Son\u00FCvale{} \u2192 a longer form of it", i));
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(buildSystemPrompt(context, false));
}
BENCHMARK(buildAPrompt)->Arg(5'000)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace sonvale::textprocessing
