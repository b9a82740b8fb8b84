#pragma once

#include "runtime/Actor.h"

#include <boost/asio/awaitable.hpp>

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <variant>

namespace sonvale::runtime {

/// A suspendable operation. It does not begin before it is awaited or spawned. After every wait it resumes on
/// the actor that it was started on. Its parameters must be values, because they must outlive every
/// suspension. A lambda with captures must not itself be a coroutine.
template <class T = void>
using Task = boost::asio::awaitable<T>;

/// Thrown in a waiting task if all copies of its continuation were dropped without a result.
class ContinuationDropped : public std::logic_error {
public:
    ContinuationDropped()
        : std::logic_error("a continuation was dropped without being resumed") {}
};

/// Thrown by operations that end because their task was cancelled.
class CancellationError : public std::runtime_error {
public:
    CancellationError()
        : std::runtime_error("cancelled") {}
};

namespace detail {

/// The stored value of a `Task<void>`.
struct Nothing {};
template <class T>
using Stored = std::conditional_t<std::is_void_v<T>, Nothing, T>;
template <class T>
using Outcome = std::variant<std::monostate, Stored<T>, std::exception_ptr>;

/// One wait of one task. Any thread may end it, once; the task then continues on its own actor.
class Suspension {
public:
    Suspension();
    Suspension(const Suspension&) = delete;
    Suspension& operator=(const Suspension&) = delete;
    ~Suspension();

    /// Returns true for the one caller that may set the outcome and must then call `finish()`.
    bool claim();
    void finish();

    /// Suspends the calling task, then runs `start`. `onCancel`, if not empty, runs once on the task's actor
    /// if the task is or gets cancelled before the wait has ended. Without it cancelling does not shorten the
    /// wait.
    static Task<void> wait(std::shared_ptr<Suspension> self, std::function<void()> start,
                           std::function<void()> onCancel);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

template <class T>
struct ContinuationState {
    Suspension suspension;
    Outcome<T> outcome;

    bool end(Outcome<T> result) {
        if (!suspension.claim())
            return false;
        outcome = std::move(result);
        suspension.finish();
        return true;
    }
};

template <class T>
T take(Outcome<T> outcome) {
    if (auto* error = std::get_if<std::exception_ptr>(&outcome))
        std::rethrow_exception(*error);
    if constexpr (!std::is_void_v<T>)
        return std::move(std::get<1>(outcome));
}

} // namespace detail

/// Resumes a suspended task. Copies refer to the same wait. The first `resume` or `fail` from any thread
/// counts and returns true; later ones do nothing and return false. If the last copy is destroyed without
/// either, the task gets `ContinuationDropped`.
template <class T = void>
class Continuation {
public:
    explicit Continuation(std::shared_ptr<detail::ContinuationState<T>> state)
        : ticket_(std::make_shared<Ticket>(std::move(state))) {}

    bool resume(detail::Stored<T> value = {}) const {
        return ticket_->state->end(detail::Outcome<T>(std::in_place_index<1>, std::move(value)));
    }

