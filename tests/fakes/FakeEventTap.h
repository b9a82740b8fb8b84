#pragma once

#include "platform/EventTap.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <mutex>
#include <utility>

namespace sonvale::tests {

/// A key tap whose keyboard is the test: `control()` types, and the callback runs inside the call that types.
///
/// It has no thread of its own. Any thread that types or calls `Control::runBlocks()` is the tap's thread for
/// that time, one at a time.
class FakeEventTap final : public platform::EventTap {
public:
    /// The operations for tests. Any thread, unless they say otherwise.
    class Control {
    public:
        explicit Control(FakeEventTap& tap)
            : tap_(tap) {}

        /// Sets the result of `probe()` and `start()`. True at first.
        void setPermitted(bool permitted) {
            tap_.permitted_ = permitted;
            tap_.startPermitted_ = permitted;
        }
        /// Sets the result of `start()` only.
        void setStartPermitted(bool permitted) { tap_.startPermitted_ = permitted; }

        /// Sets a function that runs inside each call of `probe()`, on its thread.
        void setOnProbe(std::function<void()> onProbe) {
            const std::lock_guard lock(tap_.mutex_);
            tap_.onProbe_ = std::move(onProbe);
        }
        int probeCount() const { return tap_.probeCount_; }

        /// Returns the number of calls of `start()`, including refused ones.
        int startCount() const { return tap_.startCount_; }
        int enableCount() const { return tap_.enableCount_; }
        /// Returns the number of calls of `maskHeldKeys()`.
        int maskCount() const { return tap_.maskCount_; }
        bool isRunning() const {
            const std::lock_guard lock(tap_.mutex_);
            return tap_.running_;
        }

        std::vector<platform::KeyCombination> swallowable() const {
            const std::lock_guard lock(tap_.mutex_);
            return tap_.swallowable_;
        }

        /// Runs the waiting blocks, then the callback with this event. Returns what happens to the event:
        /// `swallow` only if the callback says so and the combination is swallowable, and `pass` if the tap
        /// does not run.
        platform::KeyVerdict send(const platform::KeyEvent& event) {
            runBlocks();
            const std::lock_guard turn(tap_.turn_);
            const auto callback = tap_.currentCallback();
            if (!callback)
                return platform::KeyVerdict::pass;
            const auto verdict = callback(event);
            return tap_.isSwallowable(event) ? verdict : platform::KeyVerdict::pass;
        }

        /// Presses or releases a key with the modifiers of `holdModifiers`.
        platform::KeyVerdict keyDown(int keyCode) {
            return send({platform::KeyEvent::Type::keyDown, keyCode, tap_.flags_});
        }
        platform::KeyVerdict keyUp(int keyCode) {
            return send({platform::KeyEvent::Type::keyUp, keyCode, tap_.flags_});
        }

        /// Sets the held modifiers; one flags-changed event reports it. `keyCode` is the modifier key, for
        /// tests that need it.
        platform::KeyVerdict holdModifiers(std::uint64_t flags, int keyCode = -1) {
            tap_.flags_ = flags;
            return send({platform::KeyEvent::Type::flagsChanged, keyCode, flags});
        }

        /// Stops the tap as the system does: the callback gets `tapDisabled`.
        void disable() { send({platform::KeyEvent::Type::tapDisabled, 0, 0}); }

        /// Runs the waiting blocks of `perform`, including those that they add.
        void runBlocks() {
            const std::lock_guard turn(tap_.turn_);
            while (auto block = tap_.takeBlock())
                block();
        }

        /// Takes the combination as another program does: `onTaken` is called as the port says.
        void take(platform::KeyCombination combination) {
            const std::lock_guard turn(tap_.turn_);
            if (const auto onTaken = tap_.takerFor(combination))
                onTaken(combination);
        }

    private:
        FakeEventTap& tap_;
    };

    Control& control() { return control_; }

    bool probe() override {
        ++probeCount_;
        std::function<void()> onProbe;
        {
            const std::lock_guard lock(mutex_);
            onProbe = onProbe_;
        }
        if (onProbe)
            onProbe();
        return permitted_;
    }

    bool start(Callback callback) override {
        ++startCount_;
        if (!startPermitted_)
            return false;
        const std::lock_guard lock(mutex_);
        callback_ = std::move(callback);
        running_ = true;
        return true;
    }

    void stop() override {
        const std::lock_guard turn(turn_);
        Callback dropped;
        std::deque<std::function<void()>> droppedBlocks;
        const std::lock_guard lock(mutex_);
        running_ = false;
        callback_.swap(dropped);
        blocks_.swap(droppedBlocks);
    }

    void enable() override { ++enableCount_; }
    void maskHeldKeys() override { ++maskCount_; }

    void perform(std::function<void()> block) override {
        const std::lock_guard lock(mutex_);
        if (running_)
            blocks_.push_back(std::move(block));
    }

    void setSwallowable(std::vector<platform::KeyCombination> combinations) override {
        const std::lock_guard lock(mutex_);
        swallowable_ = std::move(combinations);
        reported_.clear();
    }

    void setOnTaken(std::function<void(platform::KeyCombination)> onTaken) override {
        const std::lock_guard lock(mutex_);
        onTaken_ = std::move(onTaken);
    }

private:
    Callback currentCallback() const {
        const std::lock_guard lock(mutex_);
        return running_ ? callback_ : Callback();
    }

    std::function<void()> takeBlock() {
        const std::lock_guard lock(mutex_);
        if (blocks_.empty())
            return {};
        auto block = std::move(blocks_.front());
        blocks_.pop_front();
        return block;
    }

    bool isSwallowable(const platform::KeyEvent& event) const {
        if (event.type != platform::KeyEvent::Type::keyDown && event.type != platform::KeyEvent::Type::keyUp)
            return false;
        const std::lock_guard lock(mutex_);
        // The release of a key is swallowed too, even if its modifier was released first.
        return std::any_of(swallowable_.begin(), swallowable_.end(), [&](const auto& combination) {
            return combination.keyCode == event.keyCode &&
                   (combination.modifiers == (event.flags & platform::modifier::mask) ||
                    event.type == platform::KeyEvent::Type::keyUp);
        });
    }

    std::function<void(platform::KeyCombination)> takerFor(platform::KeyCombination combination) {
        const std::lock_guard lock(mutex_);
        const auto has = [&](const auto& list) {
            return std::find(list.begin(), list.end(), combination) != list.end();
        };
        if (!running_ || !has(swallowable_) || has(reported_))
            return {};
        reported_.push_back(combination);
        return onTaken_;
    }

    mutable std::mutex mutex_; ///< guards the fields below it; never held while a callback runs
    bool running_ = false;
    Callback callback_;
    std::deque<std::function<void()>> blocks_;
    std::vector<platform::KeyCombination> swallowable_;
    std::vector<platform::KeyCombination> reported_;
    std::function<void(platform::KeyCombination)> onTaken_;
    std::function<void()> onProbe_;

    std::recursive_mutex
        turn_; ///< one callback or block at a time; recursive, because a block may call stop()
    std::atomic<bool> permitted_ = true;
    std::atomic<bool> startPermitted_ = true;
    std::atomic<int> probeCount_ = 0;
    std::atomic<int> startCount_ = 0;
    std::atomic<int> enableCount_ = 0;
    std::atomic<int> maskCount_ = 0;
    std::atomic<std::uint64_t> flags_ = 0;
    Control control_{*this};
};

} // namespace sonvale::tests
