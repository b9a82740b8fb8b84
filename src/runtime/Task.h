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

/// A suspendable operation. It does not begin before it is awaited or spawned, and it resumes on the actor
/// that it was started on, whatever it waited for. Write its parameters by value: they must outlive every
/// suspension. A lambda that captures must not itself be a coroutine.
template <class T = void>
using Task = boost::asio::awaitable<T>;

/// Thrown to a waiting task whose continuation was dropped by all who could have resumed it.
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

/// `void` has no values to store; this stands in for it.
struct Nothing {};
template <class T>
using Stored = std::conditional_t<std::is_void_v<T>, Nothing, T>;
template <class T>
using Outcome = std::variant<std::monostate, Stored<T>, std::exception_ptr>;

/// One wait of one task: from any thread it is ended once, and the task then goes on on its own actor.
class Suspension {
public:
    Suspension();
    Suspension(const Suspension&) = delete;
    Suspension& operator=(const Suspension&) = delete;
    ~Suspension();

    /// True for the one caller that may set the outcome and must then call `finish()`.
    bool claim();
    void finish();

    /// Suspends the calling task, then runs `start`. `onCancel`, when given, runs on the task's actor once if
    /// the task is or gets cancelled before the wait has ended; without it the wait is not cut short.
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

/// The other end of a suspended task. Copies stand for the same wait; from any thread the first `resume` or
/// `fail` counts and returns true, later ones do nothing and return false. When the last copy goes without
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

/// Suspends the calling task until the continuation that `start` is given is resumed. `start` runs on the
/// task's actor, once the task is suspended. `onCancel`, when given, runs on the task's actor as soon as the
/// task is cancelled (at once, after `start`, when it already was); it should see to it that somebody
/// resumes. Without it, cancelling does not cut the wait short.
template <class T>
Task<T> suspend(std::function<void(Continuation<T>)> start, std::function<void()> onCancel = {}) {
    auto state = std::make_shared<detail::ContinuationState<T>>();
    // The suspension shares its owner's life: the wait ends before the state can go.
    const std::shared_ptr<detail::Suspension> suspension(state, &state->suspension);
    std::function<void()> begin = [state, start = std::move(start)] { start(Continuation<T>(state)); };
    co_await detail::Suspension::wait(suspension, std::move(begin), std::move(onCancel));
    co_return detail::take<T>(std::move(state->outcome));
}

/// Whether the calling task has been cancelled. Cancellation is a state that stays set.
Task<bool> isCurrentTaskCancelled();

namespace detail {

/// What every spawned task has, whatever its type.
class TaskCore : public std::enable_shared_from_this<TaskCore> {
public:
    TaskCore();
    virtual ~TaskCore();
    TaskCore(const TaskCore&) = delete;
    TaskCore& operator=(const TaskCore&) = delete;

    void cancel();
    bool isCancelled() const;
    bool isDone() const;

    /// Ends when the task has ended; cancelling the waiting task does not cut it short, but is passed on
    /// to this one when `forwarding`.
    enum class Cancelling { isIgnored, isForwarded };
    static Task<void> waitUntilDone(std::shared_ptr<TaskCore> self, Cancelling cancelling);

    /// Calls `then` once the task has ended, at once when it has. On the thread that ends it.
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

/// A started task. Copies stand for the same task; an empty handle stands for none. Dropping every handle
/// neither cancels the task nor leaks it. All operations from any thread.
template <class T = void>
class TaskHandle {
public:
    TaskHandle() = default;
    explicit TaskHandle(std::shared_ptr<detail::TaskState<T>> state)
        : state_(std::move(state)) {}

    explicit operator bool() const { return state_ != nullptr; }

    /// Sets the task's cancelled state, which stays set; its present and later sleeps end at once. A task
    /// that has ended, or an empty handle, is left alone. A task may cancel itself: it runs on.
    void cancel() const {
        if (state_)
            state_->cancel();
    }
    bool isCancelled() const { return state_ && state_->isCancelled(); }
    bool isDone() const { return state_ && state_->isDone(); }

    /// The task's value or error, for any number of waiting tasks. Not cut short by cancelling the waiter.
    Task<T> value() const { return valueOf(state_, detail::TaskCore::Cancelling::isIgnored); }

    /// As `value()`, but a cancelled waiter passes its cancellation on to the task, and still waits for it.
    Task<T> valueForwardingCancellation() const {
        return valueOf(state_, detail::TaskCore::Cancelling::isForwarded);
    }

    /// As `value()`, but a waiter that is or gets cancelled gets `CancellationError` at once; the task goes
    /// on.
    Task<T> valueUnlessCancelled() const { return valueCutShort(state_); }

    /// The task's untyped state.
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

/// Starts `task` on `actor`: it is queued and never runs inside the caller.
template <class T>
TaskHandle<T> spawn(const Actor& actor, Task<T> task) {
    auto state = std::make_shared<detail::TaskState<T>>();
    detail::TaskCore::launch(actor, state, detail::runInto<T>(state, std::move(task)));
    return TaskHandle<T>(std::move(state));
}

/// Runs `task` on `actor` as part of the calling task: its value or error comes back to the caller's own
/// actor, and cancelling the caller cancels it.
template <class T>
Task<T> runOn(Actor actor, Task<T> task) {
    const auto handle = spawn(actor, std::move(task));
    co_return co_await handle.valueForwardingCancellation();
}

/// Runs both tasks on `actor`. The first outcome wins, value or error; the other task is then cancelled and
/// waited for, and its outcome dropped. Cancelling the caller cancels both.
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

/// The tasks that are alive in one program or test, so that they can be ended before their actors go.
class TaskRegistry {
public:
    TaskRegistry();
    ~TaskRegistry();
    TaskRegistry(const TaskRegistry&) = delete;
    TaskRegistry& operator=(const TaskRegistry&) = delete;

    /// Cancels every task that has not ended. From any thread.
    void cancelAll();
    /// Number of tasks that have not ended.
    std::size_t count() const;
    /// Waits at most `seconds` until no task is left; false when some are. Not on an actor that they need.
    bool waitUntilEmpty(double seconds) const;

private:
    friend class detail::TaskCore;
    void add(const std::shared_ptr<detail::TaskCore>& core);
    void remove(const detail::TaskCore* core);

    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sonvale::runtime
