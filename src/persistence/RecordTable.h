#pragma once

#include "persistence/Records.h"

#include <string_view>
#include <tuple>
#include <type_traits>

namespace sonvale::persistence {

/// A field of a record and its column.
template <class R, class M>
struct RecordColumn {
    std::string_view name;
    M R::* field;
};

template <class R, class M>
RecordColumn(const char*, M R::*) -> RecordColumn<R, M>;

/// The table of a record type: its name and its columns, `id` first.
template <class R>
struct RecordTable;

template <>
struct RecordTable<Transcription> {
    static constexpr std::string_view name = "Transcription";
    static constexpr std::tuple columns{
        RecordColumn{"id", &Transcription::id},
        RecordColumn{"rawText", &Transcription::rawText},
        RecordColumn{"processedText", &Transcription::processedText},
        RecordColumn{"timestamp", &Transcription::timestamp},
        RecordColumn{"appBundleID", &Transcription::appBundleID},
        RecordColumn{"appName", &Transcription::appName},
        RecordColumn{"wordCount", &Transcription::wordCount},
        RecordColumn{"durationSeconds", &Transcription::durationSeconds},
        RecordColumn{"isDismissed", &Transcription::isDismissed},
    };
};

template <>
struct RecordTable<AppSettings> {
    static constexpr std::string_view name = "AppSettings";
    static constexpr std::tuple columns{
        RecordColumn{"id", &AppSettings::id},
        RecordColumn{"hotkeyKeyCode", &AppSettings::hotkeyKeyCode},
        RecordColumn{"hotkeyModifiers", &AppSettings::hotkeyModifiers},
        RecordColumn{"transcriptionEngine", &AppSettings::transcriptionEngine},
        RecordColumn{"language", &AppSettings::language},
        RecordColumn{"launchAtLogin", &AppSettings::launchAtLogin},
        RecordColumn{"soundEffectsEnabled", &AppSettings::soundEffectsEnabled},
        RecordColumn{"aiProcessingEnabled", &AppSettings::aiProcessingEnabled},
        RecordColumn{"claudeModel", &AppSettings::claudeModel},
        RecordColumn{"privacyModeEnabled", &AppSettings::privacyModeEnabled},
        RecordColumn{"retentionPeriodDays", &AppSettings::retentionPeriodDays},
        RecordColumn{"localOnlyMode", &AppSettings::localOnlyMode},
        RecordColumn{"textProcessingProvider", &AppSettings::textProcessingProvider},
    };
};

template <>
struct RecordTable<Snippet> {
    static constexpr std::string_view name = "Snippet";
    static constexpr std::tuple columns{
        RecordColumn{"id", &Snippet::id},
        RecordColumn{"trigger", &Snippet::trigger},
        RecordColumn{"content", &Snippet::content},
        RecordColumn{"category", &Snippet::category},
        RecordColumn{"createdAt", &Snippet::createdAt},
        RecordColumn{"usageCount", &Snippet::usageCount},
    };
};

template <>
struct RecordTable<DictionaryEntry> {
    static constexpr std::string_view name = "DictionaryEntry";
    static constexpr std::tuple columns{
        RecordColumn{"id", &DictionaryEntry::id},
        RecordColumn{"word", &DictionaryEntry::word},
        RecordColumn{"expansion", &DictionaryEntry::expansion},
        RecordColumn{"category", &DictionaryEntry::category},
        RecordColumn{"createdAt", &DictionaryEntry::createdAt},
    };
};

template <>
struct RecordTable<WritingStyle> {
    static constexpr std::string_view name = "WritingStyle";
    static constexpr std::tuple columns{
        RecordColumn{"id", &WritingStyle::id},
        RecordColumn{"category", &WritingStyle::category},
        RecordColumn{"formality", &WritingStyle::formality},
        RecordColumn{"customInstructions", &WritingStyle::customInstructions},
        RecordColumn{"exampleText", &WritingStyle::exampleText},
    };
};

/// Returns the column of `field`.
template <class R, class M>
constexpr std::string_view columnName(M R::* field) {
    std::string_view name;
    std::apply(
        [&](const auto&... column) {
            const auto look = [&](const auto& candidate) {
                if constexpr (std::is_same_v<decltype(candidate.field), M R::* const> ||
                              std::is_same_v<decltype(candidate.field), M R::*>) {
                    if (candidate.field == field)
                        name = candidate.name;
                }
            };
            (look(column), ...);
        },
        RecordTable<R>::columns);
    return name;
}

/// Returns the index of the column of `field` in the table, from 0.
template <class R, class M>
constexpr int columnIndex(M R::* field) {
    const auto name = columnName(field);
    int place = 0;
    int index = 0;
    std::apply(
        [&](const auto&... column) {
            const auto look = [&](std::string_view candidate) {
                if (candidate == name)
                    index = place;
                ++place;
            };
            (look(column.name), ...);
        },
        RecordTable<R>::columns);
    return index;
}

} // namespace sonvale::persistence
