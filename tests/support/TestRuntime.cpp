#include "tests/support/TestRuntime.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/strand.hpp>

#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <utility>

namespace sonvale::tests {

namespace asio = boost::asio;

struct TestRuntime::Impl {
    asio::io_context context;
    std::shared_ptr<runtime::TaskRegistry> registry = std::make_shared<runtime::TaskRegistry>();
    runtime::ManualClock clock{[this] { settle(); }};

    bool isRunning = false;

    void settle() {
        const bool wasRunning = std::exchange(isRunning, true);
        context.restart();
        context.poll();
        isRunning = wasRunning;
    }
};

TestRuntime::TestRuntime()
    : impl_(std::make_unique<Impl>()) {}

TestRuntime::~TestRuntime() {
    endTasks();
}

void TestRuntime::endTasks() {
    impl_->registry->cancelAll();
    runUntilIdle();
    // Operations that ignore cancellation may still wait for the clock.
    for (int i = 0; i < 1000 && impl_->registry->count() > 0 && impl_->clock.pending() > 0; ++i)
        impl_->clock.advance(std::max(impl_->clock.untilNext(), 0.0));
    if (impl_->registry->count() > 0) {
        std::cerr << impl_->registry->count() << " tasks did not end with their test\n";
        std::abort();
    }
}

runtime::Actor TestRuntime::main() const {
    const auto executor = impl_->context.get_executor();
    return runtime::Actor::serial(
        "main", executor,
        // The test's own code counts as the main actor.
        [executor, impl = impl_.get()] { return !impl->isRunning || executor.running_in_this_thread(); },
        impl_->registry);
}

runtime::Actor TestRuntime::pool() const {
    return runtime::Actor::concurrent("pool", impl_->context.get_executor(), impl_->registry);
}

runtime::Actor TestRuntime::makeSerialActor(std::string name) const {
    const auto strand = asio::make_strand(impl_->context.get_executor());
    return runtime::Actor::serial(
        std::move(name), strand, [strand] { return strand.running_in_this_thread(); }, impl_->registry);
}

runtime::TaskRegistry& TestRuntime::registry() const {
    return *impl_->registry;
}

void TestRuntime::runUntilIdle() {
    impl_->settle();
}

void TestRuntime::drive(const std::function<bool()>& isDone) {
    runUntilIdle();
    while (!isDone()) {
        if (impl_->clock.pending() == 0)
            throw std::logic_error("nothing is left that could end the task");
        impl_->clock.advance(std::max(impl_->clock.untilNext(), 0.0));
    }
}

runtime::ManualClock& TestRuntime::clock() {
    return impl_->clock;
}

} // namespace sonvale::tests
