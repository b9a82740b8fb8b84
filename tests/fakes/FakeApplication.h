#pragma once

#include "platform/Application.h"

#include <set>
#include <string>

namespace sonvale::tests {

/// A program without a desktop. Records for the test which windows are in the task bar and whether the
/// program was ended.
class FakeApplication final : public platform::Application {
public:
    void setActivationPolicy(platform::ActivationPolicy policy) override { policy_ = policy; }
    bool makeKeyAndOrderFront(const std::string& windowTitle) override {
        const bool isThere = windows.contains(windowTitle);
        if (isThere)
            front_ = windowTitle;
        return isThere;
    }
    void terminate() override { isTerminated_ = true; }

    std::set<std::string> windows; ///< titles of the open windows
    const std::string& front() const { return front_; }

    platform::ActivationPolicy policy() const { return policy_; }
    bool isTerminated() const { return isTerminated_; }

private:
    platform::ActivationPolicy policy_ = platform::ActivationPolicy::regular;
    std::string front_;
    bool isTerminated_ = false;
};

} // namespace sonvale::tests
