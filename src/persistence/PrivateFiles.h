#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string_view>
#include <system_error>

/// Files with the user's speech, text or session: 0600, in folders of 0700.
namespace sonvale::persistence {

inline constexpr mode_t privateFileMode = 0600;
inline constexpr mode_t privateDirectoryMode = 0700;
inline constexpr mode_t othersRights = 0077;

/// Makes the folder and its missing parents with 0700. Removes others' rights from the folder itself if it is
/// the user's and has wider rights.
std::error_code makePrivateDirectory(const std::filesystem::path& directory);

/// Returns `file` with `suffix` appended to its name.
std::filesystem::path withSuffix(std::filesystem::path file, std::string_view suffix);

/// Whether the file is flushed to the disk before the call returns, or later by the caller.
enum class Durability { now, later };

/// Replaces `file` by a file with `content`, 0600. At any time the old file or the whole new one exists; with
/// `Durability::now` this includes a loss of power. The folder must exist. One call at a time for one file.
std::error_code replacePrivateFile(const std::filesystem::path& file, std::string_view content,
                                   Durability durability = Durability::now);

} // namespace sonvale::persistence
