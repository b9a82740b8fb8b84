#include "platform/linux/X11Workspace.h"
#include "runtime/SystemClock.h"
#include "tests/contract/WorkspaceContract.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/TestWindow.h"

#include <vector>

namespace sonvale::tests {

namespace {

class FakeHarness final : public WorkspaceHarness {
public:
    platform::Workspace& workspace() override { return fake_; }
    void bringToFront(const platform::FrontApplication& application) override {
        fake_.control().setFrontmost(application);
    }
    void closeAll() override { fake_.control().setFrontmost(std::nullopt); }

private:
    FakeWorkspace fake_;
};

class X11Harness final : public WorkspaceHarness {
public:
    explicit X11Harness(WindowManager windowManager)
        : display_(windowManager) {}

    platform::Workspace& workspace() override { return workspace_; }
    void bringToFront(const platform::FrontApplication& application) override {
        TestWindow::Properties properties;
        properties.instance = "instance";
        properties.className = application.bundleIdentifier.value_or("");
        if (!application.bundleIdentifier)
            properties.instance.clear();
        properties.netName = application.localizedName;
        if (application.processIdentifier != 0)
            properties.processIdentifier = static_cast<std::uint32_t>(application.processIdentifier);
        windows_.push_back(std::make_unique<TestWindow>(display_.name(), std::move(properties)));
    }
    void closeAll() override {
        windows_.clear();
        XcbSession session(display_.name());
        eventually(10, [&session] { return TestWindow::activeWindow(session) == XCB_WINDOW_NONE; });
    }

private:
    PrivateDisplay display_;
    runtime::SystemClock clock_;
    platform::linux::X11Workspace workspace_{clock_, display_.name()};
    std::vector<std::unique_ptr<TestWindow>> windows_;
};

} // namespace

TEST_P(WorkspaceContract, HasNoFrontApplicationOnAnEmptyDesktop) {
    harness->closeAll();
    EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
}

TEST_P(WorkspaceContract, TellsIdentifierNameAndProcess) {
    const platform::FrontApplication editor{"Mousepad", "Untitled \xe2\x80\x93 Mousepad", 4711};
    harness->bringToFront(editor);
    EXPECT_EQ(workspace.frontmostApplication(), editor);
}

TEST_P(WorkspaceContract, LeavesOutWhatTheApplicationDoesNotTell) {
    harness->bringToFront({std::nullopt, std::nullopt, 0});
    EXPECT_EQ(workspace.frontmostApplication(), (platform::FrontApplication{std::nullopt, std::nullopt, 0}));
}

TEST_P(WorkspaceContract, FollowsTheUserAtOnce) {
    const platform::FrontApplication first{"First", "one", 1};
    const platform::FrontApplication second{"Second", "two", 2};
    harness->bringToFront(first);
    EXPECT_EQ(workspace.frontmostApplication(), first);
    harness->bringToFront(second);
    EXPECT_EQ(workspace.frontmostApplication(), second);
    harness->closeAll();
    EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    , WorkspaceContract,
    testing::Values(
        WorkspaceMaker{"Fake", [] { return std::make_unique<FakeHarness>(); }},
        WorkspaceMaker{"X11Openbox", [] { return std::make_unique<X11Harness>(WindowManager::openbox); }},
        WorkspaceMaker{"X11Xfwm4", [] { return std::make_unique<X11Harness>(WindowManager::xfwm4); }}),
    [](const auto& info) { return info.param.name; });

} // namespace sonvale::tests
