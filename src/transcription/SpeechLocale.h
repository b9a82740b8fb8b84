#pragma once

#include <optional>
#include <string>

namespace sonvale::transcription {

/// The locale in which a recording is recognised: that of `language` when it is one of the languages known
/// here, else `current` (language absent, "auto" or unknown).
std::string localeFor(const std::optional<std::string>& language, const std::string& current);

} // namespace sonvale::transcription
