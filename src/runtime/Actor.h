#pragma once

#include <boost/asio/any_io_executor.hpp>

#include <functional>
#include <memory>
#include <string>

namespace sonvale::runtime {

class TaskRegistry;

/// A place where tasks run: the main actor, a serial actor, or the shared pool. It is a cheap handle; copies
/// refer to the same place.
///
/// Work on the main actor or on a serial actor never overlaps with other work there; a suspension frees the
/// actor for others. Tasks on the pool run concurrently, each in its own order.
class Actor {
public:
    /// Makes an actor whose `executor` runs one piece of work at a time. `isCurrent` returns, on any thread,
    /// whether the caller is inside that executor. `registry` contains the tasks while they live.
    static Actor serial(std::string name, boost::asio::any_io_executor executor,
                        std::function<bool()> isCurrent, std::shared_ptr<TaskRegistry> registry);

    /// Makes a place that runs tasks concurrently; each task gets a serial order of its own.
    static Actor concurrent(std::string name, boost::asio::any_io_executor executor,
                            std::shared_ptr<TaskRegistry> registry);

    const std::string& name() const;

    /// Queues `work`, which never runs inside this call. From any thread.
    void post(std::function<void()> work) const;

    /// Returns whether the caller runs on this actor; always true for a concurrent place.
    bool isCurrent() const;

    /// Aborts a debug build with the actor's name if the caller is on another actor.
    void assertCurrent() const;

    /// Returns the executor for one new task: the serial executor itself, or a new strand of a concurrent
    /// one.
    boost::asio::any_io_executor executorForTask() const;

    const std::shared_ptr<TaskRegistry>& registry() const;

private:
    struct State;
    explicit Actor(std::shared_ptr<const State> state)
        : state_(std::move(state)) {}

    std::shared_ptr<const State> state_;
};

} // namespace sonvale::runtime
