#pragma once

#include "platform/SessionLock.h"

#include <functional>
#include <utility>

namespace sonvale::tests {

/// A session that a test locks.
class FakeSessionLock final : public platform::SessionLock {
public:
    /// The operations for tests. Main actor.
    class Control {
    public:
        void setLocked(bool isLocked) {
            if (std::exchange(isLocked_, isLocked) != isLocked && observer_)
                observer_(isLocked);
        }

    private:
        friend class FakeSessionLock;
        std::function<void(bool)> observer_;
        bool isLocked_ = false;
    };

    Control& control() { return control_; }

    void setOnLockChange(std::function<void(bool isLocked)> observer) override {
        control_.observer_ = std::move(observer);
        if (control_.isLocked_)
            control_.observer_(true);
    }

private:
    Control control_;
};

} // namespace sonvale::tests
