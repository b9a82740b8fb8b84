#pragma once

#include "platform/Workspace.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace sonvale::tests {

/// One desktop whose front application the test chooses.
class WorkspaceHarness {
public:
    WorkspaceHarness() = default;
    WorkspaceHarness(const WorkspaceHarness&) = delete;
    WorkspaceHarness& operator=(const WorkspaceHarness&) = delete;
    virtual ~WorkspaceHarness() = default;

    virtual platform::Workspace& workspace() = 0;

    /// Brings a program to the front that tells this about itself, with a document open in its window.
    virtual void bringToFront(const platform::FrontApplication& application) = 0;
    /// Closes every program.
    virtual void closeAll() = 0;

    /// Puts a program there for the pages of the settings and those of the web.
    virtual void installPrograms() = 0;
    /// How many addresses were opened with it; waits for so many, and a moment for more.
    virtual std::size_t openedCount(std::size_t expected) = 0;
    /// What the account says by another road.
    virtual std::string nameOfTheUser() = 0;
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
