#pragma once

#include "platform/EventTap.h"

#include <algorithm>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace sonvale::tests {

/// A callback for a key tap that records the events and answers as the test says. Any thread.
class TapRecorder {
public:
    /// Returns the callback. The tap must not call it after the end of the recorder.
    platform::EventTap::Callback callback() {
        return [this](const platform::KeyEvent& event) {
            const std::lock_guard lock(mutex_);
            events_.push_back(event);
            return decide_ ? decide_(event) : platform::KeyVerdict::pass;
        };
    }

    std::function<void(platform::KeyCombination)> onTaken() {
        return [this](platform::KeyCombination combination) {
            const std::lock_guard lock(mutex_);
            taken_.push_back(combination);
        };
    }

    /// Sets the decision. Without one all events pass.
    void setDecide(std::function<platform::KeyVerdict(const platform::KeyEvent&)> decide) {
        const std::lock_guard lock(mutex_);
        decide_ = std::move(decide);
    }

    /// Swallows the presses and releases of one combination's key with its modifiers.
    void swallow(platform::KeyCombination combination) {
        setDecide([combination](const platform::KeyEvent& event) {
            const bool isKey = event.type == platform::KeyEvent::Type::keyDown ||
                               event.type == platform::KeyEvent::Type::keyUp;
            return isKey && event.keyCode == combination.keyCode && event.flags == combination.modifiers
                       ? platform::KeyVerdict::swallow
                       : platform::KeyVerdict::pass;
        });
    }

    std::vector<platform::KeyEvent> events() const {
        const std::lock_guard lock(mutex_);
        return events_;
    }

    std::vector<platform::KeyCombination> taken() const {
        const std::lock_guard lock(mutex_);
        return taken_;
    }

    bool has(platform::KeyEvent wanted) const { return count(wanted) > 0; }

    int count(platform::KeyEvent wanted) const {
        const std::lock_guard lock(mutex_);
        return static_cast<int>(std::count_if(events_.begin(), events_.end(), [&](const auto& event) {
            return event.type == wanted.type && event.keyCode == wanted.keyCode &&
                   event.flags == wanted.flags;
        }));
    }

    /// Returns all events so far, for the message of a failed test.
    std::string text() const {
        std::string result;
        for (const auto& event : events()) {
            const char* kinds[] = {"down", "up", "flags", "disabled"};
            result += std::string(kinds[static_cast<int>(event.type)]) + " " + std::to_string(event.keyCode) +
                      " " + std::to_string(event.flags >> 17) + "; ";
        }
        return result;
    }

    void clear() {
        const std::lock_guard lock(mutex_);
        events_.clear();
    }

private:
    mutable std::mutex mutex_;
    std::vector<platform::KeyEvent> events_;
    std::vector<platform::KeyCombination> taken_;
    std::function<platform::KeyVerdict(const platform::KeyEvent&)> decide_;
};

} // namespace sonvale::tests
