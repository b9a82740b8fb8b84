#include "runtime/Actor.h"

#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace sonvale::runtime {

struct Actor::State {
    std::string name;
    boost::asio::any_io_executor executor;
    std::function<bool()> isCurrent; ///< empty for a concurrent place
    std::shared_ptr<TaskRegistry> registry;
};

Actor Actor::serial(std::string name, boost::asio::any_io_executor executor, std::function<bool()> isCurrent,
                    std::shared_ptr<TaskRegistry> registry) {
    return Actor(std::make_shared<const State>(
        State{std::move(name), std::move(executor), std::move(isCurrent), std::move(registry)}));
}

Actor Actor::concurrent(std::string name, boost::asio::any_io_executor executor,
                        std::shared_ptr<TaskRegistry> registry) {
    return Actor(std::make_shared<const State>(
        State{std::move(name), std::move(executor), nullptr, std::move(registry)}));
}

const std::string& Actor::name() const {
    return state_->name;
}

void Actor::post(std::function<void()> work) const {
    boost::asio::post(state_->executor, std::move(work));
}

bool Actor::isCurrent() const {
    return !state_->isCurrent || state_->isCurrent();
}

void Actor::assertCurrent() const {
#ifndef NDEBUG
    if (!isCurrent()) {
        std::fprintf(stderr, "called off its actor \"%s\"\n", state_->name.c_str());
        std::abort();
    }
#endif
}

boost::asio::any_io_executor Actor::executorForTask() const {
    if (state_->isCurrent)
        return state_->executor;
    return boost::asio::make_strand(state_->executor);
}

const std::shared_ptr<TaskRegistry>& Actor::registry() const {
    return state_->registry;
}

} // namespace sonvale::runtime
