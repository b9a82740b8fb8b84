#include "runtime/AsyncMutex.h"

#include "tests/support/TestRuntime.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace sonvale::runtime {

using tests::TestRuntime;

namespace {

Task<> workFor(AsyncMutex* mutex, Clock* clock, std::vector<std::string>* log, std::string name) {
    const auto guard = co_await mutex->lock();
    log->push_back(name + " begins");
    co_await sleep(*clock, 1);
    log->push_back(name + " ends");
}

Task<> fail(AsyncMutex* mutex) {
    const auto guard = co_await mutex->lock();
    throw std::runtime_error("failed");
}

using Log = std::vector<std::string>;

} // namespace

TEST(AsyncMutex, AdmitsTasksOneByOneInTheOrderOfTheirCalls) {
    TestRuntime runtime;
    AsyncMutex mutex;
    Log log;
    for (const auto* name : {"a", "b", "c"})
        spawn(runtime.main(), workFor(&mutex, &runtime.clock(), &log, name));
    runtime.runUntilIdle();
    EXPECT_EQ(log, Log{"a begins"});
    runtime.clock().advance(3);
    EXPECT_EQ(log, (Log{"a begins", "a ends", "b begins", "b ends", "c begins", "c ends"}));
    EXPECT_EQ(runtime.registry().count(), 0U);
}

TEST(AsyncMutex, AdmitsTheNextTaskAfterAnError) {
    TestRuntime runtime;
    AsyncMutex mutex;
    Log log;
    EXPECT_THROW(runtime.wait(fail(&mutex)), std::runtime_error);
    runtime.wait(workFor(&mutex, &runtime.clock(), &log, "next"));
    EXPECT_EQ(log, (Log{"next begins", "next ends"}));
}

TEST(AsyncMutex, KeepsTheTurnOfACancelledTask) {
    TestRuntime runtime;
    AsyncMutex mutex;
    Log log;
    spawn(runtime.main(), workFor(&mutex, &runtime.clock(), &log, "first"));
    const auto cancelled = spawn(runtime.main(), workFor(&mutex, &runtime.clock(), &log, "cancelled"));
    runtime.runUntilIdle();
    cancelled.cancel();
    runtime.runUntilIdle();
    EXPECT_FALSE(cancelled.isDone());
    runtime.clock().advance(1);
    EXPECT_TRUE(cancelled.isDone());
    EXPECT_EQ(log, (Log{"first begins", "first ends", "cancelled begins", "cancelled ends"}));
}

TEST(AsyncMutex, MayBeDestroyedBeforeItsGuards) {
    TestRuntime runtime;
    auto mutex = std::make_unique<AsyncMutex>();
    Log log;
    for (const auto* name : {"a", "b"})
        spawn(runtime.main(), workFor(mutex.get(), &runtime.clock(), &log, name));
    runtime.runUntilIdle();
    mutex.reset();
    runtime.clock().advance(2);
    EXPECT_EQ(log, (Log{"a begins", "a ends", "b begins", "b ends"}));
}

} // namespace sonvale::runtime
