#include "persistence/Settings.h"

#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>
#include <limits>
#include <mutex>
#include <thread>
#include <vector>

namespace sonvale::persistence {

namespace {

namespace fs = std::filesystem;
using tests::contentOf;
using tests::modeOf;
using tests::writeFile;

/// Records the flushes of this process.
class SynchronizationWatch {
public:
    explicit SynchronizationWatch(std::function<void()> onWait = {}) {
        const std::lock_guard lock(mutex);
        waits.clear();
        hook = std::move(onWait);
    }
    SynchronizationWatch(const SynchronizationWatch&) = delete;
    SynchronizationWatch& operator=(const SynchronizationWatch&) = delete;
    ~SynchronizationWatch() {
        const std::lock_guard lock(mutex);
        hook = nullptr;
    }

    int all() const {
        const std::lock_guard lock(mutex);
        return static_cast<int>(waits.size());
    }
    int onThisThread() const {
        const std::lock_guard lock(mutex);
        return static_cast<int>(std::ranges::count(waits, std::this_thread::get_id()));
    }

    static int wait(int file) {
        {
            const std::lock_guard lock(mutex);
            waits.push_back(std::this_thread::get_id());
            if (hook)
                hook();
        }
        return static_cast<int>(::syscall(SYS_fsync, file));
    }

private:
    inline static std::mutex mutex;
    inline static std::vector<std::thread::id> waits; ///< guarded by `mutex`, as the next
    inline static std::function<void()> hook;
};

class SettingsTest : public testing::Test {
protected:
    fs::path folder() const { return fs::path(root_.path()) / "com.sonvale.app"; }
    fs::path file() const { return folder() / "defaults.json"; }
    fs::path aside(int number) const { return folder() / ("defaults.json.broken-" + std::to_string(number)); }

    void write(std::string_view content) const {
        fs::create_directories(folder());
        writeFile(file(), content);
    }

    fs::path durableFile() const { return folder() / "defaults.json.durable"; }

    base::Json onDisk() const { return *base::parseJson(contentOf(file())); }

