#pragma once

#include "persistence/SecureMemoryError.h"
#include "platform/SecureRandom.h"

#include <filesystem>

namespace sonvale::persistence {

/// Overwrites the file in place with random bytes, waits until they have reached the disk, and removes it. An
/// empty file is only removed; of a symbolic link the link alone goes, and what it points to stays as it is.
///
/// Blocks for the disk. Throws `SecureMemoryError` when the random source fails, and
/// `std::filesystem::filesystem_error` when there is no such file, it is a folder, or it cannot be written or
/// removed; the file is then still there. Any thread, one call at a time for one file.
void secureDelete(const std::filesystem::path& file, platform::SecureRandom& random);

} // namespace sonvale::persistence
