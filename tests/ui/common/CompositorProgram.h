#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/ui/common/DesktopProbe.h"

#include <gtest/gtest.h>

#include <memory>

namespace sonvale::tests {

/// Runs a compositor on the private display until it is destroyed.
class CompositorProgram {
public:
    explicit CompositorProgram(DesktopProbe& probe)
        : probe_(probe) {
        ChildProcess::Options options;
        options.arguments = {"picom", "--backend", "xrender", "--config", "/dev/null"};
        process_ = std::make_unique<ChildProcess>(std::move(options));
        EXPECT_TRUE(eventuallyInQt(20, [this] { return probe_.hasOwner("_NET_WM_CM_S0"); }));
    }
    ~CompositorProgram() {
        process_->end();
        EXPECT_TRUE(eventuallyInQt(20, [this] { return !probe_.hasOwner("_NET_WM_CM_S0"); }));
    }
    CompositorProgram(const CompositorProgram&) = delete;
    CompositorProgram& operator=(const CompositorProgram&) = delete;

private:
    DesktopProbe& probe_;
    std::unique_ptr<ChildProcess> process_;
};

} // namespace sonvale::tests
