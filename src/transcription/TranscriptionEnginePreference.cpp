#include "transcription/TranscriptionEnginePreference.h"

#include <array>
#include <utility>

namespace sonvale::transcription {

namespace {

using Preference = TranscriptionEnginePreference;

constexpr std::array<std::pair<Preference, std::string_view>, 4> rawValues{{
    {Preference::cloud, "cloud"},
    {Preference::local, "local"},
    {Preference::hybrid, "hybrid"},
    {Preference::streaming, "streaming"},
}};

} // namespace

std::string_view rawValue(TranscriptionEnginePreference preference) {
    for (const auto& [value, raw] : rawValues) {
        if (value == preference)
            return raw;
    }
    return {};
}

std::optional<TranscriptionEnginePreference> preferenceFromRawValue(std::string_view raw) {
    for (const auto& [value, text] : rawValues) {
        if (text == raw)
            return value;
    }
    return std::nullopt;
}

TranscriptionEnginePreference preferenceAtStart(const std::optional<std::string>& stored) {
    return (stored ? preferenceFromRawValue(*stored) : std::nullopt).value_or(Preference::hybrid);
}

} // namespace sonvale::transcription
