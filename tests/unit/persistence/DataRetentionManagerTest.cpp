#include "persistence/DataRetentionManager.h"

#include "base/Json.h"
#include "persistence/ModelContainer.h"
#include "persistence/SettingsKeys.h"
#include "persistence/StoreFiles.h"
#include "tests/fakes/FakeSecureRandom.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestRuntime.h"

#include <SQLiteCpp/Database.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <set>
#include <sstream>

namespace sonvale::persistence {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class DataRetentionManagerTest : public testing::Test {
protected:
    DataRetentionManagerTest() {
        fs::create_directory(temporary());
        manager_ = std::make_shared<DataRetentionManager>(DataRetentionManager::Parts{
            .main = runtime_.main(),
            .clock = runtime_.clock(),
            .settings = settings_,
            .auditLogger = auditLogger_,
            .secureRandom = random_,
            .temporaryDirectory = temporary(),
            .applicationSupport = directory_.path(),
        });
        container_ = ModelContainer::open(directory_.path());
        manager_->modelContext = &container_->mainContext();
    }

    fs::path temporary() const { return fs::path(directory_.path()) / "temporary"; }
    ModelContext& store() { return container_->mainContext(); }

    void keep(std::chrono::hours age, bool isDismissed = false) {
        Transcription record;
        record.rawText = std::to_string(age / 24h);
        record.timestamp = runtime_.clock().date() - age;
        record.isDismissed = isDismissed;
        store().insert(record);
        store().save();
    }
    /// Returns the ages of the remaining records in days.
    std::set<std::string> remainingAges() {
        std::set<std::string> ages;
        for (const auto& record : store().fetch<Transcription>())
            ages.insert(record.rawText);
        return ages;
    }
    void leave(const std::string& name) const { tests::writeFile(temporary() / name, "voice"); }
    std::set<std::string> filesLeft() const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(temporary()))
            names.insert(entry.path().filename().string());
        return names;
    }

    void onMain(std::function<void()> work) {
        runtime_.main().post(std::move(work));
        runtime_.runUntilIdle();
    }
    void cleanUp() {
        onMain([this] { manager_->performCleanup(); });
    }
    void breakStore() const {
        SQLite::Database database(directory_.path() + "/Sonvale/Sonvale.store", SQLite::OPEN_READWRITE);
        database.exec("DROP TABLE Transcription");
    }

    std::vector<base::Json> audit(const std::string& event) {
        runtime_.runUntilIdle();
        std::vector<base::Json> found;
        std::istringstream log(tests::contentOf(directory_.path() + "/com.sonvale.app/audit.log"));
        for (std::string line; std::getline(log, line);) {
            auto entry = base::Json::parse(line);
            if (entry.at("eventType") == event)
                found.push_back(std::move(entry));
        }
        return found;
    }
    std::string counts() {
        const auto entries = audit("dataDeleted");
        if (entries.empty())
            return "none";
        const auto& metadata = entries.back().at("metadata");
        return metadata.at("transcriptionsDeleted").get<std::string>() + " and " +
               metadata.at("tempFilesRemoved").get<std::string>();
    }

    tests::LogCapture log_;
    tests::TemporaryDirectory directory_;
    tests::TestRuntime runtime_;
    Settings settings_{directory_.path() + "/defaults.json"};
    AuditLogger auditLogger_{runtime_.makeSerialActor("audit"), runtime_.clock(), directory_.path()};
    tests::FakeSecureRandom random_;
    std::unique_ptr<ModelContainer> container_;
    std::shared_ptr<DataRetentionManager> manager_;
};

using Names = std::set<std::string>;

} // namespace

TEST_F(DataRetentionManagerTest, DeletesRecordsOlderThanThirtyDays) {
    keep(31 * 24h);
    keep(30 * 24h + 1h);
    keep(29 * 24h);
    keep(0h);
    cleanUp();
    EXPECT_EQ(remainingAges(), (Names{"29", "0"}));
    EXPECT_EQ(counts(), "2 and 0");
}

TEST_F(DataRetentionManagerTest, KeepsRecordsThatAreExactlyAsOldAsTheCutoff) {
    const auto cutoff = retentionCutoff(runtime_.clock().date(), std::nullopt).value();
    for (const auto moment : {cutoff, cutoff - 1us}) {
        Transcription record;
        record.rawText = moment == cutoff ? "at it" : "before it";
        record.timestamp = moment;
        store().insert(record);
    }
    store().save();
    cleanUp();
    EXPECT_EQ(remainingAges(), Names{"at it"});
}

TEST_F(DataRetentionManagerTest, UsesTheUsersNumberOfDays) {
    settings_.set(keys::retentionPeriodDays, 7);
    keep(8 * 24h);
    keep(6 * 24h);
    cleanUp();
    EXPECT_EQ(remainingAges(), Names{"6"});
}

