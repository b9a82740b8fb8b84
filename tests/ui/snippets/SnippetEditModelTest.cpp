#include "ui/snippets/SnippetEditModel.h"

#include "tests/unit/core/CoreFixture.h"

#include <gtest/gtest.h>

#include <vector>

namespace sonvale::ui {

namespace {

using persistence::Snippet;

class SnippetEditModelTest : public tests::CoreFixture {
protected:
    std::vector<Snippet> updates;
    SnippetEditModel model{environment().main, clock(), RecordStore(state().shared_from_this()),
                           [this](const Snippet& changed) { updates.push_back(changed); }};
};

} // namespace

TEST_F(SnippetEditModelTest, IgnoresChangesWithoutASnippet) {
    model.setTrigger(QStringLiteral("trigger"));
    model.setUsageCount(3);
    model.cancel();
    EXPECT_TRUE(updates.empty());
    EXPECT_FALSE(model.isEditing());
    EXPECT_EQ(model.trigger(), QString());
}

TEST_F(SnippetEditModelTest, UpdatesTheSnippetForEachChangedText) {
    model.begin(Snippet{.trigger = "trigger", .content = "content", .category = "category"});
    model.setTrigger(QStringLiteral("trigger"));
    EXPECT_TRUE(updates.empty());
    model.setTrigger(QStringLiteral("t"));
    model.setContent(QStringLiteral("c"));
    model.setCategory(QStringLiteral("k"));
    ASSERT_EQ(updates.size(), 3U);
    EXPECT_EQ(updates.back().trigger, "t");
    EXPECT_EQ(updates.back().content, "c");
    EXPECT_EQ(updates.back().category, "k");
    model.finish();
    EXPECT_FALSE(model.isEditing());
    EXPECT_EQ(updates.size(), 3U);
}

TEST_F(SnippetEditModelTest, RestoresTheTextsButKeepsNewUsesWhenCanceled) {
    model.begin(Snippet{.trigger = "trigger", .content = "content", .usageCount = 1});
    model.setTrigger(QStringLiteral("other"));
    model.setUsageCount(4);
    model.cancel();
    ASSERT_EQ(updates.size(), 2U);
    EXPECT_EQ(updates.back().trigger, "trigger");
    EXPECT_EQ(updates.back().usageCount, 4);
    EXPECT_FALSE(model.isEditing());
}

} // namespace sonvale::ui
