#pragma once

#include "runtime/Actor.h"
#include "runtime/Task.h"

#include <memory>
#include <string>

namespace sonvale::runtime {

/// The threads that run all work outside the main actor.
///
/// At the end of the program: cancel the registry's tasks, run the main actor until they have ended, call
/// `join()`, then destroy what the tasks used.
class TaskPool {
public:
    TaskPool(unsigned threads, std::shared_ptr<TaskRegistry> registry);
    ~TaskPool();
    TaskPool(const TaskPool&) = delete;
    TaskPool& operator=(const TaskPool&) = delete;

    /// Returns the shared pool as a place for concurrent tasks.
    Actor actor() const;

    /// Returns a new serial actor on the pool's threads.
    Actor makeSerialActor(std::string name) const;

    /// Waits until all queued work has run, then ends the threads.
    void join();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sonvale::runtime
