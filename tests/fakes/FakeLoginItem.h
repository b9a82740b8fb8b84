#pragma once

#include "platform/LoginItem.h"

namespace sonvale::tests {

/// A login item that a test reads, turns off as another tool would, and makes fail.
class FakeLoginItem final : public platform::LoginItem {
public:
    /// The operations for tests. Main actor.
    class Control {
    public:
        /// Returns whether the program would be started.
        bool isEnabled() const { return isEnabled_; }
        /// Turns it on or off as another tool does.
        void setEnabled(bool isEnabled) { isEnabled_ = isEnabled; }
        /// Makes later registrations and unregistrations throw; the registration then stays.
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
