#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace sonvale::transcription {

/// The user's choice of engine, stored as its raw value.
enum class TranscriptionEnginePreference { cloud, local, hybrid, streaming };

std::string_view rawValue(TranscriptionEnginePreference preference);

/// Returns the preference of a raw value. Compares exactly. Returns nullopt for any other string.
std::optional<TranscriptionEnginePreference> preferenceFromRawValue(std::string_view raw);

/// Returns the preference at startup: the stored one if it is valid, otherwise `hybrid`.
TranscriptionEnginePreference preferenceAtStart(const std::optional<std::string>& stored);

} // namespace sonvale::transcription
