#include "runtime/Clock.h"

#include "runtime/ManualClock.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace sonvale::runtime {

TEST(ManualClock, RunsTimersInOrderOfTimeAndThenOfScheduling) {
    ManualClock clock;
    std::vector<std::string> log;
    clock.schedule(2, [&] { log.emplace_back("late"); });
    clock.schedule(1, [&] { log.emplace_back("first"); });
    clock.schedule(1, [&] { log.emplace_back("second"); });
    clock.advance(1.5);
    EXPECT_EQ(log, (std::vector<std::string>{"first", "second"}));
    clock.advance(0.5);
    EXPECT_EQ(log.back(), "late");
}

TEST(ManualClock, ShowsEachTimerItsOwnTime) {
    ManualClock clock;
    const auto start = clock.now();
    const auto startDate = clock.date();
    double seen = 0;
    Date seenDate;
    clock.schedule(0.25, [&] {
        seen = clock.now();
        seenDate = clock.date();
    });
    clock.advance(10);
    EXPECT_DOUBLE_EQ(seen - start, 0.25);
    EXPECT_EQ(seenDate - startDate, std::chrono::milliseconds(250));
    EXPECT_DOUBLE_EQ(clock.now() - start, 10);
}

TEST(ManualClock, RunsTimersThatAreScheduledOnTheWay) {
    ManualClock clock;
    int ticks = 0;
    std::function<void()> tick = [&] {
        ++ticks;
        clock.schedule(0.1, tick);
    };
    clock.schedule(0.1, tick);
    clock.advance(1);
    EXPECT_EQ(ticks, 10);
}

TEST(ManualClock, DropsACancelledTimer) {
    ManualClock clock;
    bool ran = false;
    const auto timer = clock.schedule(1, [&] { ran = true; });
    EXPECT_TRUE(clock.cancel(timer));
    EXPECT_FALSE(clock.cancel(timer));
    clock.advance(2);
    EXPECT_FALSE(ran);
}

TEST(Clock, TruncatesElapsedMilliseconds) {
    ManualClock clock;
    const auto start = clock.now();
    clock.advance(0.0129);
    EXPECT_EQ(millisecondsSince(clock, start), 12);
}

} // namespace sonvale::runtime
