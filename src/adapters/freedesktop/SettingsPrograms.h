#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sonvale::adapters::freedesktop {

/// A page of a desktop's settings.
enum class SettingsPage { sound, privacy };

struct ProgramCall {
    std::string program; ///< a name to search in PATH
    std::vector<std::string> arguments;
    bool operator==(const ProgramCall&) const = default;
};

/// Returns the programs that show the page, the best first. Any of them may be missing on a machine.
/// `desktop` has the form of XDG_CURRENT_DESKTOP (freedesktop.org, Desktop Entry): names separated by colons,
/// the nearest first.
std::vector<ProgramCall> settingsPrograms(SettingsPage page, std::string_view desktop);

} // namespace sonvale::adapters::freedesktop
