#pragma once

#include "platform/Directories.h"

#include <functional>
#include <optional>
#include <string>

namespace sonvale::adapters::freedesktop {

/// The user's folders, by XDG Base Directory 0.8.
///
/// - application support: $XDG_DATA_HOME, else ~/.local/share
/// - configuration: $XDG_CONFIG_HOME, else ~/.config
/// - temporary: `sonvale` in $XDG_RUNTIME_DIR, else `sonvale-<user id>` in $TMPDIR or /tmp
///
/// The temporary folder is made here, 0700. A symbolic link or another user's folder of that name is not
/// used. If no other folder can be used, a new one with an unpredictable name is made.
///
/// Variables that are empty or contain a relative path count as not set.
class XdgDirectories {
public:
    /// Returns the value of an environment variable, or nullopt if it is not set.
    using Environment = std::function<std::optional<std::string>(const char* name)>;

    /// Uses the environment of the process. Throws `std::filesystem::filesystem_error` if no temporary folder
    /// can be made.
    static platform::Directories resolve();
    static platform::Directories resolve(const Environment& environment);
};

} // namespace sonvale::adapters::freedesktop
