#pragma once

#include <boost/asio/any_io_executor.hpp>

#include <functional>
#include <memory>
#include <string>

namespace sonvale::runtime {

class TaskRegistry;

/// A place where tasks run: the main actor, a serial actor, or the shared pool. A cheap handle; copies
/// stand for the same place.
///
/// What runs on the main actor or on a serial actor never overlaps with anything else there; a suspension
/// frees it for others. Tasks on the pool run beside each other, each by itself in order.
class Actor {
public:
    /// An actor whose `executor` runs one piece of work at a time. `isCurrent` tells, on any thread,
    /// whether the caller is inside that executor. Tasks are entered in `registry` while they live.
    static Actor serial(std::string name, boost::asio::any_io_executor executor,
                        std::function<bool()> isCurrent, std::shared_ptr<TaskRegistry> registry);

    /// A place that runs work beside each other; each task gets a serial order of its own.
    static Actor concurrent(std::string name, boost::asio::any_io_executor executor,
                            std::shared_ptr<TaskRegistry> registry);

    const std::string& name() const;

    /// Queues `work`; it never runs inside this call. From any thread.
    void post(std::function<void()> work) const;

    /// Whether the caller runs on this actor. For a concurrent place always true.
    bool isCurrent() const;

    /// In debug builds ends the process with the actor's name when the caller is elsewhere.
    void assertCurrent() const;

    /// The executor for one new task: the serial executor itself, or a new strand on a concurrent one.
    boost::asio::any_io_executor executorForTask() const;

    const std::shared_ptr<TaskRegistry>& registry() const;

private:
    struct State;
    explicit Actor(std::shared_ptr<const State> state)
        : state_(std::move(state)) {}

    std::shared_ptr<const State> state_;
};

} // namespace sonvale::runtime
