#include "runtime/Task.h"

#include "tests/support/TestRuntime.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace sonvale::runtime {

using tests::TestRuntime;

namespace {

Task<int> giveNumber(int number) {
    co_return number;
}

Task<int> throwWord(std::string word) {
    throw std::runtime_error(word);
    co_return 0;
}

Task<> note(std::vector<std::string>* log, std::string word) {
    log->push_back(std::move(word));
    co_return;
}

Task<SleepOutcome> sleepFor(Clock* clock, double seconds) {
    co_return co_await sleep(*clock, seconds);
}

Task<int> numberAfter(Clock* clock, double seconds, int number) {
    co_await sleep(*clock, seconds);
    co_return number;
}

Task<int> failAfter(Clock* clock, double seconds, std::string word) {
    co_await sleep(*clock, seconds);
    throw std::runtime_error(word);
}

std::string messageOf(const TaskHandle<int>& handle) {
    try {
        auto outcome = handle.state()->outcome;
        detail::take<int>(std::move(outcome));
    } catch (const std::exception& error) {
        return error.what();
    }
    return "no error";
}

} // namespace

TEST(Task, DoesNotBeginBeforeItIsAwaitedOrSpawned) {
    TestRuntime runtime;
    std::vector<std::string> log;
    auto task = note(&log, "ran");
    runtime.runUntilIdle();
    EXPECT_TRUE(log.empty());
    spawn(runtime.main(), std::move(task));
    runtime.runUntilIdle();
    EXPECT_EQ(log, std::vector<std::string>{"ran"});
}

TEST(Task, IsQueuedAndNeverRunsInsideTheCallerOfSpawn) {
    TestRuntime runtime;
    std::vector<std::string> log;
    runtime.main().post([&] {
        spawn(runtime.main(), note(&log, "task"));
        log.emplace_back("caller");
    });
    runtime.runUntilIdle();
    EXPECT_EQ(log, (std::vector<std::string>{"caller", "task"}));
}

TEST(Task, StartsInTheOrderOfSpawning) {
    TestRuntime runtime;
    std::vector<std::string> log;
    for (const auto* word : {"a", "b", "c"})
        spawn(runtime.main(), note(&log, word));
    runtime.runUntilIdle();
    EXPECT_EQ(log, (std::vector<std::string>{"a", "b", "c"}));
}

TEST(Task, ReturnsItsValueOrErrorToAnyNumberOfWaiters) {
    TestRuntime runtime;
    const auto number = spawn(runtime.main(), numberAfter(&runtime.clock(), 1, 7));
    const auto first = spawn(runtime.main(), number.value());
    const auto second = spawn(runtime.pool(), number.value());
    EXPECT_EQ(runtime.wait(number.value()), 7);
    EXPECT_EQ(runtime.wait(first.value()), 7);
    EXPECT_EQ(runtime.wait(second.value()), 7);
    EXPECT_EQ(runtime.wait(number.value()), 7) << "also after it has ended";

    const auto failing = spawn(runtime.main(), throwWord("lost"));
    const auto waiter = spawn(runtime.main(), failing.value());
    runtime.runUntilIdle();
    EXPECT_EQ(messageOf(waiter), "lost");
    EXPECT_EQ(messageOf(failing), "lost");
}

namespace {

struct Places {
    std::vector<bool> wasOnHome;
};

Task<> wanderAbout(Actor home, Actor elsewhere, Clock* clock, Places* places) {
    places->wasOnHome.push_back(home.isCurrent());
    co_await sleep(*clock, 1);
    places->wasOnHome.push_back(home.isCurrent());
    co_await runOn(elsewhere, giveNumber(1));
    places->wasOnHome.push_back(home.isCurrent());
    co_await suspend<int>([](Continuation<int> c) { c.resume(1); });
    places->wasOnHome.push_back(home.isCurrent());
    const auto other = spawn(elsewhere, giveNumber(2));
    co_await other.value();
    places->wasOnHome.push_back(home.isCurrent());
}

} // namespace

