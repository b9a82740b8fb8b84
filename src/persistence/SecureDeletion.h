#pragma once

#include "persistence/SecureMemoryError.h"
#include "platform/SecureRandom.h"

#include <filesystem>

namespace sonvale::persistence {

/// Overwrites the file in place with random bytes, waits until they have reached the disk, and removes it.
/// Only removes an empty file. Removes a symbolic link and keeps its target.
///
/// Blocks for the disk. Throws `SecureMemoryError` if the random source fails, and
/// `std::filesystem::filesystem_error` if the file does not exist, is a folder, or cannot be written or
/// removed; the file then still exists. Any thread, one call at a time for one file.
void secureDelete(const std::filesystem::path& file, platform::SecureRandom& random);

} // namespace sonvale::persistence
