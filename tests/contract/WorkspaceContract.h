#pragma once

#include "platform/Workspace.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace sonvale::tests {

/// A desktop whose front application the test chooses.
class WorkspaceHarness {
public:
    WorkspaceHarness() = default;
    WorkspaceHarness(const WorkspaceHarness&) = delete;
    WorkspaceHarness& operator=(const WorkspaceHarness&) = delete;
    virtual ~WorkspaceHarness() = default;

    virtual platform::Workspace& workspace() = 0;

    /// Brings a program to the front that reports this about itself, with a document open in its window.
    virtual void bringToFront(const platform::FrontApplication& application) = 0;
    /// Closes every program.
    virtual void closeAll() = 0;

    /// Installs a program for the settings pages and for web pages.
    virtual void installPrograms() = 0;
    /// Returns the number of opened addresses; waits for `expected` of them, and a moment for more.
    virtual std::size_t openedCount(std::size_t expected) = 0;
    /// Returns the name in the account, read in another way.
    virtual std::string userName() = 0;
};

struct WorkspaceMaker {
    std::string name;
    std::function<std::unique_ptr<WorkspaceHarness>()> make;
};

class WorkspaceContract : public testing::TestWithParam<WorkspaceMaker> {
protected:
    std::unique_ptr<WorkspaceHarness> harness = GetParam().make();
    platform::Workspace& workspace = harness->workspace();
};

} // namespace sonvale::tests
