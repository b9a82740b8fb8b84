#include "persistence/AuditLogger.h"

#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestRuntime.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

namespace sonvale::persistence {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using tests::contentOf;
using tests::modeOf;
using tests::writeFile;

constexpr std::size_t sizeLimit = 10'485'760;

class AuditLoggerTest : public testing::Test {
protected:
    AuditLoggerTest() { runtime_.clock().setDate(*base::parseIso8601("2026-11-16T00:59:08Z")); }

    fs::path directory() const { return fs::path(root_.path()) / "share/com.sonvale.app"; }
    fs::path file() const { return directory() / "audit.log"; }

    std::unique_ptr<AuditLogger> makeLogger() {
        return std::make_unique<AuditLogger>(runtime_.makeSerialActor("audit"), runtime_.clock(),
                                             fs::path(root_.path()) / "share");
    }

    void setDate(const char* text) { runtime_.clock().setDate(*base::parseIso8601(text)); }

    void writeLog(std::string_view content) const {
        fs::create_directories(directory());
        writeFile(file(), content);
    }

    /// Makes a file whose content was last changed at that time.
    fs::path writeModified(const char* name, const char* moment) const {
        fs::create_directories(directory());
        const auto path = directory() / name;
        writeFile(path, "old\n");
        const auto seconds =
            std::chrono::floor<std::chrono::seconds>(*base::parseIso8601(moment)).time_since_epoch().count();
        const timespec times[2] = {{seconds, 0}, {seconds, 0}};
        EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
        return path;
    }

    static std::string launchLine(const std::string& timestamp = "2026-11-16T00:59:08Z") {
        return R"({"actor":"system","eventType":"appLaunch","metadata":{},"outcome":"success","resource":"app","timestamp":")" +
               timestamp + "\"}\n";
    }

    tests::TestRuntime runtime_;
    tests::LogCapture log_;

private:
    tests::TemporaryDirectory root_;
};

} // namespace

TEST(AuditEventType, HasANameForEachEvent) {
    const std::vector<std::string_view> wanted{
        "appLaunch",
        "appClose",
        "recordingStarted",
        "recordingStopped",
        "transcriptionRequested",
        "transcriptionReceived",
        "aiProcessingRequested",
        "aiProcessingReceived",
        "textInserted",
        "settingsChanged",
        "dataDeleted",
        "dataExported",
        "privacyModeToggled",
        "error",
    };
    std::vector<std::string_view> names;
    for (const auto type : allAuditEventTypes) {
        names.push_back(rawValue(type));
        EXPECT_EQ(auditEventType(rawValue(type)), type);
    }
    EXPECT_EQ(names, wanted);
    EXPECT_EQ(auditEventType("applaunch"), std::nullopt);
}

TEST(AuditLine, IsCompactSortedAndEscaped) {
    const auto moment = *base::parseIso8601("2026-11-16T01:59:08.9+01:00");
    EXPECT_EQ(
        auditLine({moment, AuditEventType::appLaunch, "system", "app", "success", {}}),
        R"({"actor":"system","eventType":"appLaunch","metadata":{},"outcome":"success","resource":"app",)"
        R"("timestamp":"2026-11-16T00:59:08Z"})");
    EXPECT_EQ(
        auditLine({moment,
                   AuditEventType::error,
                   "system",
                   "a/b\"c\\d\n\t\r\b\f\x01\x1F\x7F\u2028\u00E9",
                   "failure",
                   {{"z", "1"}, {"a/", ""}, {"B", "2"}}}),
        R"({"actor":"system","eventType":"error","metadata":{"B":"2","a\/":"","z":"1"},"outcome":"failure",)"
        R"("resource":"a\/b\"c\\d\n\t\r\b\f\u0001\u001f)"
        "\x7F\u2028\u00E9"
        R"(","timestamp":"2026-11-16T00:59:08Z"})");
}

