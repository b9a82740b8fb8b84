#include "runtime/TaskPool.h"

#include "runtime/SystemClock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <mutex>
#include <thread>
#include <vector>

namespace sonvale::runtime {

namespace {

struct Pool {
    std::shared_ptr<TaskRegistry> registry = std::make_shared<TaskRegistry>();
    SystemClock clock;
    TaskPool tasks{3, registry};

    ~Pool() {
        registry->cancelAll();
        registry->waitUntilEmpty(10);
        tasks.join();
    }
};

Task<> addOne(Actor home, int* unguarded, std::atomic<int>* strays) {
    if (!home.isCurrent())
        ++*strays;
    ++*unguarded;
    co_return;
}

/// Threads that are joined when this object is destroyed. Any thread may add one.
class Threads {
public:
    template <typename Work>
    void run(Work work) {
        const std::scoped_lock lock(mutex_);
        threads_.emplace_back(std::move(work));
    }

private:
    std::mutex mutex_;
    std::vector<std::jthread> threads_;
};

Task<int> resumedFromThreads(Threads* threads, int number) {
    std::function<void(Continuation<int>)> start = [threads, number](Continuation<int> c) {
        // Three threads compete for the one resumption.
        for (int i = 0; i < 3; ++i)
            threads->run([c, number] { c.resume(number); });
    };
    co_return co_await suspend<int>(std::move(start));
}

Task<> sumUp(Threads* threads, std::atomic<long>* sum, int number) {
    *sum += co_await resumedFromThreads(threads, number);
}

Task<SleepOutcome> longSleep(Clock* clock) {
    co_return co_await sleep(*clock, 3600);
}

Task<int> raceWithTheClock(Actor pool, Clock* clock) {
    struct Local {
        static Task<int> after(Clock* c, double seconds, int value) {
            co_await sleep(*c, seconds);
            co_return value;
        }
    };
    co_return co_await race(pool, Local::after(clock, 0, 1), Local::after(clock, 0, 2));
}

} // namespace

TEST(SerialActor, RunsOneTaskAtATimeOnAnyThread) {
    Pool pool;
    const auto home = pool.tasks.makeSerialActor("home");
    int unguarded = 0;
    std::atomic<int> strays = 0;
    for (int i = 0; i < 1000; ++i)
        spawn(home, addOne(home, &unguarded, &strays));
    ASSERT_TRUE(pool.registry->waitUntilEmpty(20));
    EXPECT_EQ(unguarded, 1000);
    EXPECT_EQ(strays, 0);
}

TEST(SerialActor, RunsPostedBlocksInOrder) {
    Pool pool;
    const auto home = pool.tasks.makeSerialActor("home");
    std::vector<int> order;
    std::latch last(1);
    for (int i = 0; i < 100; ++i)
        home.post([&order, i] { order.push_back(i); });
    home.post([&last] { last.count_down(); });
    last.wait();
    ASSERT_EQ(order.size(), 100U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(Continuation, IsResumedExactlyOnceByRacingThreads) {
    Pool pool;
    Threads threads;
    std::atomic<long> sum = 0;
    for (int i = 1; i <= 200; ++i)
        spawn(pool.tasks.actor(), sumUp(&threads, &sum, i));
    ASSERT_TRUE(pool.registry->waitUntilEmpty(20));
    EXPECT_EQ(sum, 200L * 201 / 2);
}

TEST(Cancellation, MayRaceWithTheStartAndTheSleep) {
    Pool pool;
    Threads threads;
    for (int i = 0; i < 300; ++i) {
        const auto handle = spawn(pool.tasks.actor(), longSleep(&pool.clock));
        threads.run([handle] { handle.cancel(); });
    }
    EXPECT_TRUE(pool.registry->waitUntilEmpty(20));
}

TEST(Race, EndsOnceWhenBothSidesEndTogether) {
    Pool pool;
    std::vector<TaskHandle<int>> handles;
    for (int i = 0; i < 200; ++i)
        handles.push_back(spawn(pool.tasks.actor(), raceWithTheClock(pool.tasks.actor(), &pool.clock)));
    ASSERT_TRUE(pool.registry->waitUntilEmpty(20));
    for (const auto& handle : handles) {
        auto outcome = handle.state()->outcome;
        const int winner = detail::take<int>(std::move(outcome));
        EXPECT_TRUE(winner == 1 || winner == 2);
    }
}

TEST(SystemClock, RunsTimersInOrderOfTime) {
    SystemClock clock;
    std::vector<int> order;
    std::latch both(2);
    clock.schedule(0.02, [&] {
        order.push_back(2);
        both.count_down();
    });
    clock.schedule(0.001, [&] {
        order.push_back(1);
        both.count_down();
    });
    both.wait();
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(SystemClock, DropsACancelledTimerAndPendingOnesAtItsEnd) {
    std::atomic<int> ran = 0;
    {
        SystemClock clock;
        const auto timer = clock.schedule(3600, [&] { ++ran; });
        clock.schedule(3600, [&] { ++ran; });
        EXPECT_TRUE(clock.cancel(timer));
        EXPECT_FALSE(clock.cancel(timer));
    }
    EXPECT_EQ(ran, 0);
}

} // namespace sonvale::runtime
