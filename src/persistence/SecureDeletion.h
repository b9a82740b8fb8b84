#pragma once

#include "persistence/SecureMemoryError.h"
#include "platform/SecureRandom.h"

#include <filesystem>

namespace sonvale::persistence {

/// Overwrites the file in place with random bytes, waits until they have reached the disk, and removes it.
/// An empty file is removed without a write; a symbolic link is removed and its target kept.
///
/// Blocks for the disk. Throws `SecureMemoryError` if the random source fails, and
/// `std::filesystem::filesystem_error` if the file does not exist, is a folder, or cannot be written or
/// removed; the file then still exists. Any thread, one call at a time for one file.
void secureDelete(const std::filesystem::path& file, platform::SecureRandom& random);

} // namespace sonvale::persistence
