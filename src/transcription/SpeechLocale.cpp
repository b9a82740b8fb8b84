#include "transcription/SpeechLocale.h"

#include <array>
#include <string_view>
#include <utility>

namespace sonvale::transcription {

namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 9> locales{{
    {"en", "en-US"},
    {"es", "es-ES"},
    {"fr", "fr-FR"},
    {"de", "de-DE"},
    {"it", "it-IT"},
    {"pt", "pt-BR"},
    {"ja", "ja-JP"},
    {"zh", "zh-CN"},
    {"ko", "ko-KR"},
}};

} // namespace

std::string localeFor(const std::optional<std::string>& language, const std::string& current) {
    for (const auto& [code, locale] : locales) {
        if (language == code)
            return std::string(locale);
    }
    return current;
}

} // namespace sonvale::transcription
