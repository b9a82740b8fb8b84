#pragma once

#include "platform/LoginItem.h"

namespace sonvale::tests {

/// A login item that a test looks at, turns off behind the program's back, and can make fail.
class FakeLoginItem final : public platform::LoginItem {
public:
    /// The test's side. Main actor.
    class Control {
    public:
        /// Whether the program would be started.
        bool isEnabled() const { return isEnabled_; }
        /// As another tool does.
        void setEnabled(bool isEnabled) { isEnabled_ = isEnabled; }
        /// From now on registering and unregistering throw; what is registered stays.
        void setFailing(bool isFailing) { isFailing_ = isFailing; }
        int registrations() const { return registrations_; }
        int unregistrations() const { return unregistrations_; }

    private:
        friend class FakeLoginItem;
        bool isEnabled_ = false;
        bool isFailing_ = false;
        int registrations_ = 0;
        int unregistrations_ = 0;
    };

    Control& control() { return control_; }

    void registerItem() override { change(true, control_.registrations_); }
    void unregisterItem() override { change(false, control_.unregistrations_); }
    bool isEnabled() override { return control_.isEnabled_; }

private:
    void change(bool isEnabled, int& count) {
        ++count;
        if (control_.isFailing_ && (isEnabled || control_.isEnabled_))
            throw platform::LoginItemError("The folder cannot be written.");
        control_.isEnabled_ = isEnabled;
    }

    Control control_;
};

} // namespace sonvale::tests
