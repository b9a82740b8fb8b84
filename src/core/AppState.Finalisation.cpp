#include "core/AppState.h"

#include "base/Log.h"
#include "base/Text.h"
#include "base/Uuid.h"
#include "core/TranscriptText.h"
#include "persistence/Records.h"
#include "persistence/SettingsKeys.h"
#include "textprocessing/SnippetMatcher.h"

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

runtime::Task<> AppState::finishTranscript(std::shared_ptr<Recording> recording, std::string text,
                                           bool isLocalOnly, double stopTime) {
    if ((isCommand(isLocalOnly) && co_await runCommand(text)) || co_await insertSnippet(text)) {
        endCommandOrSnippet(*recording);
        co_return;
    }
    co_await processAndInsert(std::move(text), false, false);

    selectedTextForCommand = std::nullopt;
    endRecordingState(*recording);
    resumeMedia();
    if (!isHandsFreeMode.get()) {
        environment_.floatingPanel.hide();
        preWarmEngine();
    }
    printStopTotal(stopTime);
}

void AppState::endCommandOrSnippet(const Recording& recording) {
    endRecordingState(recording);
    resumeMedia();
    environment_.floatingPanel.hide();
}

/// Inserts the snippet that the text calls for, as it stands. False when it calls for none.
runtime::Task<bool> AppState::insertSnippet(std::string text) {
    if (!modelContext)
        co_return false;
    auto match = textprocessing::SnippetMatcher(*modelContext).match(text);
    if (!match.matched || !match.content)
        co_return false;
    setTranscription(*match.content);
    co_await insertText(*std::move(match.content));
    co_return true;
}

runtime::Task<> AppState::processAndInsert(std::string text, bool isFragment, bool addLeadingSpace) {
    const bool isPrivate = environment_.settings.read(keys::privacyModeEnabled);
    const bool isLocalOnly = environment_.settings.read(keys::localOnlyMode);
    auto processed = text;
    if (isCleanUpWanted(isLocalOnly))
        processed = co_await cleanUp(text, isFragment);
    else
        setTranscription(text);

    // Before the insertion: a paste that goes astray must not cost the user the text.
    if (!isPrivate && modelContext)
        recordHistory(text, processed);

    if (addLeadingSpace)
        processed.insert(0, " ");
    co_await insertText(std::move(processed));
}

/// Insertions share the clipboard: one that began before the last had put it back would take that one's text
/// for the user's, or paste the user's for its own.
/// Returns whether the text was inserted; on the lock screen nothing is.
runtime::Task<bool> AppState::insertText(std::string text) {
    const auto turn = co_await insertion_.lock();
    if (!isTypingPossible())
        co_return false;
    co_await textInserter->insert(std::move(text));
    co_return true;
}

bool AppState::isModelReachable() const {
    return environment_.addresses.key || authService->isAuthenticated.get();
}

bool AppState::isCleanUpWanted(bool isLocalOnly) const {
    return environment_.settings.read(keys::aiProcessingEnabled) && !isLocalOnly && isModelReachable();
}

/// The text as the language model cleans it, or as it is when that fails or takes too long; views see it
/// then.
runtime::Task<std::string> AppState::cleanUp(std::string text, bool isFragment) {
    auto& clock = environment_.clock;
    auto context = buildProcessingContext();
    const double startTime = clock.now();
    const auto elapsed = [&clock, startTime] { return runtime::millisecondsSince(clock, startTime); };

    auto processed = text;
    try {
        processed = co_await runtime::race(environment_.pool,
                                           postProcessor->process(text, std::move(context), isFragment),
                                           timeLimit(&clock, cleanUpLimit));
    } catch (const runtime::CancellationError&) {
        base::perfLog(fmt::format("AI processing timed out after {}ms (>5s), using raw text", elapsed()));
    } catch (const std::exception& error) {
        base::perfLog(fmt::format("AI processing failed after {}ms: {}", elapsed(), error.what()));
    }
    setTranscription(processed);
    base::perfLog(fmt::format("AI processing: {}ms ({})", elapsed(),
                              base::isEqual(processed, text) ? "unchanged" : "text changed"));
    co_return processed;
}

textprocessing::ProcessingContext AppState::buildProcessingContext() const {
    return contextBuilder.build(dictationTargetApp.get(), modelContext);
}

runtime::Task<std::string> AppState::performBatchAICleanup(std::string rawText, std::int64_t insertionCount,
                                                           textprocessing::ProcessingContext context) {
    auto& clock = environment_.clock;
    const double startTime = clock.now();
    std::optional<std::string> cleaned;
    try {
        cleaned = co_await runtime::race(environment_.pool,
                                         postProcessor->process(rawText, std::move(context), false),
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
    if (!base::isEqual(*cleaned, rawText)) {
        const auto turn = co_await insertion_.lock();
        if (isTypingPossible()) {
            co_await textInserter->undo(insertionCount);
            co_await textInserter->insert(*cleaned);
        }
    }
    co_return *std::move(cleaned);
}

void AppState::setTranscription(const std::string& text) {
    currentTranscription = text;
    lastTranscription = text;
}

void AppState::recordHistory(const std::string& rawText, const std::string& processedText) {
    persistence::Transcription record;
    record.id = base::Uuid::make();
    record.rawText = rawText;
    record.processedText = processedText.empty() ? rawText : processedText;
    record.timestamp = environment_.clock.date();
    record.wordCount = wordCount(record.processedText);
    record.durationSeconds = 0;
    record.isDismissed = false;
    modelContext->insert(record);
    try {
        modelContext->save();
    } catch (const persistence::StoreError&) {
        // The record stays staged and goes with the next save that succeeds; dictation goes on.
    }
}

void AppState::printStopTotal(double stopTime) const {
    base::perfLog(
        fmt::format("stopDictation total: {}ms", runtime::millisecondsSince(environment_.clock, stopTime)));
}

} // namespace sonvale::core
