#include "adapters/x11/X11AccessibilityTree.h"

#include "runtime/SystemClock.h"
#include "tests/contract/AccessibilityTreeContract.h"
#include "tests/contract/x11/AccessibleSession.h"
#include "tests/fakes/FakeAccessibilityTree.h"
#include "tests/support/LogCapture.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/SelectionOwner.h"
#include "tests/support/XcbSession.h"

#include <csignal>

namespace sonvale::tests {

namespace {

class FakeHarness final : public AccessibilityTreeHarness {
public:
    platform::AccessibilityTree& tree() override { return fake_; }
    void removePermission() override { fake_.control().setTrusted(false); }
    void select(const std::string& text) override { fake_.control().setSelectedText(text); }
    void unselect() override { fake_.control().setSelectedText(std::nullopt); }

private:
    FakeAccessibilityTree fake_;
};

class X11Harness final : public AccessibilityTreeHarness {
public:
    platform::AccessibilityTree& tree() override { return session_.tree(); }
    void removePermission() override { session_.endDisplay(); }
    void select(const std::string& text) override {
        session_.open(Editor::Program::mousepad, text);
        EXPECT_TRUE(session_.selectsAll(text));
    }
    void unselect() override { session_.keyboard().tap(XK_End); }

private:
    AccessibleSession session_;
};

} // namespace

TEST_P(AccessibilityTreeContract, IsTrustedAtEveryQuestion) {
    for (int i = 0; i < 20; ++i)
        EXPECT_TRUE(tree.isTrusted());
}

TEST_P(AccessibilityTreeContract, NoticesThatThePermissionIsRemoved) {
    ASSERT_TRUE(tree.isTrusted());
    harness->removePermission();
    EXPECT_FALSE(tree.isTrusted());
}

TEST_P(AccessibilityTreeContract, GivesTheSameAnswerWithAPrompt) {
    EXPECT_TRUE(tree.isTrustedWithPrompt());
    harness->removePermission();
    EXPECT_FALSE(tree.isTrustedWithPrompt());
    EXPECT_FALSE(tree.isTrusted());
}

TEST_P(AccessibilityTreeContract, ReturnsTheSelectedTextUnchanged) {
    const std::string text = "  one two\n\nna\u00EFve \U0001F44D\u200D e\u0301 ";
    harness->select(text);
    EXPECT_TRUE(eventually(10, [&] { return tree.selectedText() == text; }));
    EXPECT_TRUE(tree.isTrusted());
    EXPECT_EQ(tree.selectedText(), text) << "it stays selected";
}

TEST_P(AccessibilityTreeContract, ReturnsNoTextWithoutASelection) {
    harness->select("one two");
    ASSERT_TRUE(eventually(10, [&] { return tree.selectedText() == "one two"; }));
    harness->unselect();
    EXPECT_TRUE(eventually(10, [&] { return !tree.selectedText(); }));
}

TEST_P(AccessibilityTreeContract, ReturnsNoTextWithoutAFrontApplication) {
    EXPECT_EQ(tree.selectedText(), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    , AccessibilityTreeContract,
    testing::Values(AccessibilityTreeMaker{"Fake", [] { return std::make_unique<FakeHarness>(); }},
                    AccessibilityTreeMaker{"X11", [] { return std::make_unique<X11Harness>(); }}),
    [](const auto& info) { return info.param.name; });

TEST(X11AccessibilityTree, IsNotTrustedWithoutXTest) {
    const PrivateDisplay display(WindowManager::none, {"-extension", "XTEST"});
    runtime::SystemClock clock;
    EXPECT_FALSE(adapters::x11::X11AccessibilityTree(clock, display.name()).isTrusted());
}

TEST(X11AccessibilityTree, IsNotTrustedWithoutAServer) {
    runtime::SystemClock clock;
    EXPECT_FALSE(adapters::x11::X11AccessibilityTree(clock, ":65000").isTrusted());
}

TEST(X11AccessibilityTree, LogsWhatIsMissingAtAPrompt) {
    const PrivateDisplay display(WindowManager::none, {"-extension", "XTEST"});
    runtime::SystemClock clock;
    const LogCapture log;
    adapters::x11::X11AccessibilityTree withoutExtension(clock, display.name());
    EXPECT_FALSE(withoutExtension.isTrusted());
    EXPECT_TRUE(log.lines().empty());
    EXPECT_FALSE(withoutExtension.isTrustedWithPrompt());
    EXPECT_FALSE(adapters::x11::X11AccessibilityTree(clock, ":65000").isTrustedWithPrompt());
    ASSERT_EQ(log.lines().size(), 2);
    EXPECT_EQ(log.lines()[0].text,
              "Nothing can be typed into other programs: the X server has no XTEST, or does not answer");
    EXPECT_EQ(log.lines()[1].text,
              "Nothing can be typed into other programs: the X server cannot be reached");
}

TEST(X11AccessibilityTree, DoesNotHangWithTheServer) {
    const PrivateDisplay display;
    runtime::SystemClock clock;
    adapters::x11::X11AccessibilityTree tree(clock, display.name());
    ASSERT_TRUE(tree.isTrusted());
    display.signalServer(SIGSTOP);
    const double start = monotonicSeconds();
    EXPECT_FALSE(tree.isTrusted());
    EXPECT_LT(monotonicSeconds() - start, 10);
    display.signalServer(SIGCONT);
    EXPECT_TRUE(eventually(10, [&tree] { return tree.isTrusted(); }));
}

TEST(X11AccessibilityTree, KeepsTheUsersSelections) {
    const PrivateDisplay display;
    const SelectionOwner clipboard(display.name(), {{"UTF8_STRING", bytes("copied")}});
    const SelectionOwner primary(display.name(), {{"UTF8_STRING", bytes("marked")}},
                                 {.selection = "PRIMARY"});
    runtime::SystemClock clock;
    EXPECT_TRUE(adapters::x11::X11AccessibilityTree(clock, display.name()).isTrusted());
    pauseMilliseconds(30);
    EXPECT_TRUE(clipboard.isOwner());
    EXPECT_TRUE(primary.isOwner());
}

} // namespace sonvale::tests
