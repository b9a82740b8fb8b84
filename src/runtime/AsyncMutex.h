#pragma once

#include "runtime/Task.h"

#include <deque>
#include <memory>
#include <optional>
#include <utility>

namespace sonvale::runtime {

/// Admits one task at a time to code that suspends, in the order of their calls.
///
/// Belongs to one actor: it is locked, and its guards are destroyed, there only. It may be destroyed before
/// its guards.
class AsyncMutex {
    struct State {
        bool isLocked = false;
        std::deque<Continuation<>> waiting;
    };

public:
    /// Admits the next task when it is destroyed.
    class Guard {
    public:
        Guard(Guard&&) noexcept = default;
        Guard& operator=(Guard&&) = delete;
        ~Guard() {
            if (state_)
                unlock();
        }

    private:
        friend class AsyncMutex;
        explicit Guard(std::shared_ptr<State> state)
            : state_(std::move(state)) {}

        void unlock() {
            state_->isLocked = false;
            while (!state_->waiting.empty() && !state_->isLocked) {
                const auto next = std::move(state_->waiting.front());
                state_->waiting.pop_front();
                state_->isLocked = next.resume();
            }
        }

        std::shared_ptr<State> state_;
    };

    AsyncMutex() = default;
    AsyncMutex(const AsyncMutex&) = delete;
    AsyncMutex& operator=(const AsyncMutex&) = delete;

    /// Waits for the caller's turn. Cancelling the caller neither shortens the wait nor changes the order.
    Task<Guard> lock() { return lock(state_); }

private:
    static Task<Guard> lock(std::shared_ptr<State> state) {
        if (state->isLocked) {
            std::function<void(Continuation<>)> wait = [state](Continuation<> turn) {
                state->waiting.push_back(std::move(turn));
            };
            co_await suspend<>(std::move(wait)); // the previous owner has left it locked
        }
        state->isLocked = true;
        co_return Guard(std::move(state));
    }

    const std::shared_ptr<State> state_ = std::make_shared<State>();
};

} // namespace sonvale::runtime
