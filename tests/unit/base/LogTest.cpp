#include "base/Log.h"

#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

namespace sonvale::base {

TEST(Log, PassesLinesToTheSinksWithCategoryAndLevel) {
    const tests::LogCapture capture;
    const Logger logger("Engine");
    logger.debug("a {}", 1);
    logger.info("b");
    logger.error("c");
    logger.fault("d");

    const auto lines = capture.lines();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0].level, LogLevel::debug);
    EXPECT_EQ(lines[0].text, "a 1");
    EXPECT_EQ(lines[1].level, LogLevel::info);
    EXPECT_EQ(lines[2].level, LogLevel::error);
    EXPECT_EQ(lines[3].level, LogLevel::fault);
    for (const auto& line : lines) {
        EXPECT_EQ(line.subsystem, "com.sonvale");
        EXPECT_EQ(line.category, "Engine");
    }
}

TEST(Log, NeverWritesPrivateText) {
    const tests::LogCapture capture;
    Logger("Engine").info("said {} and {:>12}", PrivateText{"the secret"}, PrivateText{""});
    EXPECT_EQ(capture.lines().at(0).text, "said <private> and    <private>");
}

TEST(Log, WritesEachKindToItsStream) {
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    Logger("Engine").error("failed");
    systemLog("[AppState] started");
    perfLog("stop took 12 ms");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[PERF] stop took 12 ms\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "error com.sonvale [Engine] failed\n[AppState] started\n");
}

TEST(Log, MarksTimingLines) {
    const tests::LogCapture capture;
    perfLog("stop took 12 ms");
    systemLog("[AppDelegate] ready");
    EXPECT_EQ(capture.perf(), std::vector<std::string>{"[PERF] stop took 12 ms"});
    EXPECT_EQ(capture.system(), std::vector<std::string>{"[AppDelegate] ready"});
}

TEST(Log, RestoresPreviousSinks) {
    const tests::LogCapture outer;
    {
        const tests::LogCapture inner;
        Logger("Engine").info("inner");
    }
    Logger("Engine").info("outer");
    ASSERT_EQ(outer.lines().size(), 1U);
    EXPECT_EQ(outer.lines()[0].text, "outer");
}

} // namespace sonvale::base
