#include "tests/ui/common/DesktopProbe.h"
#include "tests/ui/common/ViewFixture.h"
#include "ui/style/StyleModel.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QTest>
#include <algorithm>

namespace sonvale::ui {

namespace {

using persistence::WritingStyle;

class StyleView : public tests::ViewFixture {
protected:
    StyleView() { startSignedIn(); }

    QQuickView& openStyle() {
        auto& view = openDashboard();
        click(view, "sidebar.style");
        return view;
    }
    std::vector<WritingStyle> stored() { return state().modelContext->fetch<WritingStyle>(); }
    WritingStyle stored(const std::string& category) {
        const auto all = stored();
        const auto found = std::ranges::find(all, category, &WritingStyle::category);
        return found == all.end() ? WritingStyle{.category = "none"} : *found;
    }
    static bool reads(QQuickView& view, const std::string& words) {
        const auto texts = readable(view);
        return std::ranges::find(texts, words) != texts.end();
    }
};

} // namespace

TEST_F(StyleView, ShowsAllTexts) {
    auto& view = openStyle();
    for (const auto* words :
         {"Style", "Personal messages", "Work messages", "Email", "Other",
          "Make Son Vale sound like Personal messages", "Formality", "Very Casual", "Formal",
          "Neutral — balanced tone, appropriate for most situations", "Custom Instructions",
          "Tell Son Vale how you want to sound in Personal messages", "Which apps use each style",
          "iMessage, WhatsApp, Telegram, Signal, Messenger", "Slack, Microsoft Teams, Discord, Linear",
          "Mail, Outlook, Gmail, Spark, Superhuman",
          "All other apps — browsers, notes, code editors, and more",
          "Style settings only apply when text cleanup is enabled in Settings."})
        EXPECT_TRUE(reads(view, words)) << words;
    EXPECT_TRUE(reads(view, "Son Vale detects which app you're using and applies your style preferences "
                            "automatically. Customize the formality and tone for each type of app below."));
}

TEST_F(StyleView, CreatesAStyleWhenItsCategoryIsFirstShown) {
    auto& view = openStyle();
    ASSERT_EQ(stored().size(), 1U);
    EXPECT_EQ(stored("personalMessaging").formality, 3);
    EXPECT_EQ(stored("personalMessaging").customInstructions, "");
    EXPECT_EQ(stored("personalMessaging").exampleText, "");
    for (const auto* category : {"workMessaging", "email", "other"}) {
        click(view, std::string("category.") + category);
        EXPECT_EQ(stored(category).formality, 3) << category;
    }
    click(view, "category.email");
    EXPECT_EQ(stored().size(), 4U);
}

TEST_F(StyleView, ShowsAndStoresTheStyleOfEachCategory) {
    state().modelContext->insert(
        WritingStyle{.category = "email", .formality = 5, .customInstructions = "No exclamation marks."});
    state().modelContext->save();
    auto& view = openStyle();
    click(view, "category.email");
    EXPECT_EQ(text(view, "styleHeading"), "Make Son Vale sound like Email");
    EXPECT_EQ(text(view, "instructionsLine"), "Tell Son Vale how you want to sound in Email");
    EXPECT_EQ(text(view, "formalityText"), "Formal — no contractions, precise and structured");
    EXPECT_EQ(text(view, "customInstructions"), "No exclamation marks.");
    EXPECT_EQ(item(view, "formality").property("value").toInt(), 5);
    click(view, "category.personalMessaging");
    EXPECT_EQ(text(view, "customInstructions"), "");
    EXPECT_EQ(item(view, "formality").property("value").toInt(), 3);
    EXPECT_EQ(stored("email").formality, 5);
}

TEST_F(StyleView, DescribesEachStepOfTheSlider) {
    auto& view = openStyle();
    for (int i = 0; i < 30 && focused(view) != "formality"; ++i)
        press(view, Qt::Key_Tab);
    ASSERT_EQ(focused(view), "formality");
    const std::string words[] = {
        "Very casual — contractions, slang, emoji-friendly", "Casual — relaxed but clear",
        "Neutral — balanced tone, appropriate for most situations", "Professional — polished and clear",
        "Formal — no contractions, precise and structured"};
    for (int i = 0; i < 4; ++i)
        press(view, Qt::Key_Left);
    for (int value = 1; value <= 5; ++value) {
        EXPECT_EQ(text(view, "formalityText"), words[value - 1]);
        EXPECT_EQ(stored("personalMessaging").formality, value) << "at once";
        press(view, Qt::Key_Right);
    }
}

TEST_F(StyleView, ShowsNeutralForAnInvalidStoredValue) {
    state().modelContext->insert(WritingStyle{.category = "personalMessaging", .formality = 0});
    state().modelContext->save();
    auto& view = openStyle();
    EXPECT_EQ(text(view, "formalityText"), "Neutral");
    EXPECT_EQ(stored("personalMessaging").formality, 0) << "looking changes nothing";
}

TEST_F(StyleView, StoresInstructionsWhileTheUserTypes) {
    auto& view = openStyle();
    click(view, "customInstructions");
    type(view, "Short sentences.");
    EXPECT_EQ(stored("personalMessaging").customInstructions, "Short sentences.");
    EXPECT_EQ(text(view, "customInstructions"), "Short sentences.");
    press(view, Qt::Key_Tab);
    EXPECT_NE(focused(view), "customInstructions") << "Tab goes on";
    click(view, "sidebar.home");
    click(view, "sidebar.style");
    EXPECT_EQ(text(view, "customInstructions"), "Short sentences.");
}

TEST_F(StyleView, IsMirroredFromRightToLeft) {
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    auto& view = openStyle();
    EXPECT_EQ(outside(view), std::vector<std::string>{});
    EXPECT_GT(item(view, "category.personalMessaging").mapToScene({}).x(),
              item(view, "category.workMessaging").mapToScene({}).x());
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

TEST_F(StyleView, StoresInstructionsFromAssistiveTechnology) {
    auto& view = openStyle();
    auto* editor = QAccessible::queryAccessibleInterface(&item(view, "customInstructions"));
    ASSERT_TRUE(editor);
    editor->setText(QAccessible::Value, QStringLiteral("No exclamation marks."));
    settleViews();
    click(view, "sidebar.home");
    EXPECT_EQ(stored("personalMessaging").customInstructions, "No exclamation marks.");
}

TEST_F(StyleView, StartsAtTheFirstCategoryEachTime) {
    auto& view = openStyle();
    click(view, "category.email");
    ASSERT_TRUE(item(view, "category.email").property("isSelected").toBool());
    click(view, "sidebar.home");
    click(view, "sidebar.style");
    EXPECT_TRUE(item(view, "category.personalMessaging").property("isSelected").toBool());
    EXPECT_TRUE(reads(view, "Make Son Vale sound like Personal messages"));
    EXPECT_EQ(stored().size(), 2U) << "no style was made again";
}

} // namespace sonvale::ui
