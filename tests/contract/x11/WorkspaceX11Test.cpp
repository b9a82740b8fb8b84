#include "adapters/x11/X11Workspace.h"

#include "runtime/SystemClock.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/TestWindow.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <thread>

namespace sonvale::adapters::x11 {

namespace {

using tests::eventually;
using tests::TestWindow;

class X11WorkspaceTest : public testing::Test {
protected:
    std::optional<platform::FrontApplication> frontWith(TestWindow::Properties properties) {
        const TestWindow window(display->name(), std::move(properties));
        return workspace.frontmostApplication();
    }

    runtime::SystemClock clock;
    std::unique_ptr<tests::PrivateDisplay> display =
        std::make_unique<tests::PrivateDisplay>(tests::WindowManager::openbox);
    X11Workspace workspace{clock, display->name()};
};

} // namespace

TEST_F(X11WorkspaceTest, ReturnsTheMacIdentifierOfAProgramThatExistsThere) {
    EXPECT_EQ(frontWith({"code", "Code", "main.cpp", {}, 1})->bundleIdentifier, "com.microsoft.VSCode");
}

TEST_F(X11WorkspaceTest, ReturnsTheNameOfTheProgramAndNotTheTitleOfItsWindow) {
    EXPECT_EQ(frontWith({"code", "Code", "main.cpp - Code", "main.cpp", 1})->localizedName, "Code");
    EXPECT_EQ(frontWith({"soffice", "", "letter.odt", {}, 1})->localizedName, "soffice");
    EXPECT_EQ(frontWith({"", "", "letter.odt", "letter.odt", 1})->localizedName, std::nullopt);
}

TEST_F(X11WorkspaceTest, RepairsNamesThatAreNotUtf8) {
    EXPECT_EQ(frontWith({"a", "A\xff", "b\xff", {}, 1}),
              (platform::FrontApplication{"A\uFFFD", "A\uFFFD", 1}));
}

TEST_F(X11WorkspaceTest, KnowsARealProgram) {
    tests::ChildProcess::Options options;
    options.arguments = {"xterm", "-T", "a terminal"};
    options.environment = {{"DISPLAY", display->name()}};
    const tests::ChildProcess terminal(std::move(options));
    ASSERT_TRUE(eventually(20, [this] { return workspace.frontmostApplication().has_value(); }));
    EXPECT_EQ(workspace.frontmostApplication(),
              (platform::FrontApplication{"com.apple.Terminal", "XTerm", terminal.pid()}));
}

TEST_F(X11WorkspaceTest, CountsADestroyedWindowAsNone) {
    // Without a window manager, because one would correct the property.
    const tests::PrivateDisplay bare;
    X11Workspace unmanaged(clock, bare.name());
    tests::XcbSession liar(bare.name());
    const xcb_window_t gone = 0x1234567;
    xcb_change_property(liar.connection(), XCB_PROP_MODE_REPLACE, liar.root(),
                        liar.atom("_NET_ACTIVE_WINDOW"), XCB_ATOM_WINDOW, 32, 1, &gone);
    liar.sync();
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(unmanaged.frontmostApplication(), std::nullopt);
}

TEST_F(X11WorkspaceTest, SurvivesWindowsThatAppearAndDisappearMeanwhile) {
    std::atomic<bool> isEnding = false;
    std::thread opener([&] {
        for (int i = 0; i < 20; ++i)
            TestWindow(display->name(), {"a", "A", "name", {}, 1});
        isEnding = true;
    });
    int answers = 0;
    while (!isEnding) {
        if (const auto front = workspace.frontmostApplication()) {
            EXPECT_TRUE(!front->bundleIdentifier || front->bundleIdentifier == "A");
            ++answers;
        }
    }
    opener.join();
    EXPECT_GT(answers, 0);
}

TEST_F(X11WorkspaceTest, ReturnsNoneWithoutAWindowManager) {
    const tests::PrivateDisplay bare;
    X11Workspace unmanaged(clock, bare.name());
    EXPECT_EQ(unmanaged.frontmostApplication(), std::nullopt);
}

TEST_F(X11WorkspaceTest, ReturnsNoneWithoutAServer) {
    X11Workspace unconnected(clock, ":65000");
    EXPECT_EQ(unconnected.frontmostApplication(), std::nullopt);
}

TEST_F(X11WorkspaceTest, ReturnsNoneAfterTheEndOfTheServer) {
    const TestWindow window(display->name(), {"a", "A", "name", {}, 1});
    ASSERT_TRUE(workspace.frontmostApplication().has_value());
    display.reset();
    EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
    EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
}

TEST_F(X11WorkspaceTest, DoesNotHangWithTheServer) {
    const TestWindow window(display->name(), {"a", "A", "name", {}, 1});
    display->signalServer(SIGSTOP);
    const double start = tests::monotonicSeconds();
    EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
    EXPECT_LT(tests::monotonicSeconds() - start, 10);
    display->signalServer(SIGCONT);
    EXPECT_TRUE(eventually(10, [this] { return workspace.frontmostApplication().has_value(); }));
}

} // namespace sonvale::adapters::x11
