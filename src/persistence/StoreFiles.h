#pragma once

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

/// The files of a store that was given up. They hold all that the user had stored, so they are kept for a
/// while instead of being deleted.
namespace sonvale::persistence {

/// Below the folder of application data.
inline constexpr std::string_view storeDirectoryName = "Sonvale";
inline constexpr std::string_view storeFileName = "Sonvale.store";

/// The files beside a store that belong to it, by what is appended to its name. The first two are named by
/// extension, the others are SQLite's.
inline constexpr const char* storeCompanions[] = {".wal", ".shm", "-wal", "-shm"};

/// Renames the store and its companions, in the same folder, to the store's name with ".broken-1" appended
/// (the next number that is free), so that SQLite opens them under that name. They become 0600, and their
/// time of modification is that of the call. Returns the new name; nullopt if there is no file, which
/// includes a folder in its place, or if it cannot be renamed, and then nothing has changed.
std::optional<std::filesystem::path> putStoreAside(const std::filesystem::path& store);

/// Returns every file in the folder that `putStoreAside` has named.
std::vector<std::filesystem::path> filesOfStoresPutAside(const std::filesystem::path& folder);

} // namespace sonvale::persistence
