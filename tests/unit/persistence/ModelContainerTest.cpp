#include "persistence/ModelContainer.h"

#include "persistence/FileDescriptor.h"
#include "persistence/StoreFiles.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/LogCapture.h"

#include <SQLiteCpp/Database.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <functional>
#include <memory>
#include <vector>

namespace sonvale::persistence {

namespace {

namespace fs = std::filesystem;
using base::LogLevel;
using tests::contentOf;
using tests::modeOf;
using tests::writeFile;
using Lines = std::vector<std::pair<LogLevel, std::string>>;

/// Limits the number of further files that this process can open.
class DescriptorLimit {
public:
    explicit DescriptorLimit(int free) {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        // New files get the lowest free number.
        std::vector<std::unique_ptr<FileDescriptor>> fillers;
        for (int i = 0; i < free; ++i)
            fillers.push_back(std::make_unique<FileDescriptor>("/dev/null", O_RDONLY));
        const FileDescriptor next("/dev/null", O_RDONLY);
        auto limit = before_;
        limit.rlim_cur = static_cast<rlim_t>(next.number());
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    DescriptorLimit(const DescriptorLimit&) = delete;
    DescriptorLimit& operator=(const DescriptorLimit&) = delete;
    ~DescriptorLimit() { ::setrlimit(RLIMIT_NOFILE, &before_); }

private:
    rlimit before_{};
};

class ModelContainerTest : public testing::Test {
protected:
    fs::path support() const { return fs::path(root_.path()) / "share"; }
    fs::path directory() const { return support() / "Sonvale"; }
    fs::path store() const { return directory() / "Sonvale.store"; }
    fs::path beside(const char* suffix) const { return store().string() + suffix; }

    /// Returns the lines of the store so far. All of them have its category.
    Lines lines() const {
        Lines lines;
        for (const auto& line : log_.lines()) {
            EXPECT_EQ(line.category, "SwiftData");
            EXPECT_EQ(line.subsystem, "com.sonvale");
            lines.emplace_back(line.level, line.text);
        }
        return lines;
    }

    std::pair<LogLevel, std::string> opening() const {
        return {LogLevel::info, "SwiftData: opening store at " + store().string()};
    }
    static std::pair<LogLevel, std::string> initialFailure(const std::string& reason) {
        return {LogLevel::error,
                "SwiftData: initial open failed (" + reason + "); deleting store and retrying"};
    }
    static std::pair<LogLevel, std::string> fallBack(const std::string& reason) {
        return {LogLevel::fault,
                "SwiftData: on-disk store unrecoverable (" + reason +
                    "); falling back to in-memory store — data will NOT persist this session"};
    }

    static void insertSnippet(ModelContainer& container) {
        container.mainContext().insert(Snippet{.trigger = "t"});
        container.mainContext().save();
    }

    /// Makes a valid store with one snippet, damages it, and expects a new store.
    void expectNewStoreAfter(const std::function<void()>& spoil, const std::string& reason) {
        insertSnippet(*ModelContainer::open(support()));
        spoil();
        const auto before = lines().size();
        auto container = ModelContainer::open(support());
        auto seen = lines();
        seen.erase(seen.begin(), seen.begin() + static_cast<std::ptrdiff_t>(before));
        EXPECT_EQ(seen, (Lines{opening(),
                               initialFailure(reason),
                               {LogLevel::info, "SwiftData: store reopened successfully after delete"}}));
        EXPECT_TRUE(container->mainContext().fetch<Snippet>().empty());
        insertSnippet(*container);
        container.reset();
        EXPECT_EQ(ModelContainer::open(support())->mainContext().fetch<Snippet>().size(), 1U);
    }

    /// Expects `ModelContainer::open` to use memory and put nothing aside while the result of `makeTrouble`
    /// lives.
    void expectMemoryFor(const auto& makeTrouble) {
        std::unique_ptr<ModelContainer> container;
        {
            [[maybe_unused]] const auto trouble = makeTrouble();
            container = ModelContainer::open(support());
        }
        EXPECT_EQ(lines().back().first, LogLevel::fault);
        EXPECT_FALSE(container->storePutAside());
        EXPECT_TRUE(filesOfStoresPutAside(directory()).empty());
        EXPECT_TRUE(container->mainContext().fetch<Snippet>().empty());
        container->mainContext().insert(Snippet{.trigger = "for this run"});
        container->mainContext().save();
        EXPECT_EQ(container->mainContext().fetch<Snippet>().size(), 1U);
    }
    /// Expects the one snippet that `insertSnippet` has saved.
    void expectSnippetKept() {
        const auto snippets = ModelContainer::open(support())->mainContext().fetch<Snippet>();
        ASSERT_EQ(snippets.size(), 1U);
        EXPECT_EQ(snippets[0].trigger, "t");
    }