TEST(Task, ResumesOnTheActorItWasStartedOnAfterAnyWait) {
    TestRuntime runtime;
    const auto home = runtime.makeSerialActor("home");
    const auto elsewhere = runtime.makeSerialActor("elsewhere");
    Places places;
    const auto handle = spawn(home, wanderAbout(home, elsewhere, &runtime.clock(), &places));
    runtime.wait(handle.value());
    EXPECT_EQ(places.wasOnHome, std::vector<bool>(5, true));
}

namespace {

Task<> watchCancellation(Clock* clock, std::vector<std::string>* log) {
    const auto first = co_await sleep(*clock, 100);
    log->push_back(first == SleepOutcome::interrupted ? "interrupted" : "finished");
    log->push_back(co_await isCurrentTaskCancelled() ? "cancelled" : "live");
    const auto second = co_await sleep(*clock, 100);
    log->push_back(second == SleepOutcome::interrupted ? "interrupted" : "finished");
    log->push_back(co_await isCurrentTaskCancelled() ? "cancelled" : "live");
}

} // namespace

TEST(Cancellation, IsAStateThatStaysSetAndEndsEverySleepAtOnce) {
    TestRuntime runtime;
    std::vector<std::string> log;
    const auto start = runtime.clock().now();
    const auto handle = spawn(runtime.main(), watchCancellation(&runtime.clock(), &log));
    runtime.clock().advance(1);
    handle.cancel();
    handle.cancel();
    runtime.runUntilIdle();
    EXPECT_EQ(log, (std::vector<std::string>{"interrupted", "cancelled", "interrupted", "cancelled"}));
    EXPECT_TRUE(handle.isDone());
    EXPECT_TRUE(handle.isCancelled());
    EXPECT_DOUBLE_EQ(runtime.clock().now() - start, 1);
    EXPECT_EQ(runtime.clock().pending(), 0U) << "no timer is left behind";
}

TEST(Cancellation, BeforeTheStartReachesTheTask) {
    TestRuntime runtime;
    std::vector<std::string> log;
    const auto handle = spawn(runtime.main(), watchCancellation(&runtime.clock(), &log));
    handle.cancel();
    runtime.runUntilIdle();
    EXPECT_EQ(log, (std::vector<std::string>{"interrupted", "cancelled", "interrupted", "cancelled"}));
}

TEST(Cancellation, DoesNotReachASleepThatHasFinished) {
    TestRuntime runtime;
    std::vector<std::string> log;
    const auto handle = spawn(runtime.main(), watchCancellation(&runtime.clock(), &log));
    runtime.clock().advance(150);
    handle.cancel();
    runtime.runUntilIdle();
    EXPECT_EQ(log, (std::vector<std::string>{"finished", "live", "interrupted", "cancelled"}));
}

TEST(Cancellation, DoesNotShortenTheWaitForAnotherTask) {
    TestRuntime runtime;
    const auto inner = spawn(runtime.main(), numberAfter(&runtime.clock(), 5, 3));
    const auto outer = spawn(runtime.main(), inner.value());
    runtime.runUntilIdle();
    outer.cancel();
    runtime.clock().advance(4);
    EXPECT_FALSE(outer.isDone());
    EXPECT_FALSE(inner.isCancelled());
    runtime.clock().advance(1);
    EXPECT_TRUE(outer.isDone());
}

namespace {

Task<int> waitOn(std::optional<Continuation<int>>* place) {
    std::function<void(Continuation<int>)> start = [place](Continuation<int> c) { *place = c; };
    co_return co_await suspend<int>(std::move(start));
}

} // namespace

TEST(Cancellation, DoesNotShortenAnOperationThatIgnoresIt) {
    TestRuntime runtime;
    std::optional<Continuation<int>> continuation;
    const auto handle = spawn(runtime.main(), waitOn(&continuation));
    runtime.runUntilIdle();
    handle.cancel();
    runtime.runUntilIdle();
    EXPECT_FALSE(handle.isDone());
    continuation->resume(4);
    EXPECT_EQ(runtime.wait(handle.value()), 4);
}

namespace {

Task<> cancelMyself(TaskHandle<>* self, Clock* clock, std::vector<std::string>* log) {
    self->cancel();
    log->push_back("went on");
    const auto outcome = co_await sleep(*clock, 10);
    log->push_back(outcome == SleepOutcome::interrupted ? "interrupted" : "finished");
}

} // namespace

