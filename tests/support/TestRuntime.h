#pragma once

#include "runtime/ManualClock.h"
#include "runtime/Task.h"

#include <memory>
#include <string>

namespace sonvale::tests {

/// Seconds by which a test's clock stops just before a moment or just after it.
inline constexpr double epsilon = 1e-6;

/// The main actor, serial actors, pool and clock of a unit test, all on the test's own thread: everything
/// runs inside `runUntilIdle()`, `clock.advance()` and `wait()`. At its end all tasks are cancelled and must
/// end.
class TestRuntime {
public:
    TestRuntime();
    ~TestRuntime();
    TestRuntime(const TestRuntime&) = delete;
    TestRuntime& operator=(const TestRuntime&) = delete;

    runtime::Actor main() const;
    runtime::Actor pool() const;
    runtime::Actor makeSerialActor(std::string name) const;
    runtime::TaskRegistry& registry() const;

    /// Runs everything that is ready, without advancing the time.
    void runUntilIdle();

    /// Spawns the task on the main actor, runs what is ready, and advances the clock from timer to timer
    /// until the task has ended. Returns its value or throws its error. Throws if nothing is left that could
    /// end it.
    template <class T>
    T wait(runtime::Task<T> task) {
        const auto handle = runtime::spawn(main(), std::move(task));
        drive([&] { return handle.isDone(); });
        auto outcome = handle.state()->outcome;
        return runtime::detail::take<T>(std::move(outcome));
    }

    /// Cancels all tasks and runs until they have ended, advancing the clock as needed. Ends the process if
    /// some do not end. A fixture whose members are used by tasks calls it before the members are destroyed.
    void endTasks();

    /// Runs and advances the clock until `isDone`.
    void drive(const std::function<bool()>& isDone);

    runtime::ManualClock& clock();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sonvale::tests
