#include "persistence/Store.h"

#include "persistence/FileDescriptor.h"
#include "persistence/PrivateFiles.h"
#include "persistence/SqlColumns.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Transaction.h>
#include <fmt/format.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <system_error>

namespace sonvale::persistence {

namespace {

/// Version 1.0.0 of the schema, as stored in the file's header.
constexpr int schemaVersion = 1'00'00;

/// Another process holds the store only during a write.
constexpr int busyMilliseconds = 250;

/// One thread uses a store: the library's own locks would only cost time, for every column of every row.
int openMode() {
    return SQLite::OPEN_READWRITE | SQLite::OPEN_NOMUTEX;
}

template <class Visit>
void eachTable(Visit visit) {
    visit.template operator()<Transcription>();
    visit.template operator()<AppSettings>();
    visit.template operator()<Snippet>();
    visit.template operator()<DictionaryEntry>();
    visit.template operator()<WritingStyle>();
}

template <class R>
std::string creation() {
    const auto columns = columnList<R>([](const auto& column) {
        using Field = std::remove_cvref_t<decltype(std::declval<R>().*column.field)>;
        return fmt::format("{} {}{}", column.name, sqlType<Field>(),
                           column.name == "id" ? " NOT NULL UNIQUE" : "");
    });
    return fmt::format("CREATE TABLE {} (sequence INTEGER PRIMARY KEY, {})", RecordTable<R>::name, columns);
}

void createSchema(SQLite::Database& database) {
    SQLite::Transaction transaction(database);
    eachTable([&]<class R>() { database.exec(creation<R>()); });
    database.exec(fmt::format("PRAGMA user_version = {}", schemaVersion));
    transaction.commit();
}

/// Makes the index of the history, which is shown newest first, page by page, and counted without its texts:
/// in this order, and from these columns. A store of an older version has a plain index of the times instead.
void indexHistory(SQLite::Database& database) {
    database.exec("CREATE INDEX IF NOT EXISTS TranscriptionNewestFirst ON Transcription "
                  "(timestamp DESC, sequence, wordCount, durationSeconds)");
    database.exec("DROP INDEX IF EXISTS TranscriptionByTime");
}

void checkContent(SQLite::Database& database) {
    const auto health = database.execAndGet("PRAGMA quick_check(1)").getString();
    if (health != "ok")
        throw StoreError(StoreError::Case::openFailed, "the database file is damaged");
    // A missing table or column is detected when the statement is compiled.
    eachTable([&]<class R>() {
        SQLite::Statement(database, fmt::format("SELECT {} FROM {}", columnNames<R>(), RecordTable<R>::name));
    });
}

void prepare(SQLite::Database& database, Store::Locking locking) {
    if (locking == Store::Locking::exclusive)
        database.exec("PRAGMA locking_mode = EXCLUSIVE");
    // A commit is one write to the log file without a flush: records are saved on the main thread between the
    // transcription and its insertion. Another thread flushes the file right afterwards. A loss of power
    // before that leaves the store as it was before the commit.
    database.exec("PRAGMA journal_mode = WAL");
    database.exec("PRAGMA synchronous = NORMAL");
    // Data that is read for each dictation, thousands of snippets and words, stays in memory (kibibytes).
    database.exec("PRAGMA cache_size = -8192");
    // Removed text must not stay in free pages of the file.
    database.exec("PRAGMA secure_delete = ON");

    const int version = database.execAndGet("PRAGMA user_version").getInt();
    const int objects = database.execAndGet("SELECT count(*) FROM sqlite_master").getInt();
    if (version == 0 && objects == 0)
        createSchema(database);
    else if (version != schemaVersion)
        throw StoreError(StoreError::Case::schemaMismatch,
                         fmt::format("schema version {} instead of {}", version, schemaVersion));
    else
        checkContent(database);
    indexHistory(database);
}

/// Returns whether the cause lies outside the file.
bool isOutsideTheFile(const SQLite::Exception& error) {
    switch (error.getErrorCode()) {
    case SQLITE_FULL:
    case SQLITE_CANTOPEN:
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_NOMEM:
    case SQLITE_PERM:
    case SQLITE_READONLY:
        return true;
    case SQLITE_IOERR:
        return error.getExtendedErrorCode() != SQLITE_IOERR_READ &&
               error.getExtendedErrorCode() != SQLITE_IOERR_SHORT_READ &&
               error.getExtendedErrorCode() != SQLITE_IOERR_CORRUPTFS;
    default:
        return false;
    }
}

bool isOutsideTheFile(std::error_code error) {
    constexpr std::errc causes[] = {
        std::errc::too_many_files_open,   std::errc::too_many_files_open_in_system,
        std::errc::not_enough_memory,     std::errc::no_space_on_device,
        std::errc::read_only_file_system,
    };
    return error == std::error_code(EDQUOT, std::generic_category()) ||
           std::ranges::any_of(causes, [error](std::errc cause) { return error == cause; });
}

template <class Error>
StoreError openError(const Error& error, const std::string& description) {
    return {isOutsideTheFile(error) ? StoreError::Case::unavailable : StoreError::Case::openFailed,
            description};
}

StoreError lastOpenError() {
    const auto error = lastSystemError();
    return openError(error, error.message());
}

/// Makes the file private. SQLite gives its companion files the rights of the main file.
void makePrivate(const std::filesystem::path& file) {
    const FileDescriptor descriptor(file, O_RDWR | O_CREAT | O_NONBLOCK, privateFileMode);
    struct stat status{};
    if (!descriptor || ::fstat(descriptor.number(), &status) != 0)
        throw lastOpenError();
    if ((status.st_mode & othersRights) != 0 && ::fchmod(descriptor.number(), privateFileMode) != 0)
        throw lastOpenError();
}

} // namespace

Store::Store(std::unique_ptr<SQLite::Database> database)
    : database_(std::move(database)) {}

Store::~Store() = default;

std::unique_ptr<Store> Store::open(const std::filesystem::path& file, Locking locking) {
    makePrivate(file);
    try {
        auto database = std::make_unique<SQLite::Database>(file.string(), openMode(), busyMilliseconds);
        prepare(*database, locking);
        std::unique_ptr<Store> store(new Store(std::move(database)));
        // The main file must not be opened: closing another descriptor of it would release SQLite's locks.
        store->synchronizer_.emplace(file.string() + "-wal");
        return store;
    } catch (const SQLite::Exception& error) {
        throw openError(error, error.what());
    }
}

void Store::synchronizeSoon() {
    if (synchronizer_)
        synchronizer_->request();
}

std::unique_ptr<Store> Store::openInMemory() {
    try {
        auto database = std::make_unique<SQLite::Database>(":memory:", openMode() | SQLite::OPEN_CREATE);
        prepare(*database, Locking::shared);
        return std::unique_ptr<Store>(new Store(std::move(database)));
    } catch (const SQLite::Exception& error) {
        throw StoreError(StoreError::Case::openFailed, error.what());
    }
}

} // namespace sonvale::persistence
