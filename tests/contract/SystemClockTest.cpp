#include "runtime/SystemClock.h"

#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"

#include <gtest/gtest.h>

#include <ctime>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

namespace sonvale::tests {

namespace {

/// The clock's values in a separate program.
struct Reading {
    double now = 0;
    double secondsAsleep = 0;
    int timersClock = 0;
    double waited = 0;
};

Reading readClock(std::vector<std::string> launcher) {
    const TemporaryDirectory directory;
    launcher.emplace_back(SONVALE_CLOCK_PROGRAM);
    ChildProcess::Options options;
    options.arguments = std::move(launcher);
    options.outputFile = directory.path() + "/output";
    ChildProcess program(options);
    EXPECT_EQ(program.wait(30), 0) << contentOf(options.outputFile);
    std::istringstream output(contentOf(options.outputFile));
    Reading reading;
    output >> reading.now >> reading.secondsAsleep >> reading.timersClock >> reading.waited;
    EXPECT_FALSE(output.fail()) << output.str();
    return reading;
}

} // namespace

TEST(SystemClock, CountsTheTimeThatTheMachineSlept) {
    const auto awake = readClock({});
    // For the program inside, the machine has slept for a day more; CLOCK_MONOTONIC is the same.
    const auto rested = readClock({"unshare", "--user", "--map-root-user", "--time", "--boottime", "86400"});
    EXPECT_GT(rested.now - awake.now, 86399);
    EXPECT_LT(rested.now - awake.now, 86400 + 60);
    EXPECT_NEAR(rested.secondsAsleep - awake.secondsAsleep, 86400, 0.1);
}

TEST(SystemClock, HasTimersThatRunWhileTheMachineSleeps) {
    const auto reading = readClock({"unshare", "--user", "--map-root-user", "--time", "--boottime", "86400"});
    EXPECT_EQ(reading.timersClock, CLOCK_BOOTTIME);
    EXPECT_GE(reading.waited, 0.05);
    EXPECT_LT(reading.waited, 20);
}

TEST(SystemClock, RunsTimersInOrder) {
    std::mutex mutex;
    std::vector<int> order;
    runtime::SystemClock clock;
    const auto note = [&](int number) {
        return [&, number] {
            const std::lock_guard lock(mutex);
            order.push_back(number);
        };
    };
    const auto count = [&] {
        const std::lock_guard lock(mutex);
        return order.size();
    };
    const double start = clock.now();
    clock.schedule(3600, note(9));
    clock.schedule(0.3, note(3));
    clock.schedule(0.2, note(2));
    const auto dropped = clock.schedule(0.25, note(8));
    clock.schedule(0, note(0));
    clock.schedule(-1, note(1));
    EXPECT_TRUE(clock.cancel(dropped));
    EXPECT_FALSE(clock.cancel(dropped));
    EXPECT_TRUE(eventually(20, [&] { return count() == 4; }));
    EXPECT_GE(clock.now() - start, 0.3);
    const std::lock_guard lock(mutex);
    // A past time comes before the present time.
    EXPECT_EQ(order.back(), 3);
    EXPECT_EQ(order.at(2), 2);
}

TEST(SystemClock, EndsWithWaitingTimers) {
    bool hasRun = false;
    const double start = monotonicSeconds();
    {
        runtime::SystemClock clock;
        clock.schedule(3600, [&] { hasRun = true; });
    }
    EXPECT_FALSE(hasRun);
    EXPECT_LT(monotonicSeconds() - start, 20);
}

} // namespace sonvale::tests