    bool fail(std::exception_ptr error) const {
        return ticket_->state->end(detail::Outcome<T>(std::in_place_index<2>, std::move(error)));
    }

private:
    struct Ticket {
        explicit Ticket(std::shared_ptr<detail::ContinuationState<T>> s)
            : state(std::move(s)) {}
        Ticket(const Ticket&) = delete;
        Ticket& operator=(const Ticket&) = delete;
        ~Ticket() {
            state->end(
                detail::Outcome<T>(std::in_place_index<2>, std::make_exception_ptr(ContinuationDropped())));
        }
        std::shared_ptr<detail::ContinuationState<T>> state;
    };
    std::shared_ptr<Ticket> ticket_;
};

/// Suspends the calling task until the continuation that `start` receives is resumed. `start` runs on the
/// task's actor after the task is suspended. `onCancel`, if not empty, runs on the task's actor when the task
/// is cancelled (at once after `start` if it already was); it should cause a resumption. Without it
/// cancelling does not shorten the wait.
template <class T>
Task<T> suspend(std::function<void(Continuation<T>)> start, std::function<void()> onCancel = {}) {
    auto state = std::make_shared<detail::ContinuationState<T>>();
    // The suspension shares ownership of its state, because the wait ends before the state may be destroyed.
    const std::shared_ptr<detail::Suspension> suspension(state, &state->suspension);
    std::function<void()> begin = [state, start = std::move(start)] { start(Continuation<T>(state)); };
    co_await detail::Suspension::wait(suspension, std::move(begin), std::move(onCancel));
    co_return detail::take<T>(std::move(state->outcome));
}

/// Returns whether the calling task has been cancelled. Cancellation is a state that stays set.
Task<bool> isCurrentTaskCancelled();

namespace detail {

/// The part of a spawned task that does not depend on its type.
class TaskCore : public std::enable_shared_from_this<TaskCore> {
public:
    TaskCore();
    virtual ~TaskCore();
    TaskCore(const TaskCore&) = delete;
    TaskCore& operator=(const TaskCore&) = delete;

    void cancel();
    bool isCancelled() const;
    bool isDone() const;

    /// Waits until the task has ended. Cancelling the waiting task does not shorten the wait; with
    /// `isForwarded` it also cancels this task.
    enum class Cancelling { isIgnored, isForwarded };
    static Task<void> waitUntilDone(std::shared_ptr<TaskCore> self, Cancelling cancelling);

    /// Calls `then` when the task has ended, on the thread that ends it; at once if it has already ended.
    void whenDone(std::function<void()> then);

    static void launch(const Actor& actor, const std::shared_ptr<TaskCore>& core, Task<void> body);

private:
    static Task<void> runRoot(std::shared_ptr<TaskCore> core, Task<void> body);
    void finish();

    struct Impl;
    std::unique_ptr<Impl> impl_;
};

template <class T>
struct TaskState : TaskCore {
    Outcome<T> outcome; ///< written before the task is done, read only after
};

template <class T>
Task<void> runInto(std::shared_ptr<TaskState<T>> state, Task<T> task) {
    try {
        if constexpr (std::is_void_v<T>) {
            co_await std::move(task);
            state->outcome = Outcome<T>(std::in_place_index<1>);
        } else {
            state->outcome = Outcome<T>(std::in_place_index<1>, co_await std::move(task));
        }
    } catch (...) {
        state->outcome = Outcome<T>(std::in_place_index<2>, std::current_exception());
    }
}

} // namespace detail

/// A started task. Copies refer to the same task; an empty handle refers to none. Dropping every handle
/// neither cancels nor leaks the task. All operations from any thread.
template <class T = void>
class TaskHandle {
public:
    TaskHandle() = default;
    explicit TaskHandle(std::shared_ptr<detail::TaskState<T>> state)
        : state_(std::move(state)) {}

    explicit operator bool() const { return state_ != nullptr; }

    /// Sets the task's cancelled state, which stays set; its current and later sleeps end at once. Does
    /// nothing if the task has ended or the handle is empty. A task that cancels itself continues to run.
    void cancel() const {
        if (state_)
            state_->cancel();
    }
    bool isCancelled() const { return state_ && state_->isCancelled(); }
    bool isDone() const { return state_ && state_->isDone(); }

    /// Waits for the task's value or error. Any number of tasks may wait. Cancelling a waiter does not
    /// shorten its wait.
    Task<T> value() const { return valueOf(state_, detail::TaskCore::Cancelling::isIgnored); }

    /// Works as `value()`; cancelling the waiter also cancels the task, and the waiter still waits for it.
    Task<T> valueForwardingCancellation() const {
        return valueOf(state_, detail::TaskCore::Cancelling::isForwarded);
    }

