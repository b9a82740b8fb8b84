#pragma once

#include "platform/AccessibilityTree.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace sonvale::tests {

/// A session that gives the permission, or removes it.
class AccessibilityTreeHarness {
public:
    AccessibilityTreeHarness() = default;
    AccessibilityTreeHarness(const AccessibilityTreeHarness&) = delete;
    AccessibilityTreeHarness& operator=(const AccessibilityTreeHarness&) = delete;
    virtual ~AccessibilityTreeHarness() = default;

    virtual platform::AccessibilityTree& tree() = 0;
    /// Removes the permission, which exists before.
    virtual void removePermission() = 0;
    /// Brings an editor with this text to the front and selects all of it. `unselect` then selects nothing.
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
