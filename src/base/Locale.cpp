#include "base/Locale.h"

#include <unicode/locid.h>

#include <cstdlib>

namespace sonvale::base {

namespace {

constexpr std::string_view fallback = "en-US";

/// Returns the script of a language, which glibc writes as a modifier.
std::string_view scriptOf(std::string_view modifier) {
    if (modifier == "latin")
        return "Latn";
    if (modifier == "cyrillic")
        return "Cyrl";
    if (modifier == "devanagari")
        return "Deva";
    return {};
}

/// Returns the name of the locale by POSIX: LC_ALL overrides the category's variable, which overrides LANG.
/// An empty variable counts as not set.
std::string currentIdentifier(const char* category) {
    for (const char* variable : {"LC_ALL", category, "LANG"}) {
        if (const char* value = std::getenv(variable); value != nullptr && *value != '\0')
            return localeIdentifier(value);
    }
    return std::string(fallback);
}

} // namespace

std::string currentLocaleIdentifier() {
    return currentIdentifier("LC_MESSAGES");
}

std::string currentDateLocaleIdentifier() {
    return currentIdentifier("LC_TIME");
}

std::string localeIdentifier(std::string_view posixName) {
    const auto end = posixName.find_first_of(".@");
    std::string_view modifier;
    if (const auto at = posixName.find('@'); at != std::string_view::npos)
        modifier = posixName.substr(at + 1);
    const auto name = posixName.substr(0, end);
    if (name.empty() || name == "C" || name == "POSIX")
        return std::string(fallback);

    const auto underscore = name.find_first_of("_-");
    std::string wanted(name.substr(0, underscore));
    if (const auto script = scriptOf(modifier); !script.empty())
        wanted.append("_").append(script);
    if (underscore != std::string_view::npos)
        wanted.append("_").append(name.substr(underscore + 1));

    const auto locale = icu::Locale::createCanonical(wanted.c_str());
    UErrorCode status = U_ZERO_ERROR;
    auto tag = locale.toLanguageTag<std::string>(status);
    if (U_FAILURE(status) || locale.isBogus() || *locale.getLanguage() == '\0' || tag.starts_with("und"))
        return std::string(fallback);
    return tag;
}

} // namespace sonvale::base
