#pragma once

#include "runtime/Clock.h"
#include "runtime/Task.h"

#include <functional>
#include <memory>
#include <utility>

namespace sonvale::runtime {

/// Starts tasks for an object and its parts, on one actor. While such a task waits for the clock or for work
/// of others, it does not keep the object alive; it ends without effect once the object is gone.
///
/// A part is the object itself or a member of it. The tasks hold the object, not the part. Used on the
/// actor; the clock must outlive the tasks.
class OwnedTasks {
public:
    /// Until `setOwner` is called, the object lives as long as this member of it.
    OwnedTasks(Actor actor, Clock& clock)
        : actor_(std::move(actor))
        , clock_(&clock)
        , owner_(lifetime_) {}
    OwnedTasks(const OwnedTasks&) = delete;
    OwnedTasks& operator=(const OwnedTasks&) = delete;

    /// Sets the object whose life counts, for one that is held by shared pointers. `call` and `callKeeping`
    /// require it: they keep the object while an operation of it runs.
    void setOwner(std::weak_ptr<void> owner) { owner_ = std::move(owner); }

    /// Returns a weak reference to the part, which expires with the object.
    template <class Part>
    std::weak_ptr<Part> weak(Part& part) const {
        return keep(part);
    }

    /// Runs an operation of the part, and keeps the object until it has ended. Does nothing if the object is
    /// gone when the task begins.
    template <class Part, class... Parameters, class... Arguments>
    TaskHandle<> call(Part& part, Task<> (Part::*operation)(Parameters...), Arguments... arguments) const {
        return spawn(actor_, runIfAlive<Part, Parameters...>(weak(part), operation, std::move(arguments)...));
    }

    /// As `call`, but keeps the object from now on.
    template <class Part, class... Parameters, class... Arguments>
    TaskHandle<> callKeeping(Part& part, Task<> (Part::*operation)(Parameters...),
                             Arguments... arguments) const {
        return spawn(actor_, runKeeping<Part, Parameters...>(keep(part), operation, std::move(arguments)...));
    }

    /// Calls `action` once, `seconds` from now. Cancelling the task drops the call.
    template <class Part>
    TaskHandle<> later(Part& part, double seconds, std::function<void(Part&)> action) const {
        return spawn(actor_, sleepThenCall(weak(part), clock_, seconds, std::move(action)));
    }

    /// Calls `step` in the next turn and then every `period` seconds, until it returns false or the task is
    /// cancelled.
    template <class Part>
    TaskHandle<> repeat(Part& part, double period, std::function<bool(Part&)> step) const {
        return spawn(actor_, callRepeatedly(weak(part), clock_, period, std::move(step)));
    }

    /// Runs the task that `begin` returns in the next turn. That task must not use the object, which is not
    /// kept meanwhile.
    template <class Part>
    TaskHandle<> run(Part& part, std::function<Task<>(Part&)> begin) const {
        return spawn(actor_, beginAndRun(weak(part), std::move(begin)));
    }

    /// Runs `work`, which must not use the object, and hands its value to `receive` if the object is still
    /// there. Drops an unstarted `work` if the object is gone. `work` must not throw.
    template <class Part, class T>
    TaskHandle<> deliver(Part& part, Task<T> work, std::function<void(Part&, T)> receive) const {
        return spawn(actor_, workAndDeliver(weak(part), std::move(work), std::move(receive)));
    }

private:
    template <class Part>
    std::shared_ptr<Part> keep(Part& part) const {
        const auto owner = owner_.lock();
        return owner ? std::shared_ptr<Part>(owner, &part) : nullptr;
    }

    template <class Part, class... Parameters>
    static Task<> runKeeping(std::shared_ptr<Part> part, Task<> (Part::*operation)(Parameters...),
                             std::decay_t<Parameters>... arguments) {
        if (part)
            co_await (part.get()->*operation)(std::move(arguments)...);
    }

    template <class Part, class... Parameters>
    static Task<> runIfAlive(std::weak_ptr<Part> weakPart, Task<> (Part::*operation)(Parameters...),
                             std::decay_t<Parameters>... arguments) {
        if (const auto part = weakPart.lock())
            co_await (part.get()->*operation)(std::move(arguments)...);
    }

    template <class Part>
    static Task<> sleepThenCall(std::weak_ptr<Part> weakPart, Clock* clock, double seconds,
                                std::function<void(Part&)> action) {
        if (co_await sleep(*clock, seconds) == SleepOutcome::interrupted)
            co_return;
        if (const auto part = weakPart.lock())
            action(*part);
    }

    template <class Part>
    static Task<> callRepeatedly(std::weak_ptr<Part> weakPart, Clock* clock, double period,
                                 std::function<bool(Part&)> step) {
        do {
            const auto part = weakPart.lock();
            if (!part || !step(*part))
                co_return;
        } while (co_await sleep(*clock, period) == SleepOutcome::finished);
    }

    template <class Part>
    static Task<> beginAndRun(std::weak_ptr<Part> weakPart, std::function<Task<>(Part&)> begin) {
        auto part = weakPart.lock();
        if (!part)
            co_return;
        auto task = begin(*part);
        part.reset();
        co_await std::move(task);
    }

    template <class Part, class T>
    static Task<> workAndDeliver(std::weak_ptr<Part> weakPart, Task<T> work,
                                 std::function<void(Part&, T)> receive) {
        if (weakPart.expired())
            co_return;
        auto value = co_await std::move(work);
        if (const auto part = weakPart.lock())
            receive(*part, std::move(value));
    }

    const Actor actor_;
    Clock* const clock_;
    std::shared_ptr<void> lifetime_ = std::make_shared<char>(); ///< the default owner; before `owner_`
    std::weak_ptr<void> owner_;
};

} // namespace sonvale::runtime