    tests::LogCapture log_;

private:
    tests::TemporaryDirectory root_;
};

} // namespace

TEST_F(ModelContainerTest, OpensTheStoreAndLogsIt) {
    ModelContainer::open(support());
    EXPECT_EQ(lines(), (Lines{opening(), {LogLevel::info, "SwiftData: store opened successfully"}}));
    EXPECT_TRUE(fs::is_regular_file(store()));
}

TEST_F(ModelContainerTest, OpensAnEarlierStoreAgain) {
    insertSnippet(*ModelContainer::open(support()));
    EXPECT_EQ(ModelContainer::open(support())->mainContext().fetch<Snippet>().size(), 1U);
}

TEST_F(ModelContainerTest, KeepsItsFilesPrivate) {
    const auto container = ModelContainer::open(support());
    insertSnippet(*container);
    EXPECT_EQ(modeOf(directory()), 0700U);
    for (const char* suffix : {"", "-wal", "-shm"})
        EXPECT_EQ(modeOf(beside(suffix)), 0600U) << suffix;
}

TEST_F(ModelContainerTest, MakesAStorePrivateThatOthersCanRead) {
    insertSnippet(*ModelContainer::open(support()));
    fs::permissions(directory(), fs::perms(0755));
    fs::permissions(store(), fs::perms(0644));
    const auto container = ModelContainer::open(support());
    EXPECT_EQ(modeOf(directory()), 0700U);
    EXPECT_EQ(modeOf(store()), 0600U);
}

TEST_F(ModelContainerTest, StartsNewAfterGarbage) {
    expectNewStoreAfter([&] { writeFile(store(), std::string(5000, 'g')); }, "file is not a database");
}

TEST_F(ModelContainerTest, StartsNewAfterAnotherSchemaVersion) {
    expectNewStoreAfter(
        [&] {
            SQLite::Database(store().string(), SQLite::OPEN_READWRITE).exec("PRAGMA user_version = 20000");
        },
        "schema version 20000 instead of 10000");
}

TEST_F(ModelContainerTest, StartsNewAfterADatabaseOfAnotherProgram) {
    expectNewStoreAfter(
        [&] {
            fs::remove(store());
            SQLite::Database(store().string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE)
                .exec("CREATE TABLE Mine (id TEXT)");
        },
        "schema version 0 instead of 10000");
}

TEST_F(ModelContainerTest, StartsNewIfATableIsMissing) {
    expectNewStoreAfter(
        [&] { SQLite::Database(store().string(), SQLite::OPEN_READWRITE).exec("DROP TABLE WritingStyle"); },
        "no such table: WritingStyle");
}

TEST_F(ModelContainerTest, StartsNewIfAColumnIsMissing) {
    expectNewStoreAfter(
        [&] {
            SQLite::Database(store().string(), SQLite::OPEN_READWRITE)
                .exec("ALTER TABLE Snippet DROP COLUMN content");
        },
        "no such column: content");
}

TEST_F(ModelContainerTest, StartsNewIfPagesAreDamaged) {
    expectNewStoreAfter(
        [&] {
            auto content = contentOf(store());
            // The header stays valid; the pages of the tables do not.
            std::fill(content.begin() + 4096 + 100, content.end(), '\xA5');
            writeFile(store(), content);
        },
        "the database file is damaged");
}

TEST_F(ModelContainerTest, UsesAnEmptyFileAsANewStore) {
    fs::create_directories(directory());
    writeFile(store(), "");
    insertSnippet(*ModelContainer::open(support()));
    EXPECT_EQ(lines().back().second, "SwiftData: store opened successfully");
}

TEST_F(ModelContainerTest, DeletesTheCompanionsOfABrokenStore) {
    fs::create_directories(directory());
    writeFile(store(),
              "garbage that is long enough to be looked at by the library, to be sure of it, and so on");
    for (const char* suffix : {".wal", ".shm", "-wal", "-shm"})
        writeFile(beside(suffix), "stale");
    writeFile(directory() / "other", "kept");

    ModelContainer::open(support());

    for (const char* suffix : {".wal", ".shm", "-wal", "-shm"})
        EXPECT_NE(contentOf(beside(suffix)), "stale") << suffix;
    EXPECT_FALSE(fs::exists(beside(".wal")));
    EXPECT_FALSE(fs::exists(beside(".shm")));
    EXPECT_EQ(contentOf(directory() / "other"), "kept");
    EXPECT_EQ(lines().back().second, "SwiftData: store reopened successfully after delete");
}

TEST_F(ModelContainerTest, UsesMemoryIfTheFolderCannotBeMade) {
    fs::create_directories(support());
    writeFile(directory(), "in the way");

    const auto container = ModelContainer::open(support());

    EXPECT_EQ(lines(),
              (Lines{{LogLevel::error, "SwiftData: could not create store directory: Not a directory"},
                     opening(),
                     initialFailure("Not a directory"),
                     fallBack("Not a directory")}));
    insertSnippet(*container);
    EXPECT_EQ(container->mainContext().fetch<Snippet>().size(), 1U);
    EXPECT_EQ(contentOf(directory()), "in the way");
}

TEST_F(ModelContainerTest, UsesMemoryIfTheBrokenStoreCannotBeDeleted) {
    fs::create_directories(store() / "inside");
    const auto container = ModelContainer::open(support());
    EXPECT_EQ(lines(), (Lines{opening(), initialFailure("Is a directory"), fallBack("Is a directory")}));
    insertSnippet(*container);
    EXPECT_TRUE(fs::is_directory(store() / "inside"));
}

TEST_F(ModelContainerTest, OpensAnIntactStoreOnAFullDisk) {
    insertSnippet(*ModelContainer::open(support()));
    {
        const tests::FileSizeLimit fullDisk(0);
        const auto container = ModelContainer::open(support());
        EXPECT_EQ(lines().back(),
                  (std::pair{LogLevel::info, std::string("SwiftData: store opened successfully")}));
        EXPECT_EQ(container->mainContext().fetch<Snippet>().size(), 1U);
        EXPECT_FALSE(container->storePutAside());

        container->mainContext().insert(Snippet{.trigger = "while the disk is full"});
        EXPECT_THROW(container->mainContext().save(), StoreError);
    }
    expectSnippetKept();
}

TEST_F(ModelContainerTest, UsesMemoryOnAFullDisk) {
    insertSnippet(*ModelContainer::open(support()));
    // A store of an older version, which cannot be opened without a write.
    SQLite::Database(store().string(), SQLite::OPEN_READWRITE).exec("DROP INDEX TranscriptionNewestFirst");
    expectMemoryFor([] { return std::make_unique<tests::FileSizeLimit>(0); });
    expectSnippetKept();
}

TEST_F(ModelContainerTest, UsesMemoryOnAFullDiskWithoutAStore) {
    fs::create_directories(directory());
    expectMemoryFor([] { return std::make_unique<tests::FileSizeLimit>(0); });
}

TEST_F(ModelContainerTest, KeepsTheStoreIfNoFileCanBeOpened) {
    insertSnippet(*ModelContainer::open(support()));
    // No file at all, and no file for the log beside the store.
    for (const int free : {0, 1}) {
        expectMemoryFor([free] { return std::make_unique<DescriptorLimit>(free); });
        expectSnippetKept();
    }
    const DescriptorLimit enoughWithoutSharedMemory(2);
    expectSnippetKept();
    EXPECT_EQ(lines().back().second, "SwiftData: store opened successfully");
}

TEST_F(ModelContainerTest, KeepsTheStoreThatAnotherProcessHasLocked) {
    insertSnippet(*ModelContainer::open(support()));
    {
        SQLite::Database other(store().string(), SQLite::OPEN_READWRITE);
        other.exec("PRAGMA locking_mode = EXCLUSIVE");
        other.exec("BEGIN EXCLUSIVE");
        expectMemoryFor([] { return 0; });
    }
    expectSnippetKept();
}

TEST_F(ModelContainerTest, PutsAStoreThatItCannotOpenAside) {
    const std::string garbage(5000, 'g');
    for (const char* number : {"1", "2"}) {
        const auto aside = beside((std::string(".broken-") + number).c_str());
        fs::create_directories(directory());
        writeFile(store(), garbage + number);
        fs::permissions(store(), fs::perms(0644));
        writeFile(beside(".wal"), "log");

        const auto container = ModelContainer::open(support());

        EXPECT_EQ(container->storePutAside(), aside);
        EXPECT_EQ(contentOf(aside), garbage + number);
        EXPECT_EQ(contentOf(aside.string() + ".wal"), "log");
        for (const char* suffix : {"", ".wal"})
            EXPECT_EQ(modeOf(aside.string() + suffix), 0600U) << suffix;
        insertSnippet(*container);
    }
}

TEST_F(ModelContainerTest, PutsAStoreAsideInAStateThatSqliteOpens) {
    const auto saved = [](const fs::path& file) {
        return SQLite::Database(file.string(), SQLite::OPEN_READONLY)
            .execAndGet("SELECT trigger FROM Snippet")
            .getString();
    };
    // The last change is in the log only.
    auto container = ModelContainer::open(support());
    insertSnippet(*container);
    for (const char* suffix : {"", "-wal"})
        fs::copy_file(beside(suffix), support() / ("copy" + std::string(suffix)));
    container.reset();
    for (const char* suffix : {"", "-wal"})
        fs::rename(support() / ("copy" + std::string(suffix)), beside(suffix));
    writeFile(beside("-shm"), "");
    fs::permissions(beside("-wal"), fs::perms(0644));

    const auto aside = putStoreAside(store());

    ASSERT_TRUE(aside);
    EXPECT_FALSE(fs::exists(store()));
    EXPECT_FALSE(fs::exists(beside("-wal")));
    EXPECT_FALSE(fs::exists(beside("-shm")));
    for (const char* suffix : {"", "-wal"})
        EXPECT_EQ(modeOf(aside->string() + suffix), 0600U) << suffix;
    EXPECT_EQ(saved(*aside), "t");
}

TEST_F(ModelContainerTest, OpensInMemoryWithoutTouchingTheDisk) {
    const auto container = ModelContainer::openInMemory();
    insertSnippet(*container);
    EXPECT_EQ(container->mainContext().fetch<Snippet>().size(), 1U);
    EXPECT_FALSE(fs::exists(support()));
    EXPECT_TRUE(lines().empty());
}

} // namespace sonvale::persistence
