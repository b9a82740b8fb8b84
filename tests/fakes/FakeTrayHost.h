#pragma once

#include "platform/TrayHost.h"

#include <functional>
#include <utility>

namespace sonvale::tests {

/// A desktop whose panel a test shows. Nothing happens inside `wait`: the test calls `run`.
class FakeTrayHost final : public platform::TrayHost {
public:
    /// What only tests call. Main actor.
    class Control {
    public:
        void showPanel() {
            hasPanel_ = true;
            run();
        }
        /// Reports a panel that was there before `wait`.
        void run() {
            if (hasPanel_ && onFound_) {
                onNoneYet_ = nullptr;
                std::exchange(onFound_, nullptr)();
            }
        }
        /// The desktop has had the time to start.
        void endGrace() {
            run();
            if (onNoneYet_)
                std::exchange(onNoneYet_, nullptr)();
        }

    private:
        friend class FakeTrayHost;
        bool hasPanel_ = false;
        std::function<void()> onFound_;
        std::function<void()> onNoneYet_;
    };

    Control& control() { return control_; }

    void wait(std::function<void()> onFound, std::function<void()> onNoneYet) override {
        control_.onFound_ = std::move(onFound);
        control_.onNoneYet_ = std::move(onNoneYet);
    }
    void stop() override {
        control_.onFound_ = nullptr;
        control_.onNoneYet_ = nullptr;
    }

private:
    Control control_;
};

} // namespace sonvale::tests