namespace {

Task<int> numberUnlessCancelled(TaskHandle<int> other) {
    return other.valueUnlessCancelled();
}

} // namespace

TEST(Cancellation, EndsTheWaitOnRequestAndKeepsTheOtherTask) {
    TestRuntime runtime;
    const auto slow = spawn(runtime.pool(), numberAfter(&runtime.clock(), 5, 7));
    const auto cancelled = spawn(runtime.main(), numberUnlessCancelled(slow));
    const auto waiting = spawn(runtime.main(), numberUnlessCancelled(slow));
    const auto late = spawn(runtime.main(), numberUnlessCancelled(slow));
    runtime.runUntilIdle();
    cancelled.cancel();
    runtime.runUntilIdle();
    EXPECT_EQ(messageOf(cancelled), "cancelled");
    EXPECT_FALSE(slow.isCancelled());
    runtime.clock().advance(5);
    EXPECT_EQ(runtime.wait(waiting.value()), 7);
    late.cancel();
    EXPECT_EQ(runtime.wait(late.value()), 7) << "it had its value before";
    EXPECT_EQ(runtime.wait(numberUnlessCancelled(slow)), 7);

    const auto failing = spawn(runtime.pool(), failAfter(&runtime.clock(), 1, "lost"));
    EXPECT_THROW(runtime.wait(numberUnlessCancelled(failing)), std::runtime_error);
}

TEST(Cancellation, FromWithinTheTaskDoesNotStopIt) {
    TestRuntime runtime;
    std::vector<std::string> log;
    TaskHandle<> self;
    self = spawn(runtime.main(), cancelMyself(&self, &runtime.clock(), &log));
    runtime.runUntilIdle();
    EXPECT_EQ(log, (std::vector<std::string>{"went on", "interrupted"}));
    EXPECT_TRUE(self.isDone());
}

TEST(Cancellation, OfAnEndedOrEmptyHandleDoesNothing) {
    TestRuntime runtime;
    const auto handle = spawn(runtime.main(), giveNumber(1));
    runtime.runUntilIdle();
    handle.cancel();
    EXPECT_FALSE(handle.isCancelled());
    TaskHandle<int>().cancel();
    EXPECT_FALSE(TaskHandle<int>());
}

TEST(Cancellation, IsForwardedByRunOn) {
    TestRuntime runtime;
    const auto handle =
        spawn(runtime.main(), runOn(runtime.makeSerialActor("other"), sleepFor(&runtime.clock(), 100)));
    runtime.clock().advance(1);
    handle.cancel();
    runtime.runUntilIdle();
    ASSERT_TRUE(handle.isDone());
    EXPECT_EQ(runtime.wait(handle.value()), SleepOutcome::interrupted);
}

TEST(Cancellation, OfACallerReachesRunOnBeforeItsStart) {
    TestRuntime runtime;
    const auto handle = spawn(runtime.main(), runOn(runtime.pool(), sleepFor(&runtime.clock(), 100)));
    handle.cancel();
    runtime.runUntilIdle();
    ASSERT_TRUE(handle.isDone());
    EXPECT_EQ(runtime.wait(handle.value()), SleepOutcome::interrupted);
}

TEST(TaskHandle, DroppedNeitherCancelsNorLeaksTheTask) {
    TestRuntime runtime;
    std::vector<std::string> log;
    {
        const auto handle = spawn(runtime.main(), watchCancellation(&runtime.clock(), &log));
    }
    EXPECT_EQ(runtime.registry().count(), 1U);
    runtime.clock().advance(300);
    EXPECT_EQ(log, (std::vector<std::string>{"finished", "live", "finished", "live"}));
    EXPECT_EQ(runtime.registry().count(), 0U);
}

