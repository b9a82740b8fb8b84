#include "runtime/Task.h"

#include <boost/asio/async_result.hpp>
#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <vector>

namespace sonvale::runtime {

namespace asio = boost::asio;

namespace detail {

namespace {

/// The rest of a suspended coroutine, independent of the type that Asio uses for it.
struct Resumption {
    Resumption() = default;
    Resumption(const Resumption&) = delete;
    Resumption& operator=(const Resumption&) = delete;
    virtual ~Resumption() = default;
    virtual asio::any_io_executor executor() const = 0;
    virtual void resume() = 0;
};

template <class Handler>
struct ResumptionOf final : Resumption {
    explicit ResumptionOf(Handler h)
        : handler(std::move(h))
        , work(asio::make_work_guard(asio::any_io_executor(asio::get_associated_executor(handler)))) {}
    asio::any_io_executor executor() const override { return work.get_executor(); }
    void resume() override {
        // A late cancellation must not reach a wait that has ended.
        asio::get_associated_cancellation_slot(handler).clear();
        Handler ready = std::move(handler);
        std::move(ready)();
    }

    Handler handler;
    asio::executor_work_guard<asio::any_io_executor> work;
};

} // namespace

struct Suspension::Impl {
    std::atomic<bool> isClaimed = false;
    std::mutex mutex;
    std::unique_ptr<Resumption> resumption; ///< guarded by `mutex`
    bool isFinished = false;                ///< guarded by `mutex`
};

Suspension::Suspension()
    : impl_(std::make_unique<Impl>()) {}
Suspension::~Suspension() = default;

bool Suspension::claim() {
    return !impl_->isClaimed.exchange(true);
}

void Suspension::finish() {
    std::unique_ptr<Resumption> resumption;
    {
        const std::lock_guard lock(impl_->mutex);
        impl_->isFinished = true;
        resumption = std::move(impl_->resumption);
    }
    if (!resumption)
        return;
    const auto executor = resumption->executor();
    asio::post(executor, [resumption = std::move(resumption)] { resumption->resume(); });
}

Task<void> Suspension::wait(std::shared_ptr<Suspension> self, std::function<void()> start,
                            std::function<void()> onCancel) {
    const auto cancellation = co_await asio::this_coro::cancellation_state;
    const bool isCancelledAlready = cancellation.cancelled() != asio::cancellation_type::none;

    const auto initiate = [&](auto handler) {
        const auto executor = asio::any_io_executor(asio::get_associated_executor(handler));
        auto slot = asio::get_associated_cancellation_slot(handler);
        if (onCancel && !isCancelledAlready && slot.is_connected())
            slot.assign([onCancel](asio::cancellation_type) { onCancel(); });

        {
            const std::lock_guard lock(self->impl_->mutex);
            self->impl_->resumption =
                std::make_unique<ResumptionOf<std::decay_t<decltype(handler)>>>(std::move(handler));
        }
        // Copies, because `start` may run on another thread, which can resume and destroy this frame before
        // `start` returns.
        const auto begin = std::move(start);
        const auto cancelNow = isCancelledAlready ? std::move(onCancel) : std::function<void()>();
        begin();
        if (cancelNow)
            cancelNow();
    };
    co_await asio::async_initiate<const asio::use_awaitable_t<>, void()>(initiate, asio::use_awaitable);
}

struct TaskCore::Impl {
    asio::any_io_executor executor;
    std::shared_ptr<TaskRegistry> registry;
    std::atomic<bool> isCancelled = false;

    // Used on the task's executor only.
    asio::cancellation_signal signal;
    bool isRunning = false;
    bool hasEmitted = false;

    /// Emits the signal once. A cancellation between queueing and start is seen by both of them.
    void emitOnce() {
        if (isRunning && !std::exchange(hasEmitted, true))
            signal.emit(asio::cancellation_type::terminal);
    }

