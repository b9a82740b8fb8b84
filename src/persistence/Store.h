#pragma once

#include "persistence/DiskSynchronizer.h"
#include "persistence/StoreError.h"

#include <filesystem>
#include <memory>
#include <optional>

namespace SQLite { // NOLINT(readability-identifier-naming): the library's name
class Database;
}

namespace sonvale::persistence {

/// One open SQLite database with the schema of the records. Main thread only.
class Store {
public:
    /// How other processes may use the file while it is open. `exclusive` excludes them. It needs no index in
    /// shared memory, so it can open a store on a full disk.
    enum class Locking { shared, exclusive };

    /// Opens or makes the store in an existing folder; the file is 0600. Throws `StoreError` if it cannot be
    /// opened, is damaged or has another schema, with `unavailable` if the file may be intact.
    static std::unique_ptr<Store> open(const std::filesystem::path& file, Locking locking = Locking::shared);

    /// Makes a store in memory. Throws `StoreError`.
    static std::unique_ptr<Store> openInMemory();

    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    SQLite::Database& database() { return *database_; }

    /// Flushes a commit to the disk, without waiting, so that it survives a loss of power. The caller calls
    /// it after each commit; an end of the process does not undo a commit.
    void synchronizeSoon();

private:
    explicit Store(std::unique_ptr<SQLite::Database> database);

    std::unique_ptr<SQLite::Database> database_;
    std::optional<DiskSynchronizer> synchronizer_; ///< absent in memory
};

} // namespace sonvale::persistence