TEST(TaskRegistry, CancelsLiveTasksSoThatTheyCanBeJoined) {
    TestRuntime runtime;
    const auto a = spawn(runtime.main(), sleepFor(&runtime.clock(), 1000));
    const auto b = spawn(runtime.pool(), sleepFor(&runtime.clock(), 1000));
    runtime.runUntilIdle();
    EXPECT_EQ(runtime.registry().count(), 2U);
    runtime.registry().cancelAll();
    runtime.runUntilIdle();
    EXPECT_EQ(runtime.registry().count(), 0U);
    EXPECT_TRUE(a.isDone() && b.isDone());
}

TEST(Race, ReturnsTheFirstValueAndCancelsTheOther) {
    TestRuntime runtime;
    const auto start = runtime.clock().now();
    const auto value = runtime.wait(
        race(runtime.pool(), numberAfter(&runtime.clock(), 1, 1), numberAfter(&runtime.clock(), 50, 2)));
    EXPECT_EQ(value, 1);
    EXPECT_DOUBLE_EQ(runtime.clock().now() - start, 1);
}

TEST(Race, ReturnsAFirstError) {
    TestRuntime runtime;
    EXPECT_THROW(runtime.wait(race(runtime.pool(), numberAfter(&runtime.clock(), 5, 1),
                                   failAfter(&runtime.clock(), 1, "timed out"))),
                 std::runtime_error);
}

namespace {

/// Ignores cancellation while it runs.
Task<int> stubborn(Clock* clock, double seconds, bool* ended) {
    std::function<void(Continuation<int>)> start = [clock, seconds](Continuation<int> c) {
        clock->schedule(seconds, [c] { c.resume(9); });
    };
    const int value = co_await suspend<int>(std::move(start));
    *ended = true;
    co_return value;
}

} // namespace

TEST(Race, WaitsForTheLoserEvenWhenItIgnoresCancellation) {
    TestRuntime runtime;
    bool ended = false;
    const auto handle = spawn(runtime.main(), race(runtime.pool(), numberAfter(&runtime.clock(), 1, 1),
                                                   stubborn(&runtime.clock(), 10, &ended)));
    runtime.clock().advance(9);
    EXPECT_FALSE(handle.isDone());
    runtime.clock().advance(1);
    EXPECT_TRUE(ended);
    ASSERT_TRUE(handle.isDone());
    EXPECT_EQ(runtime.wait(handle.value()), 1);
}

TEST(Race, ForwardsTheCallersCancellationToBoth) {
    TestRuntime runtime;
    const auto handle = spawn(runtime.main(), race(runtime.pool(), sleepFor(&runtime.clock(), 100),
                                                   sleepFor(&runtime.clock(), 200)));
    runtime.clock().advance(1);
    handle.cancel();
    runtime.runUntilIdle();
    ASSERT_TRUE(handle.isDone());
    EXPECT_EQ(runtime.wait(handle.value()), SleepOutcome::interrupted);
}

TEST(Continuation, IsResumedByTheFirstCallOnly) {
    TestRuntime runtime;
    std::optional<Continuation<int>> continuation;
    const auto handle = spawn(runtime.main(), waitOn(&continuation));
    runtime.runUntilIdle();
    EXPECT_TRUE(continuation->resume(1));
    EXPECT_FALSE(continuation->resume(2));
    EXPECT_FALSE(continuation->fail(std::make_exception_ptr(std::runtime_error("late"))));
    EXPECT_FALSE(handle.isDone()) << "the task goes on in its own turn, not inside resume";
    EXPECT_EQ(runtime.wait(handle.value()), 1);
}

TEST(Continuation, DroppedWithoutAResultEndsTheWaitWithAnError) {
    TestRuntime runtime;
    std::optional<Continuation<int>> continuation;
    const auto handle = spawn(runtime.main(), waitOn(&continuation));
    runtime.runUntilIdle();
    continuation.reset();
    EXPECT_THROW(runtime.wait(handle.value()), ContinuationDropped);
}

TEST(Continuation, CarriesAnError) {
    TestRuntime runtime;
    std::optional<Continuation<int>> continuation;
    const auto handle = spawn(runtime.main(), waitOn(&continuation));
    runtime.runUntilIdle();
    continuation->fail(std::make_exception_ptr(std::runtime_error("broken")));
    runtime.runUntilIdle();
    EXPECT_EQ(messageOf(handle), "broken");
}

} // namespace sonvale::runtime
