#pragma once

#include <string>
#include <string_view>

namespace sonvale::base {

/// Returns the identifier of the user's locale, such as "en-US", from the first of LC_ALL, LC_MESSAGES and
/// LANG that is set. Any thread.
std::string currentLocaleIdentifier();

/// Returns the identifier of the locale for dates and times, from LC_ALL, LC_TIME or LANG. Any thread.
std::string currentDateLocaleIdentifier();

/// Returns the identifier for a POSIX locale name: "de_DE.UTF-8" gives "de-DE", "sr_RS@latin" gives
/// "sr-Latn-RS". Returns "en-US" for the empty name, "C", "POSIX" and names without a language. Any thread.
std::string localeIdentifier(std::string_view posixName);

} // namespace sonvale::base