TEST_F(DataRetentionManagerTest, KeepsEverythingWithZeroAndWithInvalidNumbersOfDays) {
    keep(4000 * 24h);
    keep(1h, true);
    leave("sonvale_1.m4a");
    settings_.set(keys::retentionPeriodDays, 0);
    cleanUp();
    EXPECT_EQ(remainingAges(), Names{"4000"}) << "the dismissed one goes all the same";
    EXPECT_EQ(filesLeft(), Names{});
    EXPECT_EQ(counts(), "1 and 1");

    settings_.set(keys::retentionPeriodDays, -5);
    cleanUp();
    EXPECT_EQ(remainingAges(), Names{"4000"});
    tests::writeFile(directory_.path() + "/edited.json", R"({"retentionPeriodDays": "seven"})");
    const Settings edited(directory_.path() + "/edited.json");
    manager_ = std::make_shared<DataRetentionManager>(DataRetentionManager::Parts{
        .main = runtime_.main(),
        .clock = runtime_.clock(),
        .settings = edited,
        .auditLogger = auditLogger_,
        .secureRandom = random_,
        .temporaryDirectory = temporary(),
        .applicationSupport = directory_.path(),
    });
    manager_->modelContext = &store();
    cleanUp();
    EXPECT_EQ(remainingAges(), Names{"4000"});
}

TEST_F(DataRetentionManagerTest, CountsADismissedOldRecordOnce) {
    keep(40 * 24h, true);
    keep(2 * 24h, true);
    cleanUp();
    EXPECT_EQ(remainingAges(), Names{});
    EXPECT_EQ(counts(), "2 and 0");
}

TEST_F(DataRetentionManagerTest, DeletesStoresPutAsideAfterTheRetentionPeriod) {
    const auto folder = fs::path(directory_.path()) / "Sonvale";
    const auto putAside = [&](const std::string& name, std::chrono::hours age) {
        tests::writeFile(folder / name, "history");
        const auto time = std::chrono::system_clock::to_time_t(runtime_.clock().date() - age);
        const timespec times[] = {{time, 0}, {time, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, (folder / name).c_str(), times, 0), 0);
    };
    const auto stores = [&] {
        Names names;
        for (const auto& file : filesOfStoresPutAside(folder))
            names.insert(file.filename().string().substr(std::string("Sonvale.store.").size()));
        return names;
    };
    for (const char* suffix : {"", "-wal", "-shm"})
        putAside(std::string("Sonvale.store.broken-1") + suffix, 31 * 24h);
    putAside("Sonvale.store.broken-2", 29 * 24h);
    cleanUp();
    EXPECT_EQ(stores(), Names{"broken-2"});
    EXPECT_EQ(counts(), "0 and 0");

    settings_.set(keys::retentionPeriodDays, 0);
    putAside("Sonvale.store.broken-3", 4000 * 24h);
    cleanUp();
    EXPECT_EQ(stores(), (Names{"broken-2", "broken-3"})) << "kept indefinitely";

    settings_.set(keys::retentionPeriodDays, 10);
    cleanUp();
    EXPECT_EQ(stores(), Names{});
    EXPECT_TRUE(fs::exists(folder / "Sonvale.store"));
}

TEST_F(DataRetentionManagerTest, RecordsAStoreThatCannotBeDeletedAndContinues) {
    const auto folder = fs::path(directory_.path()) / "Sonvale" / "Sonvale.store.broken-1";
    fs::create_directories(folder);
    runtime_.clock().advance(86400.0 * 40);
    settings_.set(keys::retentionPeriodDays, 1);
    const timespec times[] = {{0, 0}, {0, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, folder.c_str(), times, 0), 0);
    cleanUp();
    const auto errors = audit("error");
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_EQ(errors[0].at("metadata").at("errorDetails"), "old-store-removal-failed");
    EXPECT_EQ(counts(), "0 and 0");
}

TEST_F(DataRetentionManagerTest, RemovesLeftOverRecordingsOnly) {
    const Names others{"sonvale_1.txt", "memo.m4a",      "sonvale_2.M4A", ".sonvale_3.m4a",
                       "sonvale_4",     "Sonvale_5.m4a", "sonvale.m4a",   "sonvale_6.m4a.part"};
    for (const auto& name : others)
        leave(name);
    leave("sonvale_0C6E.m4a");
    leave("sonvale_a.b.m4a");
    leave("sonvale_.m4a");
    cleanUp();
    EXPECT_EQ(filesLeft(), others);
    EXPECT_EQ(counts(), "0 and 3");
}

TEST_F(DataRetentionManagerTest, OverwritesARecordingBeforeRemovingIt) {
    leave("sonvale_1.m4a");
    fs::create_hard_link(temporary() / "sonvale_1.m4a", temporary() / "witness");
    cleanUp();
    EXPECT_EQ(filesLeft(), Names{"witness"});
    EXPECT_NE(tests::contentOf(temporary() / "witness"), "voice");
}