    /// Works as `value()`; a waiter that is or gets cancelled gets `CancellationError` at once, and the task
    /// continues.
    Task<T> valueUnlessCancelled() const { return valueCutShort(state_); }

    /// Returns the state of the task.
    const std::shared_ptr<detail::TaskState<T>>& state() const { return state_; }

private:
    static Task<T> valueOf(std::shared_ptr<detail::TaskState<T>> state,
                           detail::TaskCore::Cancelling cancelling) {
        co_await detail::TaskCore::waitUntilDone(state, cancelling);
        detail::Outcome<T> outcome = state->outcome;
        co_return detail::take<T>(std::move(outcome));
    }

    static Task<T> valueCutShort(std::shared_ptr<detail::TaskState<T>> state) {
        const auto waiter = std::make_shared<std::optional<Continuation<>>>();
        std::function<void(Continuation<>)> start = [waiter, state](Continuation<> done) {
            waiter->emplace(done);
            state->whenDone([done] { done.resume(); });
        };
        std::function<void()> cutShort = [waiter] {
            (*waiter)->fail(std::make_exception_ptr(CancellationError()));
        };
        co_await suspend<>(std::move(start), std::move(cutShort));
        detail::Outcome<T> outcome = state->outcome;
        co_return detail::take<T>(std::move(outcome));
    }

    std::shared_ptr<detail::TaskState<T>> state_;
};

/// Starts `task` on `actor`. The task is queued and never runs inside the caller.
template <class T>
TaskHandle<T> spawn(const Actor& actor, Task<T> task) {
    auto state = std::make_shared<detail::TaskState<T>>();
    detail::TaskCore::launch(actor, state, detail::runInto<T>(state, std::move(task)));
    return TaskHandle<T>(std::move(state));
}

/// Runs `task` on `actor` as part of the calling task. Its value or error returns to the caller's own actor.
/// Cancelling the caller cancels it.
template <class T>
Task<T> runOn(Actor actor, Task<T> task) {
    const auto handle = spawn(actor, std::move(task));
    co_return co_await handle.valueForwardingCancellation();
}

/// Runs both tasks on `actor`. The first outcome, value or error, is the result. The other task is then
/// cancelled and waited for, and its outcome dropped. Cancelling the caller cancels both.
template <class T>
Task<T> race(Actor actor, Task<T> first, Task<T> second) {
    const auto a = spawn(actor, std::move(first));
    const auto b = spawn(actor, std::move(second));
    const auto cancelBoth = [a, b] {
        a.cancel();
        b.cancel();
    };
    const auto winner = co_await suspend<int>(
        [a, b](Continuation<int> firstDone) {
            a.state()->whenDone([firstDone] { firstDone.resume(0); });
            b.state()->whenDone([firstDone] { firstDone.resume(1); });
        },
        cancelBoth);
    cancelBoth();
    co_await detail::TaskCore::waitUntilDone(winner == 0 ? b.state() : a.state(),
                                             detail::TaskCore::Cancelling::isIgnored);
    co_return co_await (winner == 0 ? a : b).value();
}

/// The live tasks of one program or test, so that they can be ended before their actors are destroyed.
class TaskRegistry {
public:
    TaskRegistry();
    ~TaskRegistry();
    TaskRegistry(const TaskRegistry&) = delete;
    TaskRegistry& operator=(const TaskRegistry&) = delete;

    /// Cancels every task that has not ended. From any thread.
    void cancelAll();
    /// Returns the number of tasks that have not ended.
    std::size_t count() const;
    /// Waits up to `seconds` until no task is left. Returns false if some are left. Must not run on an actor
    /// that they need.
    bool waitUntilEmpty(double seconds) const;

private:
    friend class detail::TaskCore;
    void add(const std::shared_ptr<detail::TaskCore>& core);
    void remove(const detail::TaskCore* core);

    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sonvale::runtime