    std::mutex mutex;
    bool isDone = false;                        ///< guarded by `mutex`
    std::vector<std::function<void()>> waiters; ///< guarded by `mutex`
};

TaskCore::TaskCore()
    : impl_(std::make_unique<Impl>()) {}
TaskCore::~TaskCore() = default;

void TaskCore::cancel() {
    if (isDone() || impl_->isCancelled.exchange(true))
        return;
    // The signal belongs to the task's executor. Before the start, the start itself checks the flag.
    asio::dispatch(impl_->executor, [self = shared_from_this()] { self->impl_->emitOnce(); });
}

bool TaskCore::isCancelled() const {
    return impl_->isCancelled;
}

bool TaskCore::isDone() const {
    const std::lock_guard lock(impl_->mutex);
    return impl_->isDone;
}

void TaskCore::whenDone(std::function<void()> then) {
    {
        const std::lock_guard lock(impl_->mutex);
        if (!impl_->isDone) {
            impl_->waiters.push_back(std::move(then));
            return;
        }
    }
    then();
}

Task<void> TaskCore::waitUntilDone(std::shared_ptr<TaskCore> self, Cancelling cancelling) {
    if (!self)
        throw std::logic_error("waiting for a task that was never started");
    std::function<void()> onCancel;
    if (cancelling == Cancelling::isForwarded)
        onCancel = [self] { self->cancel(); };
    std::function<void(Continuation<void>)> start = [self](Continuation<void> done) {
        self->whenDone([done] { done.resume(); });
    };
    co_await suspend<void>(std::move(start), std::move(onCancel));
}

Task<void> TaskCore::runRoot(std::shared_ptr<TaskCore> core, Task<void> body) {
    // Cancellation is a state that operations check; it must not throw at every co_await.
    co_await asio::this_coro::throw_if_cancelled(false);
    co_await std::move(body);
    core->impl_->isRunning = false;
}

void TaskCore::launch(const Actor& actor, const std::shared_ptr<TaskCore>& core, Task<void> body) {
    core->impl_->executor = actor.executorForTask();
    core->impl_->registry = actor.registry();
    core->impl_->registry->add(core);
    asio::post(core->impl_->executor, [core, body = std::move(body)]() mutable {
        auto& impl = *core->impl_;
        impl.isRunning = true;
        asio::co_spawn(impl.executor, runRoot(core, std::move(body)),
                       asio::bind_cancellation_slot(impl.signal.slot(),
                                                    [core](const std::exception_ptr&) { core->finish(); }));
        if (impl.isCancelled)
            impl.emitOnce();
    });
}

void TaskCore::finish() {
    std::vector<std::function<void()>> waiters;
    {
        const std::lock_guard lock(impl_->mutex);
        impl_->isDone = true;
        waiters.swap(impl_->waiters);
    }
    for (const auto& waiter : waiters)
        waiter();
    impl_->registry->remove(this);
}

} // namespace detail

Task<bool> isCurrentTaskCancelled() {
    const auto cancellation = co_await asio::this_coro::cancellation_state;
    co_return cancellation.cancelled() != asio::cancellation_type::none;
}

struct TaskRegistry::Impl {
    mutable std::mutex mutex;
    mutable std::condition_variable isEmpty;
    std::map<const detail::TaskCore*, std::weak_ptr<detail::TaskCore>> tasks;
};

TaskRegistry::TaskRegistry()
    : impl_(std::make_unique<Impl>()) {}
TaskRegistry::~TaskRegistry() = default;

void TaskRegistry::add(const std::shared_ptr<detail::TaskCore>& core) {
    const std::lock_guard lock(impl_->mutex);
    impl_->tasks.emplace(core.get(), core);
}

void TaskRegistry::remove(const detail::TaskCore* core) {
    const std::lock_guard lock(impl_->mutex);
    impl_->tasks.erase(core);
    if (impl_->tasks.empty())
        impl_->isEmpty.notify_all();
}

void TaskRegistry::cancelAll() {
    std::vector<std::shared_ptr<detail::TaskCore>> alive;
    {
        const std::lock_guard lock(impl_->mutex);
        for (const auto& [key, weak] : impl_->tasks) {
            if (auto core = weak.lock())
                alive.push_back(std::move(core));
        }
    }
    for (const auto& core : alive)
        core->cancel();
}

std::size_t TaskRegistry::count() const {
    const std::lock_guard lock(impl_->mutex);
    return impl_->tasks.size();
}

bool TaskRegistry::waitUntilEmpty(double seconds) const {
    std::unique_lock lock(impl_->mutex);
    return impl_->isEmpty.wait_for(lock, std::chrono::duration<double>(seconds),
                                   [this] { return impl_->tasks.empty(); });
}

} // namespace sonvale::runtime
