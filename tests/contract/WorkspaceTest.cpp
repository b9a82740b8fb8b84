#include "adapters/x11/X11Workspace.h"

#include "runtime/SystemClock.h"
#include "tests/contract/WorkspaceContract.h"
#include "tests/contract/freedesktop/ScriptedPrograms.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/support/LogCapture.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/TestWindow.h"

#include <stdexcept>
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
    void installPrograms() override { fake_.control().setCanOpen(true); }
    std::size_t openedCount(std::size_t /*expected*/) override { return fake_.control().opened().size(); }
    std::string userName() override { return "Ada King"; }

    FakeHarness() {
        fake_.control().setCanOpen(false);
        fake_.control().setFullUserName(userName());
    }

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
        properties.netName = "letter.txt \xe2\x80\x93 an editor";
        properties.oldName = "letter.txt";
        if (application.processIdentifier != 0)
            properties.processIdentifier = static_cast<std::uint32_t>(application.processIdentifier);
        windows_.push_back(std::make_unique<TestWindow>(display_.name(), std::move(properties)));
    }
    void closeAll() override {
        windows_.clear();
        XcbSession session(display_.name());
        if (!eventually(20, [&session] { return TestWindow::managedCount(session) == 0; }))
            throw std::runtime_error("a window stays");
    }
    void installPrograms() override {
        programs_.install("xdg-open");
        programs_.install("xfce4-settings-manager");
    }
    std::size_t openedCount(std::size_t expected) override {
        EXPECT_TRUE(eventually(10, [&] { return programs_.calls().size() >= expected; }));
        pauseMilliseconds(50);
        return programs_.calls().size();
    }
    std::string userName() override {
        ScriptedPrograms folder;
        folder.write(
            "name", "#!/bin/sh\ngetent passwd \"$(id -u)\" | cut -d: -f5 | cut -d, -f1 > \"$0.txt\"\n", 0755);
        if (run({folder.path() + "/name"}) != 0)
            throw std::runtime_error("the account cannot be read");
        const auto lines = folder.read("name.txt");
        return lines.empty() ? "" : lines.front();
    }

private:
    PrivateDisplay display_;
    runtime::SystemClock clock_;
    ScriptedPrograms programs_;
    adapters::x11::X11Workspace workspace_{clock_, display_.name(), {"XFCE", programs_.path()}};
    std::vector<std::unique_ptr<TestWindow>> windows_;
};

} // namespace

TEST_P(WorkspaceContract, HasNoFrontApplicationOnAnEmptyDesktop) {
    harness->closeAll();
    EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
}

TEST_P(WorkspaceContract, ReportsIdentifierNameAndProcess) {
    const platform::FrontApplication editor{"Mousepad", "Mousepad", 4711};
    harness->bringToFront(editor);
    EXPECT_EQ(workspace.frontmostApplication(), editor);
}

TEST_P(WorkspaceContract, LeavesOutWhatTheApplicationDoesNotReport) {
    harness->bringToFront({std::nullopt, std::nullopt, 0});
    EXPECT_EQ(workspace.frontmostApplication(), (platform::FrontApplication{std::nullopt, std::nullopt, 0}));
}

TEST_P(WorkspaceContract, FollowsTheUserAtOnce) {
    const platform::FrontApplication first{"First", "First", 1};
    const platform::FrontApplication second{"Second", "Second", 2};
    harness->bringToFront(first);
    EXPECT_EQ(workspace.frontmostApplication(), first);
    harness->bringToFront(second);
    EXPECT_EQ(workspace.frontmostApplication(), second);
    harness->closeAll();
    EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
}

TEST_P(WorkspaceContract, OpensPagesIfThereIsAProgramForThem) {
    EXPECT_FALSE(workspace.openURL(platform::settings_page::microphone));
    EXPECT_FALSE(workspace.openURL("https://example.com/"));
    harness->installPrograms();
    EXPECT_TRUE(workspace.openURL(platform::settings_page::microphone));
    EXPECT_TRUE(workspace.openURL(platform::settings_page::speechRecognition));
    EXPECT_TRUE(workspace.openURL(platform::settings_page::inputMonitoring));
    EXPECT_TRUE(workspace.openURL("https://example.com/"));
    EXPECT_TRUE(workspace.openURL("mailto:someone@example.com"));
    EXPECT_EQ(harness->openedCount(5), 5);
}

TEST_P(WorkspaceContract, IgnoresInvalidAddressesSilently) {
    harness->installPrograms();
    const LogCapture log;
    for (const auto* text : {"", "no address", "https://exa mple.com/", "://", "https://a/%zz"})
        EXPECT_FALSE(workspace.openURL(text)) << text;
    EXPECT_EQ(harness->openedCount(0), 0);
    EXPECT_TRUE(log.lines().empty());
}

TEST_P(WorkspaceContract, ReturnsTheUsersNameInTheAccount) {
    EXPECT_EQ(workspace.fullUserName(), harness->userName());
}

INSTANTIATE_TEST_SUITE_P(
    , WorkspaceContract,
    testing::Values(
        WorkspaceMaker{"Fake", [] { return std::make_unique<FakeHarness>(); }},
        WorkspaceMaker{"X11Openbox", [] { return std::make_unique<X11Harness>(WindowManager::openbox); }},
        WorkspaceMaker{"X11Xfwm4", [] { return std::make_unique<X11Harness>(WindowManager::xfwm4); }}),
    [](const auto& info) { return info.param.name; });

} // namespace sonvale::tests