TEST_F(DataRetentionManagerTest, RecordsEachFileThatCannotBeRemoved) {
    fs::create_directory(temporary() / "sonvale_folder.m4a");
    leave("sonvale_1.m4a");
    cleanUp();
    EXPECT_EQ(filesLeft(), Names{"sonvale_folder.m4a"});
    EXPECT_EQ(counts(), "0 and 1");
    const auto errors = audit("error");
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_EQ(errors.front().at("resource"), "dataRetention");
    EXPECT_EQ(errors.front().at("metadata").at("errorDetails"), "temp-file-removal-failed");
}

TEST_F(DataRetentionManagerTest, IgnoresAMissingFolder) {
    fs::remove(temporary());
    cleanUp();
    EXPECT_EQ(counts(), "0 and 0");
    EXPECT_TRUE(audit("error").empty());
}

TEST_F(DataRetentionManagerTest, DoesNothingWithoutAStore) {
    leave("sonvale_1.m4a");
    manager_->modelContext = nullptr;
    cleanUp();
    EXPECT_EQ(filesLeft(), Names{"sonvale_1.m4a"});
    EXPECT_EQ(counts(), "none");
}

TEST_F(DataRetentionManagerTest, RecordsARunThatDeletedNothing) {
    cleanUp();
    const auto entries = audit("dataDeleted");
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries.front().at("actor"), "system");
    EXPECT_EQ(entries.front().at("resource"), "dataRetention");
    EXPECT_EQ(entries.front().at("outcome"), "success");
    EXPECT_EQ(entries.front().at("metadata"),
              (base::Json{{"transcriptionsDeleted", "0"}, {"tempFilesRemoved", "0"}}));
}

TEST_F(DataRetentionManagerTest, ContinuesIfTheStoreCannotBeRead) {
    leave("sonvale_1.m4a");
    breakStore();
    cleanUp();
    const auto errors = audit("error");
    ASSERT_EQ(errors.size(), 2U);
    EXPECT_EQ(errors[0].at("metadata").at("errorDetails"), "fetch-expired-transcriptions-failed");
    EXPECT_EQ(errors[1].at("metadata").at("errorDetails"), "fetch-dismissed-transcriptions-failed");
    EXPECT_EQ(filesLeft(), Names{});
    EXPECT_EQ(counts(), "0 and 1");
}

TEST_F(DataRetentionManagerTest, RunsAtOnceAndThenOnceADay) {
    onMain([this] { manager_->startCleanup(); });
    EXPECT_EQ(audit("dataDeleted").size(), 1U);
    runtime_.clock().advance(86399);
    EXPECT_EQ(audit("dataDeleted").size(), 1U);
    runtime_.clock().advance(1);
    EXPECT_EQ(audit("dataDeleted").size(), 2U);
    settings_.set(keys::retentionPeriodDays, 1);
    keep(30h);
    runtime_.clock().advance(86400);
    EXPECT_EQ(remainingAges(), Names{}) << "a new number counts at the next run";
}

TEST_F(DataRetentionManagerTest, KeepsOneSchedule) {
    onMain([this] { manager_->startCleanup(); });
    onMain([this] { manager_->startCleanup(); });
    runtime_.clock().advance(86400);
    EXPECT_EQ(audit("dataDeleted").size(), 3U);
}

TEST_F(DataRetentionManagerTest, IsNotKeptAliveByItsTimer) {
    onMain([this] { manager_->startCleanup(); });
    const std::weak_ptr<DataRetentionManager> weak = manager_;
    manager_.reset();
    EXPECT_TRUE(weak.expired());
    runtime_.clock().advance(86400);
    EXPECT_EQ(audit("dataDeleted").size(), 1U);
}

TEST(RetentionCutoff, KeepsTheTimeOfDayAcrossDaylightSaving) {
    const auto at = [](const char* text) { return base::parseIso8601(text).value(); };
    const auto cutoff = [&](const char* now, std::optional<std::int64_t> stored, const char* zone) {
        const auto result = retentionCutoff(at(now), stored, zone);
        return result ? base::iso8601(*result) : "none";
    };
    EXPECT_EQ(cutoff("2025-08-31T09:00:00Z", std::nullopt, "UTC"), "2025-08-01T09:00:00Z");
    EXPECT_EQ(cutoff("2025-04-01T12:00:00+02:00", 30, "Europe/Berlin"), "2025-03-02T11:00:00Z");
    EXPECT_EQ(cutoff("2025-11-05T12:00:00-05:00", 7, "America/New_York"), "2025-10-29T16:00:00Z");
    EXPECT_EQ(cutoff("2025-08-31T09:00:00Z", 0, "UTC"), "none");
    EXPECT_EQ(cutoff("2025-08-31T09:00:00Z", -1, "UTC"), "none");
    EXPECT_EQ(cutoff("2025-08-31T09:00:00Z", std::numeric_limits<std::int64_t>::max(), "UTC"), "none");
}

} // namespace sonvale::persistence
