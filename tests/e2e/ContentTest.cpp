#include "tests/e2e/DashboardUser.h"
#include "tests/support/ServiceAnswers.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

namespace sonvale::tests {

namespace {

constexpr double timeout = 20;

} // namespace

TEST(Content, NewSnippetIsInsertedAndFormalStyleIsSentToTheModel) {
    DashboardUser user({.settings = {{"aiProcessingEnabled", true}},
                        .transcripts = {"Please put in my address.", "um one apple"}});
    user.server.answer(chatPath, chatCompletion("One apple."));
    auto& keyboard = user.session.keyboard;

    user.show("Snippets");
    user.reader.press("Create your first snippet", "push button");
    user.reader.focus("Trigger phrase", "text");
    keyboard.type("my address");
    keyboard.tap(XK_Tab);
    keyboard.type("1 Main Street");
    user.reader.press("Add Snippet", "push button");
    ASSERT_TRUE(user.reader.waitForText("Not used yet", timeout)) << user.reader.read();

    ASSERT_TRUE(user.session.editor.focus());
    user.session.holdToTalk();
    pauseMilliseconds(400);
    keyboard.up(XK_Alt_L);
    user.session.waitForRingToHide();
    EXPECT_TRUE(user.session.editor.comesToHold("1 Main Street", timeout)) << user.session.program.output();
    EXPECT_TRUE(user.server.requests(chatPath).empty());
    EXPECT_TRUE(user.reader.waitForText("Used once", timeout)) << user.reader.read();

    user.dashboard.activate();
    user.show("Style");
    user.reader.press("Other", ""); // a push button with Qt 6.4, a radio button with Qt 6.8
    user.reader.focus("Formality", "slider");
    for (int i = 0; i < 4; ++i)
        keyboard.tap(XK_Right);
    ASSERT_TRUE(user.reader.waitForText("Formal — no contractions", timeout)) << user.reader.read();
    user.dictate();
    EXPECT_TRUE(user.session.editor.comesToHold("1 Main StreetOne apple.", timeout))
        << user.session.program.output();
    const auto asked = user.server.requests(chatPath);
    ASSERT_EQ(asked.size(), 1U);
    EXPECT_NE(systemPromptOf(asked[0]).find("Formal — no contractions"), std::string::npos)
        << systemPromptOf(asked[0]);
}

TEST(Content, ScratchpadTextSurvivesAKill) {
    DashboardUser user({.settings = {{"transcriptionEngine", "local"}}});
    user.show("Scratchpad");
    user.reader.focus("Scratchpad", "text");
    user.session.keyboard.type("do not forget the milk");
    ASSERT_TRUE(user.reader.waitForText("5 words", timeout)) << user.reader.read();
    // The typed text may take this long to be saved.
    pauseMilliseconds(1000);

    user.session.program.kill();
    user.session.program.restart();
    user.openDashboard();
    user.show("Scratchpad");
    EXPECT_TRUE(eventually(timeout, [&] {
        return user.reader.text("Scratchpad", "text") == "do not forget the milk";
    })) << user.reader.read();
}

} // namespace sonvale::tests
