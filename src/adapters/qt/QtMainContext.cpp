#include "adapters/qt/QtMainContext.h"

#include <boost/asio/execution.hpp>
#include <boost/asio/execution_context.hpp>

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>
#include <QObject>
#include <mutex>
#include <thread>
#include <type_traits>

namespace sonvale::adapters::qt {

namespace asio = boost::asio;

namespace {

QEvent::Type workEventType() {
    static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

/// Work of any type, including move-only ones.
struct Work {
    Work() = default;
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
    virtual ~Work() = default;
    virtual void run() = 0;
};

template <class Function>
struct WorkOf final : Work {
    explicit WorkOf(Function f)
        : function(std::move(f)) {}
    void run() override { std::move(function)(); }
    Function function;
};

struct WorkEvent final : QEvent {
    explicit WorkEvent(std::unique_ptr<Work> w)
        : QEvent(workEventType())
        , work(std::move(w)) {}
    std::unique_ptr<Work> work;
};

struct Receiver final : QObject {
    bool event(QEvent* event) override {
        if (event->type() != workEventType())
            return QObject::event(event);
        run(std::move(static_cast<WorkEvent*>(event)->work));
        return true;
    }

    /// An exception cannot pass through Qt's event loop; `noexcept` ends the process at the throw.
    static void run(std::unique_ptr<Work> work) noexcept { work->run(); }
};

} // namespace

/// Executors share it, so that they stay valid after the end of the context.
struct QtMainContext::State final : asio::execution_context {
    bool isMainThread() const { return std::this_thread::get_id() == thread; }

    bool isOpen() const {
        const std::lock_guard lock(mutex);
        return receiver != nullptr;
    }

    void post(std::unique_ptr<Work> work) {
        auto event = std::make_unique<WorkEvent>(std::move(work));
        const std::lock_guard lock(mutex);
        if (receiver)
            QCoreApplication::postEvent(receiver.get(), event.release());
        // Otherwise the work is dropped after the lock is released, because its destruction may post again.
    }

    void close() {
        std::unique_ptr<Receiver> closed;
        {
            const std::lock_guard lock(mutex);
            closed = std::move(receiver);
        }
        // This destroys its queued events. Their destruction may post again and finds the context closed.
    }

    const std::thread::id thread = std::this_thread::get_id();
    mutable std::mutex mutex;
    std::unique_ptr<Receiver> receiver = std::make_unique<Receiver>(); ///< guarded by `mutex`
};

namespace {

/// Follows Asio's own contexts: `post` always queues, `dispatch` on the main thread runs at once.
template <class State>
class Executor {
public:
    Executor(std::shared_ptr<State> state, bool mayRunAtOnce)
        : state_(std::move(state))
        , mayRunAtOnce_(mayRunAtOnce) {}

    asio::execution_context& query(asio::execution::context_t) const noexcept { return *state_; }

    asio::execution::blocking_t query(asio::execution::blocking_t) const noexcept {
        if (mayRunAtOnce_)
            return asio::execution::blocking.possibly;
        return asio::execution::blocking.never;
    }

    Executor require(asio::execution::blocking_t::never_t) const { return Executor(state_, false); }
    Executor require(asio::execution::blocking_t::possibly_t) const { return Executor(state_, true); }

    template <class Function>
    void execute(Function&& function) const {
        if (mayRunAtOnce_ && state_->isMainThread() && state_->isOpen()) {
            std::decay_t<Function> now(std::forward<Function>(function));
            std::move(now)();
            return;
        }
        state_->post(std::make_unique<WorkOf<std::decay_t<Function>>>(std::forward<Function>(function)));
    }

    friend bool operator==(const Executor& a, const Executor& b) noexcept {
        return a.state_ == b.state_ && a.mayRunAtOnce_ == b.mayRunAtOnce_;
    }
    friend bool operator!=(const Executor& a, const Executor& b) noexcept { return !(a == b); }

private:
    std::shared_ptr<State> state_;
    bool mayRunAtOnce_;
};

} // namespace

QtMainContext::QtMainContext(runtime::Clock& clock, std::shared_ptr<runtime::TaskRegistry> registry)
    : clock_(clock)
    , registry_(std::move(registry))
    , state_(std::make_shared<State>()) {}

QtMainContext::~QtMainContext() {
    state_->close();
}

runtime::Actor QtMainContext::actor() const {
    return runtime::Actor::serial(
        "main", Executor<State>(state_, true), [state = state_] { return state->isMainThread(); }, registry_);
}

bool QtMainContext::runUntil(const std::function<bool()>& done, double seconds) {
    // Another thread may make `done` true without an event for this thread.
    constexpr double pollSeconds = 0.005;

    const double end = clock_.now() + seconds;
    while (!done()) {
        if (clock_.now() >= end)
            return false;
        const auto look = clock_.schedule(pollSeconds, [state = state_] {
            const auto wakeUp = [] {};
            state->post(std::make_unique<WorkOf<decltype(wakeUp)>>(wakeUp));
        });
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        clock_.cancel(look);
    }
    return true;
}

} // namespace sonvale::adapters::qt
