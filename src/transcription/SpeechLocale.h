#pragma once

#include <optional>
#include <string>

namespace sonvale::transcription {

/// Returns the locale in which a recording is recognized. It is the locale of `language` if that is one of
/// the known languages, otherwise `current` (`language` is absent, "auto" or unknown).
std::string localeFor(const std::optional<std::string>& language, const std::string& current);

} // namespace sonvale::transcription
