#pragma once

#include <string>
#include <string_view>

namespace sonvale::base {

/// The identifier of the user's locale, like "en-US", from LC_ALL, LC_MESSAGES or LANG, the first that is
/// set. Any thread.
std::string currentLocaleIdentifier();

/// The same for how dates and times are written, from LC_ALL, LC_TIME or LANG. Any thread.
std::string currentDateLocaleIdentifier();

/// The identifier for a POSIX locale name: "de_DE.UTF-8" gives "de-DE", "sr_RS@latin" gives "sr-Latn-RS". The
/// empty name, "C", "POSIX" and names that mean no language give "en-US". Any thread.
std::string localeIdentifier(std::string_view posixName);

} // namespace sonvale::base