TEST(AuditLine, RepairsInvalidUtf8) {
    EXPECT_EQ(
        auditLine({base::Date{}, AuditEventType::error, "\xFF", "", "", {{"\xC3", "\x80"}}}),
        "{\"actor\":\"\uFFFD\",\"eventType\":\"error\",\"metadata\":{\"\uFFFD\":\"\uFFFD\"},\"outcome\":\"\","
        "\"resource\":\"\",\"timestamp\":\"1970-01-01T00:00:00Z\"}");
}

TEST_F(AuditLoggerTest, WritesEachEvent) {
    const auto logger = makeLogger();
    logger->logAppLaunch();
    logger->logRecordingStarted();
    logger->logRecordingStopped(12.345678);
    logger->logTranscriptionRequested(3'000'000'000, "whisper-api");
    logger->logTranscriptionReceived(7, 1234);
    logger->logAIProcessingRequested("gpt-4o-mini");
    logger->logAIProcessingReceived(10, 20, 30);
    logger->logError("audioRecorder", "recording-start-failed");
    logger->log(AuditEventType::dataDeleted, "system", "dataRetention", "success",
                {{"transcriptionsDeleted", "0"}, {"tempFilesRemoved", "1"}});
    runtime_.runUntilIdle();

    constexpr std::string_view entries[] = {
        R"("actor":"system","eventType":"appLaunch","metadata":{},"outcome":"success","resource":"app")",
        R"("actor":"user","eventType":"recordingStarted","metadata":{},"outcome":"success","resource":"recording")",
        R"("actor":"user","eventType":"recordingStopped","metadata":{"durationSeconds":"12.35"},"outcome":"success","resource":"recording")",
        R"("actor":"system","eventType":"transcriptionRequested","metadata":{"audioSizeBytes":"3000000000","engine":"whisper-api"},"outcome":"success","resource":"transcription")",
        R"("actor":"system","eventType":"transcriptionReceived","metadata":{"latencyMs":"1234","wordCount":"7"},"outcome":"success","resource":"transcription")",
        R"("actor":"system","eventType":"aiProcessingRequested","metadata":{"engine":"gpt-4o-mini"},"outcome":"success","resource":"aiProcessing")",
        R"("actor":"system","eventType":"aiProcessingReceived","metadata":{"inputTokens":"10","latencyMs":"30","outputTokens":"20"},"outcome":"success","resource":"aiProcessing")",
        R"("actor":"system","eventType":"error","metadata":{"errorDetails":"recording-start-failed"},"outcome":"failure","resource":"audioRecorder")",
        R"("actor":"system","eventType":"dataDeleted","metadata":{"tempFilesRemoved":"1","transcriptionsDeleted":"0"},"outcome":"success","resource":"dataRetention")",
    };
    std::string wanted;
    for (const auto entry : entries)
        wanted += fmt::format("{{{},\"timestamp\":\"2026-11-16T00:59:08Z\"}}\n", entry);
    EXPECT_EQ(contentOf(file()), wanted);
}

TEST_F(AuditLoggerTest, FormatsUnusualDurations) {
    const auto logger = makeLogger();
    for (const double seconds : {0.0, 0.005, 1e6, -1.0})
        logger->logRecordingStopped(seconds);
    runtime_.runUntilIdle();
    for (const char* wanted : {"\"0.00\"", "\"0.01\"", "\"1000000.00\"", "\"-1.00\""})
        EXPECT_NE(contentOf(file()).find(wanted), std::string::npos) << wanted;
}

TEST_F(AuditLoggerTest, DoesNotUseFilesOnTheCallersThread) {
    const auto logger = makeLogger();
    logger->logAppLaunch();
    EXPECT_FALSE(fs::exists(directory()));
    runtime_.runUntilIdle();
    EXPECT_TRUE(fs::exists(file()));
}

TEST_F(AuditLoggerTest, WritesTheTimeOfTheCall) {
    const auto logger = makeLogger();
    logger->logAppLaunch();
    setDate("2026-11-16T01:00:00Z");
    logger->logAppLaunch();
    setDate("2026-11-16T02:00:00Z");
    runtime_.runUntilIdle();
    EXPECT_EQ(contentOf(file()), launchLine() + launchLine("2026-11-16T01:00:00Z"));
}

TEST_F(AuditLoggerTest, KeepsTheOrderOfTheCalls) {
    const auto logger = makeLogger();
    std::string wanted;
    for (int i = 0; i < 200; ++i) {
        logger->logError("r", std::to_string(i));
        wanted += std::to_string(i) + ",";
    }
    runtime_.runUntilIdle();
    std::string order;
    const auto content = contentOf(file());
    constexpr std::string_view mark = "\"errorDetails\":\"";
    for (auto at = content.find(mark); at != std::string::npos; at = content.find(mark, at + 1))
        order +=
            content.substr(at + mark.size(), content.find('"', at + mark.size()) - at - mark.size()) + ",";
    EXPECT_EQ(order, wanted);
}

TEST_F(AuditLoggerTest, WritesNothingAfterItsDestruction) {
    auto logger = makeLogger();
    logger->logAppLaunch();
    logger.reset();
    runtime_.runUntilIdle();
    EXPECT_FALSE(fs::exists(directory()));
}

TEST_F(AuditLoggerTest, KeepsItsFilesPrivate) {
    const auto logger = makeLogger();
    logger->logAppLaunch();
    runtime_.runUntilIdle();
    EXPECT_EQ(modeOf(directory()), 0700U);
    EXPECT_EQ(modeOf(file()), 0600U);
    EXPECT_EQ(std::distance(fs::directory_iterator(directory()), fs::directory_iterator()), 1);
}

TEST_F(AuditLoggerTest, AppendsToAnEarlierLogAndToAnUnfinishedLine) {
    writeLog("earlier\nhalf");
    const auto logger = makeLogger();
    logger->logAppLaunch();
    runtime_.runUntilIdle();
    EXPECT_EQ(contentOf(file()), "earlier\nhalf" + launchLine());
}

TEST_F(AuditLoggerTest, RotatesALogOfExactlyTheLimit) {
    const std::string full(sizeLimit, 'x');
    writeLog(full);
    const auto logger = makeLogger();
    logger->logAppLaunch();
    setDate("2026-11-16T23:01:02Z");
    runtime_.runUntilIdle();
    EXPECT_EQ(contentOf(file()), launchLine());
    // The name contains the time of the move, not of the entry.
    EXPECT_EQ(contentOf(directory() / "audit-2026-11-16T23-01-02Z.log"), full);
}

TEST_F(AuditLoggerTest, DoesNotRotateALogOfOneByteLess) {
    writeLog(std::string(sizeLimit - 1, 'x'));
    const auto logger = makeLogger();
    logger->logAppLaunch();
    runtime_.runUntilIdle();
    EXPECT_EQ(fs::file_size(file()), sizeLimit - 1 + launchLine().size());
    EXPECT_EQ(std::distance(fs::directory_iterator(directory()), fs::directory_iterator()), 1);

    // That entry exceeded the limit; the next one begins a new file.
    logger->logAppLaunch();
    runtime_.runUntilIdle();
    EXPECT_EQ(contentOf(file()), launchLine());
}

TEST_F(AuditLoggerTest, KeepsTheFirstOfTwoRotationsWithinASecond) {
    const auto rotated = directory() / "audit-2026-11-16T00-59-08Z.log";
    writeLog(std::string(sizeLimit, '1'));
    const auto logger = makeLogger();
    logger->logAppLaunch();
    runtime_.runUntilIdle();
    writeLog(std::string(sizeLimit, '2'));
    logger->logAppLaunch();
    runtime_.runUntilIdle();

    EXPECT_EQ(contentOf(rotated), std::string(sizeLimit, '1'));
    EXPECT_EQ(contentOf(file()), std::string(sizeLimit, '2') + launchLine());

    setDate("2026-11-16T00:59:09Z");
    logger->logAppLaunch();
    runtime_.runUntilIdle();
    EXPECT_EQ(contentOf(file()), launchLine("2026-11-16T00:59:09Z"));
    EXPECT_TRUE(fs::exists(directory() / "audit-2026-11-16T00-59-09Z.log"));
}

TEST_F(AuditLoggerTest, DeletesRotatedFilesByTheirModificationDateAtTheStart) {
    const auto old = writeModified("audit-2025-11-15T00-00-00Z.log", "2025-11-15T00:59:08Z");
    const auto misnamed = writeModified("audit-2026-11-01T00-00-00Z.log", "2020-01-01T00:00:00Z");
    const auto recent = writeModified("audit-2019-01-01T00-00-00Z.log", "2025-11-18T00:00:00Z");
    const auto otherExtension = writeModified("audit-2025-11-15T00-00-00Z.txt", "2025-01-01T00:00:00Z");
    const auto otherPrefix = writeModified("audits.log", "2020-01-01T00:00:00Z");
    const auto hidden = writeModified(".audit-1.log", "2020-01-01T00:00:00Z");
    const auto live = writeModified("audit.log", "2020-01-01T00:00:00Z");

    const auto logger = makeLogger();
    EXPECT_TRUE(fs::exists(old));
    runtime_.runUntilIdle();

    EXPECT_FALSE(fs::exists(old));
    EXPECT_FALSE(fs::exists(misnamed));
    for (const auto& kept : {recent, otherExtension, otherPrefix, hidden, live})
        EXPECT_TRUE(fs::exists(kept)) << kept;
}

TEST_F(AuditLoggerTest, CleansUpAgainOnDemand) {
    const auto logger = makeLogger();
    runtime_.runUntilIdle();
    const auto old = writeModified("audit-x.log", "2025-11-15T00:59:08Z");
    logger->cleanupOldLogs();
    EXPECT_TRUE(fs::exists(old));
    runtime_.runUntilIdle();
    EXPECT_FALSE(fs::exists(old));
}

TEST_F(AuditLoggerTest, SkipsFilesThatItCannotDelete) {
    fs::create_directories(directory() / "audit-folder.log");
    writeModified("audit-folder.log/inside", "2020-01-01T00:00:00Z");
    const timespec times[2] = {{0, 0}, {0, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (directory() / "audit-folder.log").c_str(), times, 0), 0);
    const auto old = writeModified("audit-x.log", "2020-01-01T00:00:00Z");
    const auto logger = makeLogger();
    runtime_.runUntilIdle();
    EXPECT_TRUE(fs::exists(directory() / "audit-folder.log/inside"));
    EXPECT_FALSE(fs::exists(old));
}

TEST_F(AuditLoggerTest, LosesEntriesSilentlyWithoutAFolder) {
    fs::create_directories(directory().parent_path());
    writeFile(directory(), "in the way");
    const auto logger = makeLogger();
    logger->logAppLaunch();
    runtime_.runUntilIdle();
    EXPECT_EQ(contentOf(directory()), "in the way");

    fs::remove(directory());
    logger->logRecordingStarted();
    runtime_.runUntilIdle();
    EXPECT_EQ(contentOf(file()).find("appLaunch"), std::string::npos);
    EXPECT_NE(contentOf(file()).find("recordingStarted"), std::string::npos);
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(AuditLoggerTest, LosesAWholeEntryOnAFullDisk) {
    writeLog("earlier\n");
    const auto logger = makeLogger();
    runtime_.runUntilIdle();
    {
        const tests::FileSizeLimit fullDisk(20);
        logger->logAppLaunch();
        runtime_.runUntilIdle();
    }
    EXPECT_EQ(contentOf(file()), "earlier\n");
    logger->logAppLaunch();
    runtime_.runUntilIdle();
    EXPECT_EQ(contentOf(file()), "earlier\n" + launchLine());
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(AuditLoggerTest, DoesNotWaitForAPipe) {
    fs::create_directories(directory());
    ASSERT_EQ(::mkfifo(file().c_str(), 0600), 0);
    const auto logger = makeLogger();
    logger->logAppLaunch();
    runtime_.runUntilIdle();
    EXPECT_TRUE(fs::is_fifo(file()));
}

} // namespace sonvale::persistence
