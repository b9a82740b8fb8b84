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
/// It has no thread of its own; whatever thread types or calls `Control::runBlocks()` stands for the tap's
/// thread, one at a time.
class FakeEventTap final : public platform::EventTap {
public:
    /// What only tests call. From any thread, unless said otherwise.
    class Control {
    public:
        explicit Control(FakeEventTap& tap)
            : tap_(tap) {}

        /// What `probe()` and `start()` answer from now on. True at first.
        void setPermitted(bool permitted) {
            tap_.permitted_ = permitted;
            tap_.startPermitted_ = permitted;
        }
        /// What `start()` alone answers from now on.
        void setStartPermitted(bool permitted) { tap_.startPermitted_ = permitted; }

        /// Runs inside each call of `probe()`, on its thread.
        void setOnProbe(std::function<void()> onProbe) {
            const std::lock_guard lock(tap_.mutex_);
            tap_.onProbe_ = std::move(onProbe);
        }
        int probeCount() const { return tap_.probeCount_; }

        /// Number of calls of `start()`, refused ones included.
        int startCount() const { return tap_.startCount_; }
        int enableCount() const { return tap_.enableCount_; }
        /// Number of calls of `maskHeldKeys()`.
        int maskCount() const { return tap_.maskCount_; }
        bool isRunning() const {
            const std::lock_guard lock(tap_.mutex_);
            return tap_.running_;
        }

        std::vector<platform::KeyCombination> swallowable() const {
            const std::lock_guard lock(tap_.mutex_);
            return tap_.swallowable_;
        }

        /// Runs waiting blocks, then the callback with the event as it is given. Returns what becomes of the
        /// event: `swallow` only when the callback says so and the combination is swallowable. `pass` when
        /// the tap is not running.
        platform::KeyVerdict send(const platform::KeyEvent& event) {
            runBlocks();
            const std::lock_guard turn(tap_.turn_);
            const auto callback = tap_.currentCallback();
            if (!callback)
                return platform::KeyVerdict::pass;
            const auto verdict = callback(event);
            return tap_.isSwallowable(event) ? verdict : platform::KeyVerdict::pass;
        }

        /// A key goes down or up with the modifiers that are held by `holdModifiers`.
        platform::KeyVerdict keyDown(int keyCode) {
            return send({platform::KeyEvent::Type::keyDown, keyCode, tap_.flags_});
        }
        platform::KeyVerdict keyUp(int keyCode) {
            return send({platform::KeyEvent::Type::keyUp, keyCode, tap_.flags_});
        }

        /// The modifiers that are held from now on; one flags-changed event tells of it. `keyCode` names the
        /// modifier key, where a test cares.
        platform::KeyVerdict holdModifiers(std::uint64_t flags, int keyCode = -1) {
            tap_.flags_ = flags;
            return send({platform::KeyEvent::Type::flagsChanged, keyCode, flags});
        }

        /// The system stops the tap: the callback gets `tapDisabled`.
        void disable() { send({platform::KeyEvent::Type::tapDisabled, 0, 0}); }

        /// Runs the blocks of `perform` that wait, those that they add included.
        void runBlocks() {
            const std::lock_guard turn(tap_.turn_);
            while (auto block = tap_.takeBlock())
                block();
        }

        /// Another program keeps the combination: `onTaken` is told as the port says.
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
        // A key up is kept from the application as well, also when its modifier went up first.
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
