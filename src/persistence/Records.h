#pragma once

#include "base/Dates.h"
#include "base/Uuid.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sonvale::persistence {

/// One finished dictation, a row of the history.
struct Transcription {
    base::Uuid id = base::Uuid::make();
    std::string rawText{};                    ///< as the engine returned it
    std::string processedText{};              ///< the cleaned text, or the raw text if cleaning gave none
    base::Date timestamp{};                   ///< time of saving
    std::optional<std::string> appBundleID{}; ///< of the target application; absent when unknown
    std::optional<std::string> appName{};     ///< of the target application; absent when unknown
    std::int64_t wordCount = 0;
    double durationSeconds = 0; ///< 0 where it is not measured
    bool isDismissed = false;

    bool operator==(const Transcription&) const = default;
};

/// The figures of a finished dictation.
struct TranscriptionFigures {
    base::Date timestamp{};
    std::int64_t wordCount = 0;
    double durationSeconds = 0;

    bool operator==(const TranscriptionFigures&) const = default;
};

/// A record of older versions. The program reads it once to adopt the single hotkey, and creates none.
struct AppSettings {
    base::Uuid id = base::Uuid::make();
    std::int64_t hotkeyKeyCode = 0;   ///< virtual key code
    std::int64_t hotkeyModifiers = 0; ///< modifier mask
    std::string transcriptionEngine{};
    std::string language{};
    bool launchAtLogin = false;
    bool soundEffectsEnabled = false;
    bool aiProcessingEnabled = false;
    std::string claudeModel{};
    bool privacyModeEnabled = false;
    std::int64_t retentionPeriodDays = 0;
    bool localOnlyMode = false;
    std::string textProcessingProvider{};

    bool operator==(const AppSettings&) const = default;
};

/// A spoken trigger and the text that it expands to.
struct Snippet {
    base::Uuid id = base::Uuid::make();
    std::string trigger{}; ///< as the user typed it
    std::string content{};
    std::string category{}; ///< free label; empty if the user gave none
    base::Date createdAt{};
    std::int64_t usageCount = 0;

    bool operator==(const Snippet&) const = default;
};

/// Kind of a word of the vocabulary.
enum class EntryCategory { personal, name, technical, abbreviation, other };

inline constexpr EntryCategory allEntryCategories[] = {EntryCategory::personal, EntryCategory::name,
                                                       EntryCategory::technical, EntryCategory::abbreviation,
                                                       EntryCategory::other};

/// Returns the stored text of the category: "personal", "name", "technical", "abbreviation", "other".
std::string_view rawValue(EntryCategory category);
/// Returns nullopt for any other text.
std::optional<EntryCategory> entryCategory(std::string_view rawValue);

/// One word of the custom vocabulary.
struct DictionaryEntry {
    base::Uuid id = base::Uuid::make();
    std::string word{};                     ///< in the exact spelling to keep
    std::optional<std::string> expansion{}; ///< longer form
    EntryCategory category = EntryCategory::other;
    base::Date createdAt{};

    bool operator==(const DictionaryEntry&) const = default;
};

/// The user's tone for one category of application.
struct WritingStyle {
    base::Uuid id = base::Uuid::make();
    std::string category{};     ///< raw value of the category of application
    std::int64_t formality = 3; ///< 1 to 5
    std::string customInstructions{};
    std::string exampleText{};

    bool operator==(const WritingStyle&) const = default;
};

} // namespace sonvale::persistence
