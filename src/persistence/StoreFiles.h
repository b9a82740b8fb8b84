#pragma once

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

/// The files of a store that could not be opened. They contain everything that the user had stored, so they
/// are kept for a while and not deleted at once.
namespace sonvale::persistence {

/// In the folder of application data.
inline constexpr std::string_view storeDirectoryName = "Sonvale";
inline constexpr std::string_view storeFileName = "Sonvale.store";

/// The suffixes of the files that belong to a store. The first two replace its extension, the others are
/// SQLite's.
inline constexpr const char* storeCompanions[] = {".wal", ".shm", "-wal", "-shm"};

/// Renames the store and its companions, in the same folder, to the store's name with ".broken-1" (the next
/// free number) appended, so that SQLite can open them under that name. They become 0600, and their
/// modification time becomes the time of the call. Returns the new name. Returns nullopt without any change
/// if there is no file, there is a folder in its place, or it cannot be renamed.
std::optional<std::filesystem::path> putStoreAside(const std::filesystem::path& store);

/// Returns every file in the folder that `putStoreAside` has renamed.
std::vector<std::filesystem::path> filesOfStoresPutAside(const std::filesystem::path& folder);

} // namespace sonvale::persistence
