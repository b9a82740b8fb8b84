#pragma once

#include "runtime/ManualClock.h"
#include "runtime/Task.h"

#include <memory>
#include <string>

namespace sonvale::tests {

/// Seconds; steps a test's clock just before a moment and just past it.
inline constexpr double epsilon = 1e-6;

/// Main actor, serial actors, pool and clock of a unit test, all on the test's own thread: nothing runs but
/// inside `runUntilIdle()`, `clock.advance()` and `wait()`. At its end all tasks are cancelled and must end.
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

    /// Runs everything that is ready; time stands still.
    void runUntilIdle();

    /// Spawns the task on the main actor, runs what is ready, and moves the clock from timer to timer until
    /// it has ended. Returns its value or throws its error; throws when nothing is left that could end it.
    template <class T>
    T wait(runtime::Task<T> task) {
        const auto handle = runtime::spawn(main(), std::move(task));
        drive([&] { return handle.isDone(); });
        auto outcome = handle.state()->outcome;
        return runtime::detail::take<T>(std::move(outcome));
    }

    /// Cancels all tasks and lets them end, moving the clock as far as they need it. Ends the process when
    /// some do not end. A fixture whose members tasks use calls it before these go.
    void endTasks();

    /// Runs and moves the clock until `isDone`.
    void drive(const std::function<bool()>& isDone);

    runtime::ManualClock& clock();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sonvale::tests
