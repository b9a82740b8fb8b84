#include "runtime/OwnedTasks.h"

#include "tests/support/TestRuntime.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace sonvale::runtime {

namespace {

using Log = std::vector<std::string>;

struct Part {
    Part(Log& l, Clock& c)
        : log(l)
        , clock(c) {}

    Task<> work(std::string name, double seconds) {
        log.push_back(name + " begins");
        const auto outcome = co_await sleep(clock, seconds);
        log.push_back(name + (outcome == SleepOutcome::finished ? " ends" : " is interrupted"));
    }

    Log& log;
    Clock& clock;
};

struct Whole {
    Whole(tests::TestRuntime& runtime, Log& l)
        : log(l)
        , part(l, runtime.clock())
        , tasks(runtime.main(), runtime.clock()) {}
    ~Whole() { log.emplace_back("gone"); }
    Whole(const Whole&) = delete;
    Whole& operator=(const Whole&) = delete;

    Log& log;
    Part part;
    OwnedTasks tasks;
};

class OwnedTasksTest : public testing::Test {
protected:
    OwnedTasksTest() { whole->tasks.setOwner(whole); }

    OwnedTasks& tasks() { return whole->tasks; }
    Part& part() { return whole->part; }

    tests::TestRuntime runtime;
    Log log;
    std::shared_ptr<Whole> whole = std::make_shared<Whole>(runtime, log);
};

Task<std::string> sleepAndReturn(Clock* clock, double seconds, std::string value) {
    const bool isFinished = co_await sleep(*clock, seconds) == SleepOutcome::finished;
    co_return isFinished ? value : "interrupted";
}

Task<> sleepAndLog(Clock* clock, double seconds, Log* log) {
    co_await sleep(*clock, seconds);
    log->emplace_back("slept");
}

} // namespace

TEST_F(OwnedTasksTest, CallQueuesAndKeepsTheOwnerUntilTheEnd) {
    tasks().call(part(), &Part::work, "call", 1.0);
    EXPECT_TRUE(log.empty()) << "it never runs inside the caller";
    runtime.runUntilIdle();
    whole.reset();
    EXPECT_EQ(log, Log{"call begins"});
    runtime.clock().advance(1);
    EXPECT_EQ(log, (Log{"call begins", "call ends", "gone"}));
}

TEST_F(OwnedTasksTest, CallDoesNothingIfTheOwnerIsGoneBefore) {
    const auto task = tasks().call(part(), &Part::work, "call", 1.0);
    whole.reset();
    runtime.runUntilIdle();
    EXPECT_EQ(log, Log{"gone"});
    EXPECT_TRUE(task.isDone());
}

TEST_F(OwnedTasksTest, CallKeepingKeepsTheOwnerFromTheStart) {
    tasks().callKeeping(part(), &Part::work, "call", 1.0);
    whole.reset();
    EXPECT_TRUE(log.empty());
    runtime.clock().advance(1);
    EXPECT_EQ(log, (Log{"call begins", "call ends", "gone"}));
}

TEST_F(OwnedTasksTest, LaterCallsOnceAndDoesNotKeepTheOwner) {
    tasks().later<Part>(part(), 1, [](Part& p) { p.log.emplace_back("later"); });
    runtime.clock().advance(0.9);
    EXPECT_TRUE(log.empty());
    runtime.clock().advance(5);
    EXPECT_EQ(log, Log{"later"});

    tasks().later<Part>(part(), 1, [](Part& p) { p.log.emplace_back("later"); });
    runtime.runUntilIdle();
    whole.reset();
    EXPECT_EQ(log, (Log{"later", "gone"}));
    runtime.clock().advance(5);
    EXPECT_EQ(log, (Log{"later", "gone"}));
}

TEST_F(OwnedTasksTest, LaterIsDroppedByCancelling) {
    const auto task = tasks().later<Part>(part(), 1, [](Part& p) { p.log.emplace_back("later"); });
    runtime.runUntilIdle();
    task.cancel();
    runtime.clock().advance(5);
    EXPECT_TRUE(log.empty());
    EXPECT_TRUE(task.isDone());
}

