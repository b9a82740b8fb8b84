#pragma once

#include <filesystem>
#include <string_view>
#include <system_error>

/// Files that hold what the user said, wrote or is signed in with: 0600, in folders of 0700.
namespace sonvale::persistence {

/// Makes the folder and what is missing above it, all 0700, and takes others' rights off the folder itself
/// when it is the user's and wider.
std::error_code makePrivateDirectory(const std::filesystem::path& directory);

/// Returns the name that is `file` with `suffix` at its end.
std::filesystem::path withSuffix(std::filesystem::path file, std::string_view suffix);

/// Whether a change is on the disk when the call returns, or is brought there later by the caller.
enum class Durability { now, later };

/// Puts a file with `content` at `file`, 0600, in place of what is there. At every moment the old file or the
/// whole new one is there; with `Durability::now` a loss of power does not change that. The folder must
/// exist. One call at a time for one file.
std::error_code replacePrivateFile(const std::filesystem::path& file, std::string_view content,
                                   Durability durability = Durability::now);

} // namespace sonvale::persistence
