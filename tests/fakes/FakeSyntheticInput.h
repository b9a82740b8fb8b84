#pragma once

#include "platform/SyntheticInput.h"

#include <functional>
#include <mutex>
#include <utility>
#include <vector>

namespace sonvale::tests {

/// Key presses that are recorded instead of sent.
class FakeSyntheticInput final : public platform::SyntheticInput {
public:
    enum class Press { paste, undo, copy };

    /// The operations for tests. Any thread.
    class Control {
    public:
        /// Returns all presses so far, in order.
        std::vector<Press> presses() const {
            const std::lock_guard lock(mutex_);
            return presses_;
        }

        int count(Press press) const {
            const std::lock_guard lock(mutex_);
            int number = 0;
            for (const auto each : presses_)
                number += each == press ? 1 : 0;
            return number;
        }

        /// Sets a function that is called inside each press, on its thread: the reaction of the front
        /// application.
        void setOnPress(std::function<void(Press)> onPress) {
            const std::lock_guard lock(mutex_);
            onPress_ = std::move(onPress);
        }

    private:
        friend class FakeSyntheticInput;

        void add(Press press) {
            std::function<void(Press)> onPress;
            {
                const std::lock_guard lock(mutex_);
                presses_.push_back(press);
                onPress = onPress_;
            }
            if (onPress)
                onPress(press);
        }

        mutable std::mutex mutex_;
        std::vector<Press> presses_;
        std::function<void(Press)> onPress_;
    };

    Control& control() { return control_; }

    void pressPaste() override { control_.add(Press::paste); }
    void pressUndo() override { control_.add(Press::undo); }
    void pressCopy() override { control_.add(Press::copy); }

private:
    Control control_;
};

} // namespace sonvale::tests
