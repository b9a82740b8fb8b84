#include "core/flows/Transcripts.h"

#include "base/Text.h"
#include "base/Uuid.h"
#include "core/flows/TranscriptText.h"
#include "persistence/Records.h"
#include "persistence/SettingsKeys.h"

namespace sonvale::core {

Transcripts::Transcripts(DictationState& state, const persistence::Settings& settings,
                         const runtime::Clock& clock)
    : state_(state)
    , settings_(settings)
    , clock_(clock) {}

void Transcripts::show(const std::string& text) {
    state_.currentTranscription = text;
    state_.lastTranscription = text;
}

void Transcripts::showTyped(const std::string& text) {
    show(text);
    if (!untyped_.empty())
        state_.lastTranscription = untyped_;
}

void Transcripts::keepUntyped(const std::string& text) {
    if (base::trimmed(text).empty())
        return;
    recordUnlessPrivate(text, text);
    untyped_ += untyped_.empty() ? text : " " + text;
    state_.lastTranscription = untyped_;
}

bool Transcripts::isPrivate() const {
    return settings_.read(persistence::keys::privacyModeEnabled);
}

void Transcripts::recordUnlessPrivate(const std::string& rawText, const std::string& processedText) {
    if (!isPrivate())
        record(rawText, processedText);
}

void Transcripts::record(const std::string& rawText, const std::string& processedText) {
    auto* store = state_.modelContext;
    if (!store)
        return;
    persistence::Transcription record;
    record.id = base::Uuid::make();
    record.rawText = rawText;
    record.processedText = processedText.empty() ? rawText : processedText;
    record.timestamp = clock_.date();
    record.wordCount = wordCount(record.processedText);
    record.durationSeconds = 0;
    record.isDismissed = false;
    store->insert(record);
    try {
        store->save();
    } catch (const persistence::StoreError&) {
        // The record stays staged, and the next successful save writes it. The dictation continues.
    }
}

} // namespace sonvale::core
