#include "transcription/PreWarmTimer.h"

#include "tests/support/TestRuntime.h"

#include <gtest/gtest.h>

#include <optional>

namespace sonvale::transcription {

namespace {

constexpr platform::AudioFormat stereo{48000, 2};

class PreWarmTimerTest : public testing::Test {
protected:
    ~PreWarmTimerTest() override { runtime_.endTasks(); }

    runtime::TaskHandle<> makeTask() { return runtime::spawn(runtime_.pool(), wait(&runtime_.clock())); }

    tests::TestRuntime runtime_;
    std::optional<PreWarmTimer> timer_{std::in_place};

private:
    static runtime::Task<> wait(runtime::Clock* clock) { co_await runtime::sleep(*clock, 100); }
};

} // namespace

TEST_F(PreWarmTimerTest, CancelsTheEarlierTimer) {
    timer_->expect(stereo);
    const auto first = makeTask();
    const auto second = makeTask();
    timer_->start(first);
    EXPECT_FALSE(first.isCancelled());
    timer_->start(second);
    EXPECT_TRUE(first.isCancelled());
    EXPECT_FALSE(second.isCancelled());
}

TEST_F(PreWarmTimerTest, CancelsATimerThatStartsAfterTheSessionIsInUse) {
    timer_->expect(stereo);
    timer_->clear();
    EXPECT_EQ(timer_->format(), std::nullopt);
    const auto task = makeTask();
    timer_->start(task);
    EXPECT_TRUE(task.isCancelled());
}

TEST_F(PreWarmTimerTest, KeepsTheFormatWhenItIsCancelled) {
    timer_->expect(stereo);
    const auto task = makeTask();
    timer_->start(task);
    timer_->cancel();
    EXPECT_TRUE(task.isCancelled());
    ASSERT_TRUE(timer_->format());
    EXPECT_EQ(timer_->format()->channelCount, 2);
}

TEST_F(PreWarmTimerTest, CancelsTheTimerWhenDestroyed) {
    timer_->expect(stereo);
    const auto task = makeTask();
    timer_->start(task);
    timer_.reset();
    EXPECT_TRUE(task.isCancelled());
}

} // namespace sonvale::transcription
