#include "adapters/qt/QtMainContext.h"

#include "runtime/SystemClock.h"
#include "runtime/Task.h"
#include "runtime/TaskPool.h"

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/strand.hpp>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTimer>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace sonvale::adapters::qt {

namespace {

using runtime::Actor;
using runtime::Task;

class QtMainContextTest : public testing::Test {
protected:
    ~QtMainContextTest() override {
        registry->cancelAll();
        EXPECT_TRUE(context.runUntil([this] { return registry->count() == 0; }, 20));
        pool.join();
    }

    bool run(const std::function<bool()>& done) { return context.runUntil(done, 20); }

    template <class T>
    bool runToEnd(const runtime::TaskHandle<T>& handle) {
        return run([&handle] { return handle.isDone(); });
    }

    runtime::SystemClock clock;
    std::shared_ptr<runtime::TaskRegistry> registry = std::make_shared<runtime::TaskRegistry>();
    runtime::TaskPool pool{2, registry};
    QtMainContext context{clock, registry};
    const std::thread::id mainThread = std::this_thread::get_id();
};

Task<std::thread::id> thisThread() {
    co_return std::this_thread::get_id();
}

struct Visited {
    std::vector<std::thread::id> onMain;
    std::thread::id onPool;
};

Task<void> visitPoolAndReturn(Actor poolActor, std::shared_ptr<Visited> visited) {
    visited->onMain.push_back(std::this_thread::get_id());
    visited->onPool = co_await runtime::runOn(poolActor, thisThread());
    visited->onMain.push_back(std::this_thread::get_id());
}

Task<runtime::SleepOutcome> sleepFor(runtime::Clock* clock, double seconds) {
    co_return co_await runtime::sleep(*clock, seconds);
}

Task<std::thread::id> threadAfterSleep(runtime::Clock* clock) {
    co_await runtime::sleep(*clock, 0.01);
    co_return std::this_thread::get_id();
}

Task<std::thread::id> threadAfterResumptionFrom(std::shared_ptr<std::thread> resumer) {
    std::function<void(runtime::Continuation<int>)> start =
        [resumer](runtime::Continuation<int> continuation) {
            *resumer = std::thread([continuation] { continuation.resume(1); });
        };
    co_await runtime::suspend<int>(start);
    co_return std::this_thread::get_id();
}

Task<bool> cancelledStateAfterOwnCancel(runtime::Clock* clock,
                                        std::shared_ptr<runtime::TaskHandle<bool>> own) {
    co_await runtime::sleep(*clock, 0);
    own->cancel();
    co_return co_await runtime::isCurrentTaskCancelled();
}

template <class T>
T valueOf(const runtime::TaskHandle<T>& handle) {
    auto outcome = handle.state()->outcome;
    return runtime::detail::take<T>(std::move(outcome));
}

} // namespace

TEST_F(QtMainContextTest, DoesNotRunPostedWorkInsideTheCall) {
    bool hasRun = false;
    context.actor().post([&] { hasRun = true; });
    EXPECT_FALSE(hasRun);
    EXPECT_TRUE(run([&] { return hasRun; }));
}

TEST_F(QtMainContextTest, RunsWorkInTheOrderOfPosting) {
    std::vector<int> order;
    for (int i = 0; i < 500; ++i)
        context.actor().post([&order, i] { order.push_back(i); });
    ASSERT_TRUE(run([&] { return order.size() == 500; }));
    for (int i = 0; i < 500; ++i)
        EXPECT_EQ(order[i], i);
}

TEST_F(QtMainContextTest, KeepsTheOrderOfEachPostingThread) {
    std::vector<int> orders[2];
    std::atomic<bool> isMainAlways = true;
    std::vector<std::thread> threads;
    for (auto& order : orders) {
        threads.emplace_back([this, &order, &isMainAlways] {
            for (int i = 0; i < 1000; ++i) {
                context.actor().post([this, &order, &isMainAlways, i] {
                    order.push_back(i);
                    if (std::this_thread::get_id() != mainThread)
                        isMainAlways = false;
                });
            }
        });
    }
    EXPECT_TRUE(run([&] { return orders[0].size() == 1000 && orders[1].size() == 1000; }));
    for (auto& thread : threads)
        thread.join();
    EXPECT_TRUE(std::is_sorted(orders[0].begin(), orders[0].end()));
    EXPECT_TRUE(std::is_sorted(orders[1].begin(), orders[1].end()));
    EXPECT_TRUE(isMainAlways);
}

TEST_F(QtMainContextTest, KnowsItsOwnThread) {
    EXPECT_TRUE(context.actor().isCurrent());
    bool isCurrentElsewhere = true;
    std::thread([&, actor = context.actor()] { isCurrentElsewhere = actor.isCurrent(); }).join();
    EXPECT_FALSE(isCurrentElsewhere);
}

TEST_F(QtMainContextTest, ReturnsToTheMainThreadFromThePool) {
    const auto visited = std::make_shared<Visited>();
    const auto task = runtime::spawn(context.actor(), visitPoolAndReturn(pool.actor(), visited));
    ASSERT_TRUE(runToEnd(task));
    EXPECT_EQ(visited->onMain, (std::vector{mainThread, mainThread}));
    EXPECT_NE(visited->onPool, mainThread);
}

TEST_F(QtMainContextTest, ReturnsToTheMainThreadFromASleep) {
    const auto task = runtime::spawn(context.actor(), threadAfterSleep(&clock));
    ASSERT_TRUE(runToEnd(task));
    EXPECT_EQ(valueOf(task), mainThread);
}

TEST_F(QtMainContextTest, ReturnsToTheMainThreadFromAnyResumingThread) {
    const auto resumer = std::make_shared<std::thread>();
    const auto task = runtime::spawn(context.actor(), threadAfterResumptionFrom(resumer));
    ASSERT_TRUE(runToEnd(task));
    resumer->join();
    EXPECT_EQ(valueOf(task), mainThread);
}

TEST_F(QtMainContextTest, CancellingFromAnotherThreadEndsASleep) {
    const auto task = runtime::spawn(context.actor(), sleepFor(&clock, 3600));
    std::thread canceller([task] { task.cancel(); });
    ASSERT_TRUE(runToEnd(task));
    canceller.join();
    EXPECT_EQ(valueOf(task), runtime::SleepOutcome::interrupted);
}

TEST_F(QtMainContextTest, ATaskSeesItsOwnCancellationAtOnce) {
    const auto own = std::make_shared<runtime::TaskHandle<bool>>();
    *own = runtime::spawn(context.actor(), cancelledStateAfterOwnCancel(&clock, own));
    ASSERT_TRUE(runToEnd(*own));
    EXPECT_TRUE(valueOf(*own));
    *own = {};
}

TEST_F(QtMainContextTest, ProcessesQtEventsBetweenEndlessWork) {
    bool hasTimerFired = false;
    QTimer::singleShot(1, [&] { hasTimerFired = true; });
    std::function<void()> again = [&] {
        if (!hasTimerFired)
            context.actor().post(again);
    };
    again();
    EXPECT_TRUE(run([&] { return hasTimerFired; }));
    bool isDrained = false;
    context.actor().post([&] { isDrained = true; });
    EXPECT_TRUE(run([&] { return isDrained; }));
}

TEST_F(QtMainContextTest, ServesAsAnExecutorForStrands) {
    const boost::asio::any_io_executor executor = context.actor().executorForTask();
    EXPECT_EQ(executor, context.actor().executorForTask());
    const auto strand = boost::asio::make_strand(executor);
    int sum = 0;
    for (int i = 1; i <= 4; ++i)
        boost::asio::post(strand, [&sum, i] { sum += i; });
    EXPECT_TRUE(run([&] { return sum == 10; }));
}

TEST_F(QtMainContextTest, StopsWaitingAfterTheTimeout) {
    const double start = clock.now();
    EXPECT_FALSE(context.runUntil([] { return false; }, 0.05));
    EXPECT_GE(clock.now() - start, 0.05);
}

TEST_F(QtMainContextTest, NoticesAConditionOfAnotherThreadWithoutAnEvent) {
    std::atomic<bool> isDone = false;
    std::thread other([this, &isDone] {
        const double end = clock.now() + 0.05;
        while (clock.now() < end)
            std::this_thread::yield();
        isDone = true;
    });
    EXPECT_TRUE(run([&] { return isDone.load(); }));
    other.join();
}

namespace {

/// Posts again from its destructor, as the frame of an abandoned coroutine may.
struct PostsWhenDestroyed {
    Actor actor;
    std::shared_ptr<int> destroyed;
    ~PostsWhenDestroyed() {
        actor.post([] { FAIL() << "ran after the end"; });
        ++*destroyed;
    }
};

} // namespace

TEST(QtMainContextEnd, DropsQueuedAndLaterWork) {
    runtime::SystemClock clock;
    auto context = std::make_unique<QtMainContext>(clock, std::make_shared<runtime::TaskRegistry>());
    const Actor actor = context->actor();
    const auto destroyed = std::make_shared<int>(0);
    bool hasRun = false;

    auto held = std::make_shared<PostsWhenDestroyed>(actor, destroyed);
    actor.post([held, &hasRun] { hasRun = true; });
    held.reset();
    context.reset();
    EXPECT_EQ(*destroyed, 1);

    std::thread([&] { actor.post([&hasRun] { hasRun = true; }); }).join();
    boost::asio::dispatch(actor.executorForTask(), [&hasRun] { hasRun = true; });
    QCoreApplication::processEvents();
    EXPECT_FALSE(hasRun);
}

TEST(QtMainContextEnd, EndsTasksBeforeThePoolAndTheContext) {
    runtime::SystemClock clock;
    const auto registry = std::make_shared<runtime::TaskRegistry>();
    auto outcome = std::make_shared<runtime::TaskHandle<runtime::SleepOutcome>>();
    {
        runtime::TaskPool pool(2, registry);
        QtMainContext context(clock, registry);
        *outcome = runtime::spawn(context.actor(), runtime::runOn(pool.actor(), sleepFor(&clock, 3600)));
        QTimer::singleShot(0, QCoreApplication::instance(), [] { QCoreApplication::quit(); });
        QCoreApplication::exec();

        registry->cancelAll();
        EXPECT_TRUE(context.runUntil([&] { return registry->count() == 0; }, 20));
        pool.join();
    }
    EXPECT_EQ(valueOf(*outcome), runtime::SleepOutcome::interrupted);
}

} // namespace sonvale::adapters::qt
