#include "core/AppState.h"

#include "base/Log.h"
#include "base/Uuid.h"
#include "core/TranscriptText.h"
#include "persistence/Records.h"
#include "persistence/SettingsKeys.h"

namespace sonvale::core {

namespace keys = persistence::keys;

runtime::Task<> AppState::finishTranscript(std::string text, double stopTime) {
    co_await processAndInsert(std::move(text), false);

    recordingState = RecordingState::idle;
    environment_.floatingPanel.hide();
    preWarmEngine();
    printStopTotal(stopTime);
}

runtime::Task<> AppState::processAndInsert(std::string text, bool addLeadingSpace) {
    const bool isPrivate = environment_.settings.read(keys::privacyModeEnabled);

    currentTranscription = text;
    lastTranscription = text;

    // Before the insertion: a paste that goes astray must not cost the user the text.
    if (!isPrivate && modelContext)
        recordHistory(text, text);

    if (addLeadingSpace)
        text.insert(0, " ");
    co_await textInserter->insert(std::move(text));
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
