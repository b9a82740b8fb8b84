#pragma once

#include "platform/Compositor.h"

namespace sonvale::tests {

/// A compositor that a test starts and stops.
class FakeCompositor final : public platform::Compositor {
public:
    /// What only tests call.
    void setRunning(bool isRunning) { isRunning_ = isRunning; }

    bool isRunning() const override { return isRunning_; }

private:
    bool isRunning_ = false;
};

} // namespace sonvale::tests