TEST_F(OwnedTasksTest, RepeatCallsAtOnceAndThenInEachPeriodUntilTheStepSaysNo) {
    int calls = 0;
    const auto task = tasks().repeat<Part>(part(), 1, [&calls](Part&) { return ++calls < 3; });
    EXPECT_EQ(calls, 0) << "it never runs inside the caller";
    runtime.runUntilIdle();
    EXPECT_EQ(calls, 1);
    runtime.clock().advance(1);
    EXPECT_EQ(calls, 2);
    EXPECT_FALSE(task.isDone());
    runtime.clock().advance(10);
    EXPECT_EQ(calls, 3);
    EXPECT_TRUE(task.isDone());
}

TEST_F(OwnedTasksTest, RepeatEndsWithTheOwnerOrWhenItIsCancelled) {
    int calls = 0;
    const auto cancelled = tasks().repeat<Part>(part(), 1, [&calls](Part&) { return ++calls > 0; });
    runtime.runUntilIdle();
    cancelled.cancel();
    runtime.clock().advance(3);
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(cancelled.isDone());

    const auto left = tasks().repeat<Part>(part(), 1, [&calls](Part&) { return ++calls > 0; });
    runtime.runUntilIdle();
    whole.reset();
    EXPECT_EQ(log, Log{"gone"}) << "it does not keep the owner while it sleeps";
    runtime.clock().advance(3);
    EXPECT_EQ(calls, 2);
    EXPECT_TRUE(left.isDone());
}

TEST_F(OwnedTasksTest, RunDoesNotKeepTheOwnerWhileTheTaskRuns) {
    const std::function<Task<>(Part&)> begin = [](Part& p) { return sleepAndLog(&p.clock, 1, &p.log); };
    tasks().run(part(), begin);
    runtime.runUntilIdle();
    whole.reset();
    EXPECT_EQ(log, Log{"gone"});
    runtime.clock().advance(1);
    EXPECT_EQ(log, (Log{"gone", "slept"}));
}

TEST_F(OwnedTasksTest, RunDoesNotBeginIfTheOwnerIsGone) {
    tasks().run<Part>(part(), [](Part& p) { return sleepAndLog(&p.clock, 1, &p.log); });
    whole.reset();
    runtime.clock().advance(1);
    EXPECT_EQ(log, Log{"gone"});
}

TEST_F(OwnedTasksTest, DeliverHandsTheValueToAnOwnerThatIsThere) {
    const std::function<void(Part&, std::string)> receive = [](Part& p, std::string value) {
        p.log.push_back(std::move(value));
    };
    tasks().deliver(part(), sleepAndReturn(&runtime.clock(), 1, "value"), receive);
    runtime.clock().advance(1);
    EXPECT_EQ(log, Log{"value"});

    tasks().deliver(part(), sleepAndReturn(&runtime.clock(), 1, "value"), receive);
    runtime.runUntilIdle();
    whole.reset();
    EXPECT_EQ(log, (Log{"value", "gone"})) << "the work does not keep it";
    runtime.clock().advance(1);
    EXPECT_EQ(log, (Log{"value", "gone"}));
}

TEST_F(OwnedTasksTest, DeliverDropsWorkThatHasNotStartedWhenTheOwnerGoes) {
    const auto task =
        tasks().deliver<Part, std::string>(part(), sleepAndReturn(&runtime.clock(), 1, "value"), {});
    whole.reset();
    runtime.runUntilIdle();
    EXPECT_TRUE(task.isDone());
}

TEST_F(OwnedTasksTest, EndsWithTheMemberWithoutAnOwnerOfItsOwn) {
    int calls = 0;
    auto own = std::make_unique<OwnedTasks>(runtime.main(), runtime.clock());
    Part other(log, runtime.clock());
    const auto task = own->repeat<Part>(other, 1, [&calls](Part&) { return ++calls > 0; });
    runtime.clock().advance(1);
    EXPECT_EQ(calls, 2);
    own.reset();
    runtime.clock().advance(5);
    EXPECT_EQ(calls, 2);
    EXPECT_TRUE(task.isDone());
}

TEST_F(OwnedTasksTest, WeakExpiresWithTheOwner) {
    const auto weak = tasks().weak(part());
    EXPECT_EQ(weak.lock().get(), &part());
    whole.reset();
    EXPECT_TRUE(weak.expired());
}

} // namespace sonvale::runtime
