#include "core/flows/Finalisation.h"

#include "base/Log.h"
#include "base/Text.h"
#include "persistence/SettingsKeys.h"
#include "runtime/Clock.h"
#include "textprocessing/SnippetMatcher.h"

#include <utility>

namespace sonvale::core {

namespace keys = persistence::keys;

namespace {

constexpr double cleanUpLimit = 5;
constexpr double batchCleanUpLimit = 8;

/// Ends a race that takes too long.
runtime::Task<std::string> timeLimit(runtime::Clock* clock, double seconds) {
    co_await runtime::sleep(*clock, seconds);
    throw runtime::CancellationError();
}

} // namespace

Finalisation::Finalisation(DictationContext& context, CommandMode& commandMode, Endings& endings)
    : context_(context)
    , commandMode_(commandMode)
    , endings_(endings) {}

runtime::Task<> Finalisation::finish(std::shared_ptr<Recording> recording, std::string text, bool isLocalOnly,
                                     double stopTime) {
    if ((commandMode_.isMeant(isLocalOnly) && co_await commandMode_.run(text)) ||
        co_await insertSnippet(text)) {
        endings_.end(Ending::commandOrSnippet, *recording);
        co_return;
    }
    co_await processAndInsert(std::move(text), false, false);
    endings_.end(Ending::inserted, *recording, {.stopTime = stopTime});
}

/// Inserts the snippet whose trigger the text is, unchanged. Returns false if there is none.
runtime::Task<bool> Finalisation::insertSnippet(std::string text) {
    auto* store = context_.state.modelContext;
    if (!store)
        co_return false;
    auto match = textprocessing::SnippetMatcher(*store).match(text);
    if (!match.matched || !match.content)
        co_return false;
    context_.transcripts.show(*match.content);
    co_await context_.typing.insert(*std::move(match.content));
    co_return true;
}

runtime::Task<> Finalisation::processAndInsert(std::string text, bool isFragment, bool addLeadingSpace) {
    // The present settings apply, also if the user changes them during the clean-up.
    const bool isPrivate = context_.transcripts.isPrivate();
    auto processed = text;
    if (isCleanUpWanted(context_.isLocalOnly()))
        processed = co_await cleanUp(text, isFragment);
    else
        context_.transcripts.show(text);

    // Before the insertion, so that the user still has the text if the paste goes to the wrong place.
    if (!isPrivate)
        context_.transcripts.record(text, processed);

    if (addLeadingSpace)
        processed.insert(0, " ");
    co_await context_.typing.insert(std::move(processed));
}

bool Finalisation::isCleanUpWanted(bool isLocalOnly) const {
    return context_.environment.settings.read(keys::aiProcessingEnabled) && !isLocalOnly &&
           context_.services.isModelReachable();
}

/// Returns the text that the language model has cleaned, or the unchanged text if that fails or takes too
/// long. Shows the result in the views.
runtime::Task<std::string> Finalisation::cleanUp(std::string text, bool isFragment) {
    auto& clock = context_.environment.clock;
    auto context = buildProcessingContext();
    const double startTime = clock.now();
    const auto elapsed = [&clock, startTime] { return runtime::millisecondsSince(clock, startTime); };

    auto processed = text;
    try {
        processed = co_await runtime::race(
            context_.environment.pool,
            context_.services.postProcessor->process(text, std::move(context), isFragment),
            timeLimit(&clock, cleanUpLimit));
    } catch (const runtime::CancellationError&) {
        base::perfLog(fmt::format("AI processing timed out after {}ms (>5s), using raw text", elapsed()));
    } catch (const std::exception& error) {
        base::perfLog(fmt::format("AI processing failed after {}ms: {}", elapsed(), error.what()));
    }
    context_.transcripts.show(processed);
    base::perfLog(fmt::format("AI processing: {}ms ({})", elapsed(),
                              base::isEqual(processed, text) ? "unchanged" : "text changed"));
    co_return processed;
}

textprocessing::ProcessingContext Finalisation::buildProcessingContext() const {
    return context_.services.contextBuilder.build(context_.state.dictationTargetApp.get(),
                                                  context_.state.modelContext);
}

runtime::Task<std::string> Finalisation::performBatchAICleanup(std::string rawText,
                                                               std::int64_t insertionCount,
                                                               textprocessing::ProcessingContext context) {
    auto& clock = context_.environment.clock;
    const double startTime = clock.now();
    std::optional<std::string> cleaned;
    try {
        cleaned = co_await runtime::race(
            context_.environment.pool,
            context_.services.postProcessor->process(rawText, std::move(context), false),
            timeLimit(&clock, batchCleanUpLimit));
    } catch (const std::exception&) {
        base::perfLog(fmt::format("Batch AI cleanup failed/timed out after {}ms",
                                  runtime::millisecondsSince(clock, startTime)));
    }
    if (!cleaned)
        co_return rawText;
    base::perfLog(fmt::format("Batch AI cleanup: {}ms ({} chars → {} chars)",
                              runtime::millisecondsSince(clock, startTime), base::characterCount(rawText),
                              base::characterCount(*cleaned)));
    if (!base::isEqual(*cleaned, rawText))
        co_await context_.typing.replace(insertionCount, *cleaned);
    co_return *std::move(cleaned);
}

} // namespace sonvale::core
