#pragma once

#include "platform/AccessibilityTree.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace sonvale::tests {

/// One session that grants the right, or takes it away.
class AccessibilityTreeHarness {
public:
    AccessibilityTreeHarness() = default;
    AccessibilityTreeHarness(const AccessibilityTreeHarness&) = delete;
    AccessibilityTreeHarness& operator=(const AccessibilityTreeHarness&) = delete;
    virtual ~AccessibilityTreeHarness() = default;

    virtual platform::AccessibilityTree& tree() = 0;
    /// Before it the right is there.
    virtual void takeAway() = 0;
    /// Puts an editor with this text in front and selects all of it, or nothing when that is said.
    virtual void select(const std::string& text) = 0;
    virtual void unselect() = 0;
};

struct AccessibilityTreeMaker {
    std::string name;
    std::function<std::unique_ptr<AccessibilityTreeHarness>()> make;
};

class AccessibilityTreeContract : public testing::TestWithParam<AccessibilityTreeMaker> {
protected:
    std::unique_ptr<AccessibilityTreeHarness> harness = GetParam().make();
    platform::AccessibilityTree& tree = harness->tree();
};

} // namespace sonvale::tests
