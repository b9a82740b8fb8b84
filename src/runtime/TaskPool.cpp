#include "runtime/TaskPool.h"

#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>

namespace sonvale::runtime {

namespace asio = boost::asio;

struct TaskPool::Impl {
    explicit Impl(unsigned threads)
        : pool(threads) {}

    std::shared_ptr<TaskRegistry> registry;
    asio::thread_pool pool;
};

TaskPool::TaskPool(unsigned threads, std::shared_ptr<TaskRegistry> registry)
    : impl_(std::make_unique<Impl>(threads)) {
    impl_->registry = std::move(registry);
}

TaskPool::~TaskPool() = default;

Actor TaskPool::actor() const {
    return Actor::concurrent("pool", impl_->pool.get_executor(), impl_->registry);
}

Actor TaskPool::makeSerialActor(std::string name) const {
    const auto strand = asio::make_strand(impl_->pool.get_executor());
    return Actor::serial(
        std::move(name), strand, [strand] { return strand.running_in_this_thread(); }, impl_->registry);
}

void TaskPool::join() {
    impl_->pool.join();
}

} // namespace sonvale::runtime
