#pragma once

#include "platform/Application.h"

#include <vector>

namespace sonvale::tests {

/// A program without a desktop. Test side: its windows' places in the task bar, and whether it was ended.
class FakeApplication final : public platform::Application {
public:
    void setActivationPolicy(platform::ActivationPolicy policy) override { policy_ = policy; }
    void terminate() override { isTerminated_ = true; }

    platform::ActivationPolicy policy() const { return policy_; }
    bool isTerminated() const { return isTerminated_; }

private:
    platform::ActivationPolicy policy_ = platform::ActivationPolicy::regular;
    bool isTerminated_ = false;
};

} // namespace sonvale::tests
