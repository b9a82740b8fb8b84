#include "persistence/SettingsKeys.h"
#include "tests/ui/common/ViewFixture.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QTest>

namespace sonvale::ui {

namespace {

namespace keys = persistence::keys;

class ScratchpadView : public tests::ViewFixture {
protected:
    ScratchpadView() { startSignedIn(); }

    QQuickView& openScratchpad() {
        auto& view = openDashboard();
        click(view, "sidebar.scratchpad");
        return view;
    }
};

} // namespace

TEST_F(ScratchpadView, CountsWordsAndStoresTheTextAfterADelay) {
    auto& view = openScratchpad();
    EXPECT_EQ(text(view, "words"), "0 words");
    click(view, "scratchpad");
    type(view, "three  small");
    press(view, Qt::Key_Return);
    type(view, "words");
    EXPECT_EQ(text(view, "words"), "3 words");
    change([&] { advance(0.3); });
    EXPECT_EQ(settings().stored(keys::scratchpadText), "three  small\nwords");
}

TEST_F(ScratchpadView, StoresTheTextWhenTheTabOrTheWindowCloses) {
    auto& view = openScratchpad();
    click(view, "scratchpad");
    type(view, "one");
    click(view, "sidebar.home");
    EXPECT_EQ(settings().stored(keys::scratchpadText), "one");
    click(view, "sidebar.scratchpad");
    EXPECT_EQ(text(view, "scratchpad"), "one");
    click(view, "scratchpad");
    QTest::keyClick(&view, Qt::Key_End, Qt::ControlModifier);
    type(view, " two");
    closeDashboard();
    EXPECT_EQ(settings().stored(keys::scratchpadText), "one two");
}

TEST_F(ScratchpadView, CopiesAndClears) {
    settings().set(keys::scratchpadText, "a note");
    auto& view = openScratchpad();
    EXPECT_EQ(text(view, "scratchpad"), "a note");
    click(view, "copyText");
    EXPECT_EQ(pasteboard().text(), "a note");
    click(view, "clear");
    EXPECT_EQ(text(view, "scratchpad"), "");
    EXPECT_EQ(text(view, "words"), "0 words");
    change([&] { advance(0.3); });
    EXPECT_EQ(settings().stored(keys::scratchpadText), "");
    click(view, "clear");
    EXPECT_EQ(text(view, "scratchpad"), "") << "nothing more to clear";
}

TEST_F(ScratchpadView, RestoresAClearedTextByUndo) {
    settings().set(keys::scratchpadText, "a note");
    auto& view = openScratchpad();
    click(view, "clear");
    EXPECT_EQ(text(view, "scratchpad"), "");
    EXPECT_EQ(focused(view), "scratchpad");
    QTest::keyClick(&view, Qt::Key_Z, Qt::ControlModifier);
    settleViews();
    EXPECT_EQ(text(view, "scratchpad"), "a note");
    EXPECT_EQ(text(view, "words"), "2 words");
    change([&] { advance(0.3); });
    EXPECT_EQ(settings().stored(keys::scratchpadText), "a note");
}

TEST_F(ScratchpadView, DoesNothingIfThereIsNothingToClear) {
    auto& view = openScratchpad();
    const auto before = focused(view);
    item(view, "clear").forceActiveFocus(Qt::TabFocusReason);
    press(view, Qt::Key_Return);
    EXPECT_EQ(text(view, "scratchpad"), "");
    EXPECT_EQ(focused(view), "clear");
    EXPECT_NE(before, "clear");
}

TEST_F(ScratchpadView, StoresTextsFromAssistiveTechnology) {
    auto& view = openScratchpad();
    ASSERT_FALSE(item(view, "scratchpad").hasActiveFocus());
    auto* editor = QAccessible::queryAccessibleInterface(&item(view, "scratchpad"));
    ASSERT_TRUE(editor);
    editor->setText(QAccessible::Value, QStringLiteral("two words"));
    settleViews();
    EXPECT_EQ(text(view, "scratchpad"), "two words");
    EXPECT_EQ(text(view, "words"), "2 words");
    change([&] { advance(0.3); });
    EXPECT_EQ(settings().stored(keys::scratchpadText), "two words");
}

TEST_F(ScratchpadView, ShowsAStoredTextWithoutChangingIt) {
    // An editor returns a no-break space as a plain space.
    const std::string stored = "10\u00a0km\u2028further";
    settings().set(keys::scratchpadText, stored);
    auto& view = openScratchpad();
    ASSERT_TRUE(text(view, "scratchpad").starts_with("10 km"));
    click(view, "sidebar.home");
    EXPECT_EQ(settings().stored(keys::scratchpadText), stored);
}

TEST_F(ScratchpadView, AcceptsAVeryLongText) {
    std::string longText;
    while (longText.size() < 200000)
        longText += "a sentence of six words here. ";
    settings().set(keys::scratchpadText, longText);
    auto& view = openScratchpad();
    EXPECT_EQ(text(view, "scratchpad").size(), longText.size());
    EXPECT_EQ(outside(view), std::vector<std::string>{});
}

} // namespace sonvale::ui
