#pragma once

#include "platform/Directories.h"

#include <functional>
#include <optional>
#include <string>

namespace sonvale::adapters::freedesktop {

/// The user's folders by the XDG base directory rules, version 0.8.
///
/// - application support: $XDG_DATA_HOME, else ~/.local/share
/// - configuration: $XDG_CONFIG_HOME, else ~/.config
/// - temporary: `sonvale` in $XDG_RUNTIME_DIR, else `sonvale-<user id>` in $TMPDIR or /tmp; made here, 0700.
/// A folder
///   of that name that is a symbolic link or another user's is not used; when nothing else is left, a new
///   folder with an unpredictable name is made.
///
/// Variables that are empty or hold a relative path count as not set.
class XdgDirectories {
public:
    /// The value of an environment variable; nothing when it is not set.
    using Environment = std::function<std::optional<std::string>(const char* name)>;

    /// From the process's own environment. Throws `std::filesystem::filesystem_error` when no temporary
    /// folder can be made.
    static platform::Directories resolve();
    static platform::Directories resolve(const Environment& environment);
};

} // namespace sonvale::adapters::freedesktop