    tests::LogCapture log_;

private:
    tests::TemporaryDirectory root_;
};

} // namespace

/// Replaces the system library's function.
extern "C" int fsync(int file) {
    return SynchronizationWatch::wait(file);
}

TEST_F(SettingsTest, StartsEmptyWithoutAFileAndWritesNone) {
    Settings settings(file());
    settings.registerDefaults();
    settings.synchronize();
    EXPECT_FALSE(settings.has("language"));
    EXPECT_FALSE(fs::exists(folder()));
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(SettingsTest, KeepsEveryTypeOverARestart) {
    const Data data{std::string("\0\xFF{\"a\":1}", 9)};
    {
        Settings settings(file());
        settings.set(keys::localOnlyMode, true);
        settings.set(keys::retentionPeriodDays, std::numeric_limits<std::int64_t>::min());
        settings.set(keys::scratchpadText, "zwei\nZeilen \"é\" \U0001F600");
        settings.set(keys::hotkeyBindings, data);
    }
    const Settings settings(file());
    EXPECT_EQ(settings.stored(keys::localOnlyMode), true);
    EXPECT_EQ(settings.stored(keys::retentionPeriodDays), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(settings.stored(keys::scratchpadText), "zwei\nZeilen \"é\" \U0001F600");
    EXPECT_EQ(settings.stored(keys::hotkeyBindings), data);
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(SettingsTest, WritesThroughWithPlainJsonTypes) {
    Settings settings(file());
    settings.set(keys::localOnlyMode, false);
    settings.set(keys::retentionPeriodDays, 0);
    settings.set(keys::engineBeforeLocalOnly, "");
    settings.set(keys::hotkeyBindings, Data{"{}"});
    EXPECT_EQ(onDisk(),
              *base::parseJson(R"({"localOnlyMode":false,"retentionPeriodDays":0,"engineBeforeLocalOnly":"",
                                             "hotkeyBindings":{"base64":"e30="}})"));
}

TEST_F(SettingsTest, DistinguishesAbsentFromEmpty) {
    {
        Settings settings(file());
        settings.set(keys::engineBeforeLocalOnly, "");
        settings.set(keys::retentionPeriodDays, 0);
        settings.set(keys::hotkeyBindings, Data{});
        settings.set(keys::localOnlyMode, false);
    }
    const Settings settings(file());
    EXPECT_EQ(settings.stored(keys::engineBeforeLocalOnly), "");
    EXPECT_EQ(settings.stored(keys::retentionPeriodDays), 0);
    EXPECT_EQ(settings.stored(keys::hotkeyBindings), Data{});
    EXPECT_EQ(settings.stored(keys::localOnlyMode), false);
    EXPECT_EQ(settings.stored(keys::language), std::nullopt);
    EXPECT_TRUE(settings.has("retentionPeriodDays"));
    EXPECT_FALSE(settings.has("language"));
    EXPECT_EQ(settings.rawValue(keys::retentionPeriodDays), base::Json(0));
    EXPECT_EQ(settings.rawValue(keys::language), std::nullopt);
}

TEST_F(SettingsTest, RemovesAKeyPermanently) {
    {
        Settings settings(file());
        settings.set(keys::accessToken, "token");
        settings.set(keys::userEmail, "a@b.c");
        settings.remove(keys::accessToken);
        settings.remove(keys::refreshToken);
        EXPECT_FALSE(settings.has("com.sonvale.accessToken"));
    }
    const Settings settings(file());
    EXPECT_EQ(settings.stored(keys::accessToken), std::nullopt);
    EXPECT_EQ(settings.stored(keys::userEmail), "a@b.c");
    EXPECT_EQ(contentOf(file()).find("token"), std::string::npos);
}

TEST_F(SettingsTest, ReturnsRegisteredDefaultsFromPlainReads) {
    Settings settings(file());
    EXPECT_FALSE(settings.read(keys::pauseAudioDuringDictation));
    settings.registerDefaults();
    EXPECT_TRUE(settings.read(keys::pauseAudioDuringDictation));
    EXPECT_TRUE(settings.read(keys::showInDock));
    EXPECT_TRUE(settings.read(keys::aiProcessingEnabled));
    EXPECT_FALSE(settings.read(keys::privacyModeEnabled));
    EXPECT_FALSE(settings.read(keys::localOnlyMode));
    EXPECT_EQ(settings.stored(keys::showInDock), std::nullopt);
    EXPECT_FALSE(settings.has("showInDock"));

    settings.set(keys::showInDock, false);
    EXPECT_FALSE(settings.read(keys::showInDock));
    settings.remove(keys::showInDock);
    EXPECT_TRUE(settings.read(keys::showInDock));
}

TEST_F(SettingsTest, ReturnsTheEmptyValueFromPlainReadsOfOtherKeys) {
    Settings settings(file());
    settings.registerDefaults();
    EXPECT_FALSE(settings.read(keys::soundEffectsEnabled));
    EXPECT_EQ(settings.read(keys::transcriptionEngine), "");
    EXPECT_EQ(settings.read(keys::language), "");
    EXPECT_EQ(settings.read(keys::retentionPeriodDays), 0);
    EXPECT_EQ(settings.read(keys::hotkeyBindings), Data{});
    EXPECT_FALSE(settings.read(keys::isOnboardingComplete));
}

TEST_F(SettingsTest, ReturnsTheDefaultOfTheTableToBoundViews) {
    Settings settings(file());
    EXPECT_TRUE(settings.bound(keys::soundEffectsEnabled));
    EXPECT_TRUE(settings.bound(keys::showInDock));
    EXPECT_FALSE(settings.bound(keys::launchAtLogin));
    EXPECT_EQ(settings.bound(keys::transcriptionEngine), "hybrid");
    EXPECT_EQ(settings.bound(keys::language), "en");
    settings.set(keys::language, "de");
    EXPECT_EQ(settings.bound(keys::language), "de");
}

TEST_F(SettingsTest, ReadsAValueOfAnotherTypeAsAbsentAndKeepsIt) {
    write(R"({"showInDock":"yes","localOnlyMode":1,"aiProcessingEnabled":0,"retentionPeriodDays":"7",
              "onboardingStep":2.0,"language":5,"scratchpadText":null,"hotkeyBindings":"e30=","launchAtLogin":[true],
              "com.sonvale.accessToken":{"base64":"e30="}})");
    Settings settings(file());
    settings.registerDefaults();

    EXPECT_EQ(settings.stored(keys::showInDock), std::nullopt);
    EXPECT_EQ(settings.stored(keys::localOnlyMode), std::nullopt);
    EXPECT_EQ(settings.stored(keys::launchAtLogin), std::nullopt);
    EXPECT_EQ(settings.stored(keys::retentionPeriodDays), std::nullopt);
    EXPECT_EQ(settings.stored(keys::onboardingStep), std::nullopt);
    EXPECT_EQ(settings.stored(keys::language), std::nullopt);
    EXPECT_EQ(settings.stored(keys::scratchpadText), std::nullopt);
    EXPECT_EQ(settings.stored(keys::hotkeyBindings), std::nullopt);
    EXPECT_EQ(settings.stored(keys::accessToken), std::nullopt);
    EXPECT_TRUE(settings.read(keys::showInDock));
    EXPECT_TRUE(settings.read(keys::aiProcessingEnabled));
    EXPECT_FALSE(settings.read(keys::localOnlyMode));
    EXPECT_TRUE(settings.has("retentionPeriodDays"));
    EXPECT_EQ(settings.rawValue(keys::retentionPeriodDays), base::Json("7"));

    settings.set(keys::userEmail, "a@b.c");
    EXPECT_EQ(onDisk()["localOnlyMode"], base::Json(1));
    settings.set(keys::localOnlyMode, true);
    EXPECT_EQ(onDisk()["localOnlyMode"], base::Json(true));
}

TEST_F(SettingsTest, ReadsDataInItsOwnFormOnly) {
    for (const char* value :
         {R"({"base64":"e30"})", R"({"base64":5})", R"({"base64":"e30=","more":1})", "{}", "[]"}) {
        write(std::string(R"({"hotkeyBindings":)") + value + "}");
        EXPECT_EQ(Settings(file()).stored(keys::hotkeyBindings), std::nullopt) << value;
    }
}

TEST_F(SettingsTest, KeepsUnknownKeys) {
    write(R"({"ofALaterVersion":{"deep":[1,2.5,null]},"language":"de"})");
    Settings settings(file());
    settings.set(keys::language, "fr");
    EXPECT_EQ(onDisk(), *base::parseJson(R"({"ofALaterVersion":{"deep":[1,2.5,null]},"language":"fr"})"));
}

TEST_F(SettingsTest, MakesTheFileAndItsFolderPrivate) {
    Settings settings(file());
    settings.set(keys::accessToken, "token");
    EXPECT_EQ(modeOf(file()), 0600U);
    EXPECT_EQ(modeOf(folder()), 0700U);

    fs::permissions(file(), fs::perms(0644));
    fs::permissions(folder(), fs::perms(0755));
    settings.set(keys::accessToken, "other");
    EXPECT_EQ(modeOf(file()), 0600U);
    EXPECT_EQ(modeOf(folder()), 0700U);
}

TEST_F(SettingsTest, MakesAFilePrivateWhenItIsLoaded) {
    write(R"({"com.sonvale.accessToken":"token"})");
    fs::permissions(file(), fs::perms(0644));
    const Settings settings(file());
    EXPECT_EQ(modeOf(file()), 0600U);
}

TEST_F(SettingsTest, RepairsTextThatIsNotUtf8) {
    {
        Settings settings(file());
        settings.set(keys::scratchpadText, "a\xFFz");
        EXPECT_EQ(settings.stored(keys::scratchpadText), "a\uFFFDz");
    }
    EXPECT_EQ(Settings(file()).stored(keys::scratchpadText), "a\uFFFDz");
}

TEST_F(SettingsTest, DoesNotWriteAnEqualValueAgain) {
    Settings settings(file());
    settings.set(keys::language, "de");
    fs::remove(file());
    settings.set(keys::language, "de");
    EXPECT_FALSE(fs::exists(file()));
    settings.set(keys::language, "fr");
    EXPECT_TRUE(fs::exists(file()));
}

TEST_F(SettingsTest, PutsEveryBrokenFileAsideAndLogsItWithoutItsContent) {
    const std::string secret = "\"com.sonvale.accessToken\":\"secret-token\"";
    const std::string broken[] = {
        "",
        "{" + secret,
        "[" + secret + "]",
        "{" + secret + std::string("}\0", 2),
        "\xFF\xFE" + secret,
        "[1,2]",
        "5",
        "\"" + secret,
        std::string(100000, '['),
        "{" + secret + "," + secret + ",}",
    };
    int number = 0;
    for (const auto& content : broken) {
        write(content);
        Settings settings(file());
        ++number;
        EXPECT_FALSE(settings.has("com.sonvale.accessToken"));
        EXPECT_FALSE(fs::exists(file()));
        EXPECT_EQ(contentOf(aside(number)), content);
        settings.set(keys::language, "de");
        EXPECT_EQ(Settings(file()).stored(keys::language), "de");
    }
    ASSERT_EQ(log_.lines().size(), std::size(broken));
    for (const auto& line : log_.lines()) {
        EXPECT_EQ(line.level, base::LogLevel::error);
        EXPECT_EQ(line.category, "Settings");
        EXPECT_EQ(line.text.find("secret"), std::string::npos);
        EXPECT_EQ(line.text.find("put aside"), line.text.size() - 9) << line.text;
    }
}

TEST_F(SettingsTest, PutsAsideAFolderInItsPlace) {
    fs::create_directories(file() / "inside");
    Settings settings(file());
    EXPECT_TRUE(fs::is_directory(aside(1) / "inside"));
    settings.set(keys::language, "de");
    EXPECT_EQ(Settings(file()).stored(keys::language), "de");
}

TEST_F(SettingsTest, DoesNotWaitForAPipe) {
    fs::create_directories(folder());
    ASSERT_EQ(::mkfifo(file().c_str(), 0600), 0);
    Settings settings(file());
    settings.set(keys::language, "de");
    EXPECT_EQ(Settings(file()).stored(keys::language), "de");
}

TEST_F(SettingsTest, KeepsTheValueInMemoryOnAFullDiskAndWritesItLater) {
    Settings settings(file());
    settings.set(keys::language, "de");
    const auto before = contentOf(file());
    const std::string secret(5000, 's');
    {
        const tests::FileSizeLimit fullDisk(1000);
        settings.set(keys::scratchpadText, secret);
        EXPECT_EQ(settings.stored(keys::scratchpadText), secret);
        EXPECT_EQ(contentOf(file()), before);
        ASSERT_EQ(log_.lines().size(), 1U);
        EXPECT_EQ(log_.lines()[0].text.find("sss"), std::string::npos);
        settings.synchronize();
        EXPECT_EQ(log_.lines().size(), 2U);
    }
    settings.synchronize();
    EXPECT_EQ(Settings(file()).stored(keys::scratchpadText), secret);
    EXPECT_EQ(Settings(file()).stored(keys::language), "de");
    EXPECT_EQ(log_.lines().size(), 2U);
}

TEST_F(SettingsTest, WritesAnEqualValueAgainAfterAFailure) {
    Settings settings(file());
    {
        const tests::FileSizeLimit fullDisk(0);
        settings.set(keys::language, "de");
    }
    settings.set(keys::language, "de");
    EXPECT_EQ(Settings(file()).stored(keys::language), "de");
}

TEST_F(SettingsTest, WorksIfItsFolderCannotBeMade) {
    writeFile(folder(), "in the way");
    Settings settings(file());
    settings.set(keys::language, "de");
    EXPECT_EQ(settings.stored(keys::language), "de");
    ASSERT_FALSE(log_.lines().empty());
    EXPECT_EQ(contentOf(folder()), "in the way");
}

TEST_F(SettingsTest, LeavesNoOtherFiles) {
    {
        Settings settings(file());
        for (int i = 0; i < 10; ++i)
            settings.set(keys::onboardingStep, i);
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(folder()), fs::directory_iterator()), 1);
}

TEST_F(SettingsTest, IsWholeIfTheProcessIsKilledAtAnyTime) {
    constexpr int rounds = 40;
    for (int round = 0; round < rounds; ++round) {
        int progress[2];
        ASSERT_EQ(::pipe(progress), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::close(progress[0]);
            Settings settings(file());
            for (std::int64_t i = 1;; ++i) {
                settings.set(keys::scratchpadText, std::string(static_cast<std::size_t>(i % 7) * 9000, 'x'));
                settings.set(keys::onboardingStep, i);
                if (::write(progress[1], &i, sizeof i) != sizeof i)
                    ::_exit(1);
            }
        }
        ::close(progress[1]);
        std::int64_t confirmed = 0;
        for (int i = 0; i <= round % 5; ++i)
            ASSERT_EQ(::read(progress[0], &confirmed, sizeof confirmed), ssize_t{sizeof confirmed});
        // A different time within the next change in each round.
        for (volatile int spin = 0; spin < round * 20000; spin = spin + 1) {
        }
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ::close(progress[0]);

        const Settings settings(file());
        EXPECT_FALSE(fs::exists(aside(1)));
        const auto step = settings.stored(keys::onboardingStep);
        ASSERT_TRUE(step);
        EXPECT_GE(*step, confirmed);
        const auto text = settings.stored(keys::scratchpadText);
        ASSERT_TRUE(text);
        EXPECT_EQ(*text, std::string(text->size(), 'x'));
    }
    EXPECT_TRUE(log_.lines().empty());
}

// Tests of the disk.

TEST_F(SettingsTest, WaitsForTheDiskOnAnotherThreadOnly) {
    const SynchronizationWatch watch;
    {
        Settings settings(file());
        for (int i = 0; i < 20; ++i)
            settings.set(keys::onboardingStep, i);
        settings.synchronize();
        EXPECT_EQ(watch.onThisThread(), 0);
    }
    EXPECT_EQ(watch.onThisThread(), 0);
    EXPECT_GE(watch.all(), 2) << "the file and its folder";
}

TEST_F(SettingsTest, KeepsTheFlushedVersionUntilTheNextOneIsFlushed) {
    write(R"({"language":"de"})");
    std::string durable;
    bool isFollowed = false;
    {
        const SynchronizationWatch watch([&] {
            durable = contentOf(durableFile());
            isFollowed = contentOf(file()).find("fr") != std::string::npos;
        });
        Settings settings(file());
        settings.set(keys::language, "fr");
    }
    EXPECT_EQ(durable, R"({"language":"de"})");
    EXPECT_TRUE(isFollowed);
    EXPECT_FALSE(fs::exists(durableFile()));
    EXPECT_EQ(Settings(file()).stored(keys::language), "fr");
}

TEST_F(SettingsTest, ReadsTheFlushedVersionAfterALossOfPower) {
    for (const auto& damaged : {std::string(), std::string(100, '\0'), std::string(R"({"language":)")}) {
        write(damaged);
        writeFile(durableFile(), R"({"language":"de"})");
        Settings settings(file());
        EXPECT_EQ(settings.stored(keys::language), "de");
        settings.set(keys::onboardingStep, 3);
        EXPECT_EQ(onDisk(), *base::parseJson(R"({"language":"de","onboardingStep":3})"));
    }
    fs::remove(file());
    writeFile(durableFile(), R"({"language":"de"})");
    EXPECT_EQ(Settings(file()).stored(keys::language), "de") << "the new version never came to the disk";
}

TEST_F(SettingsTest, PrefersAWholeNewVersionToTheFlushedOne) {
    write(R"({"language":"fr"})");
    writeFile(durableFile(), R"({"language":"de"})");
    {
        const Settings settings(file());
        EXPECT_EQ(settings.stored(keys::language), "fr");
    }
    EXPECT_FALSE(fs::exists(durableFile()));
    EXPECT_TRUE(log_.lines().empty());
}

// Tests of several sessions of one user.

TEST_F(SettingsTest, KeepsChangesOfAnotherSession) {
    Settings first(file());
    Settings second(file());
    first.set(keys::refreshToken, "old");
    EXPECT_EQ(second.stored(keys::refreshToken), "old");

    first.set(keys::refreshToken, "rotated");
    second.set(keys::scratchpadText, "notes");
    first.remove(keys::language);
    second.set(keys::language, "de");
    first.set(keys::language, "fr");

    for (const auto* settings : {&first, &second}) {
        EXPECT_EQ(settings->stored(keys::refreshToken), "rotated");
        EXPECT_EQ(settings->stored(keys::scratchpadText), "notes");
        EXPECT_EQ(settings->stored(keys::language), "fr");
    }
    EXPECT_EQ(onDisk(),
              *base::parseJson(
                  R"({"com.sonvale.refreshToken":"rotated","scratchpadText":"notes","language":"fr"})"));
}

TEST_F(SettingsTest, DoesNotRestoreKeysThatAnotherSessionHasRemoved) {
    Settings first(file());
    first.set(keys::accessToken, "token");
    Settings second(file());
    EXPECT_TRUE(second.has("com.sonvale.accessToken"));
    first.remove(keys::accessToken);
    second.set(keys::language, "de");
    EXPECT_FALSE(second.has("com.sonvale.accessToken"));
    EXPECT_EQ(contentOf(file()).find("token"), std::string::npos);
}

TEST_F(SettingsTest, SetsAValueThatAnotherSessionHasChanged) {
    Settings first(file());
    Settings second(file());
    first.set(keys::language, "de");
    second.set(keys::language, "fr");
    first.set(keys::language, "de");
    EXPECT_EQ(onDisk()["language"], "de");
}

TEST_F(SettingsTest, WritesOnlyItsOwnChangesAfterAFailure) {
    Settings first(file());
    Settings second(file());
    first.set(keys::userEmail, "a@b.c");
    {
        const tests::FileSizeLimit fullDisk(0);
        second.set(keys::language, "de");
        EXPECT_EQ(second.stored(keys::language), "de");
    }
    first.set(keys::userEmail, "d@e.f");
    EXPECT_EQ(second.stored(keys::userEmail), "d@e.f");
    EXPECT_EQ(second.stored(keys::language), "de") << "counts before it is written";
    second.synchronize();
    EXPECT_EQ(onDisk(), *base::parseJson(R"({"com.sonvale.userEmail":"d@e.f","language":"de"})"));
}

TEST_F(SettingsTest, KeepsItsOwnTableWhenAnotherProgramDamagesTheFile) {
    Settings settings(file());
    settings.set(keys::language, "de");
    write("{ half of a fil");
    EXPECT_EQ(settings.stored(keys::language), "de");
    settings.set(keys::onboardingStep, 2);
    EXPECT_EQ(onDisk(), *base::parseJson(R"({"language":"de","onboardingStep":2})"));
    write(R"({"language":"fr"})");
    EXPECT_EQ(settings.stored(keys::language), "fr") << "written by hand";
}

TEST_F(SettingsTest, LosesNoChangeOfTwoProcesses) {
    constexpr std::int64_t changes = 300;
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    {
        Settings settings(file());
        for (std::int64_t i = 1; i <= changes; ++i) {
            if (child == 0)
                settings.set(keys::onboardingStep, i);
            else
                settings.set(keys::retentionPeriodDays, i);
        }
        const auto own = settings.stored(child == 0 ? keys::onboardingStep : keys::retentionPeriodDays);
        if (child == 0)
            ::_exit(own == changes ? 0 : 1);
        EXPECT_EQ(own, changes);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    const Settings settings(file());
    EXPECT_EQ(settings.stored(keys::onboardingStep), changes);
    EXPECT_EQ(settings.stored(keys::retentionPeriodDays), changes);
}

TEST_F(SettingsTest, WorksOnSeveralThreads) {
    Settings settings(file());
    {
        std::vector<std::jthread> threads;
        threads.emplace_back([&] {
            for (int i = 0; i < 40; ++i)
                settings.set(keys::onboardingStep, i);
        });
        threads.emplace_back([&] {
            for (int i = 0; i < 40; ++i)
                settings.set(keys::language, i % 2 == 0 ? "de" : "en");
        });
        threads.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                const auto language = settings.read(keys::language);
                EXPECT_TRUE(language.empty() || language == "de" || language == "en");
            }
        });
        threads.emplace_back([&] { settings.registerDefaults(); });
    }
    const Settings reloaded(file());
    EXPECT_EQ(reloaded.stored(keys::onboardingStep), 39);
    EXPECT_EQ(reloaded.stored(keys::language), "en");
}

} // namespace sonvale::persistence
