#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace sonvale::transcription {

/// The user's choice between the engines; stored as its raw value.
enum class TranscriptionEnginePreference { cloud, local, hybrid, streaming };

std::string_view rawValue(TranscriptionEnginePreference preference);

/// The preference of a raw value, compared letter by letter; absent for any other string.
std::optional<TranscriptionEnginePreference> preferenceFromRawValue(std::string_view raw);

/// The preference after start-up, given what is stored: `hybrid` unless a valid one is.
TranscriptionEnginePreference preferenceAtStart(const std::optional<std::string>& stored);

} // namespace sonvale::transcription
