#include "base/Json.h"
#include "persistence/SettingsKeys.h"
#include "tests/support/WebToken.h"
#include "tests/ui/common/DesktopProbe.h"
#include "tests/ui/common/ViewFixture.h"
#include "ui/support/MessageBlocks.h"
#include "ui/support/SupportChatModel.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QClipboard>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTest>
#include <QWheelEvent>
#include <algorithm>
#include <chrono>

namespace sonvale::ui {

namespace {

namespace keys = persistence::keys;

constexpr const char* greeting =
    "Hi! I'm here to help with setup, troubleshooting, or account questions. What's going on?";

class HelpView : public tests::ViewFixture {
protected:
    HelpView() {
        const auto now = std::chrono::duration<double>(clock().date().time_since_epoch()).count();
        settings().set(keys::accessToken,
                       tests::signedWebToken({{"exp", static_cast<std::int64_t>(now) + 86400}}, "secret"));
        rebuildState();
        completeOnboardingAndStart();
        settleViews();
    }
    void TearDown() override {
        QGuiApplication::setLayoutDirection(Qt::LeftToRight);
        ViewFixture::TearDown();
    }

    QQuickView& openHelp() {
        auto& view = openDashboard();
        click(view, "sidebar.help");
        return view;
    }
    static SupportChatModel& model(QQuickView& view) {
        return *view.rootObject()->property("model").value<DashboardModel*>()->support();
    }
    /// Returns the requests of the chat, without the program's other requests.
    std::vector<std::shared_ptr<tests::FakeRequest>> asked() {
        auto all = network().requests();
        std::erase_if(all, [](const auto& each) { return !each->lines; });
        return all;
    }
    /// Sends a question and begins its answer.
    tests::FakeBody& ask(QQuickView& view, const std::string& question = "Why?") {
        click(view, "input");
        type(view, question);
        press(view, Qt::Key_Return);
        const auto request = asked().at(asked().size() - 1);
        change([&] { request->answerHead(200); });
        return *request->lines;
    }
    static std::string piece(const std::string& text) {
        return "data: " + base::jsonText({{"choices", {{{"delta", {{"content", text}}}}}}}) + "\n\n";
    }
    void give(tests::FakeBody& body, const std::string& text) {
        change([&] { body.give(piece(text)); });
        nextUpdate();
    }
    void end(tests::FakeBody& body) {
        change([&] { body.give("data: [DONE]\n\n"); });
    }
    void nextUpdate() {
        change([&] { advance(SupportChatModel::betweenUpdates * 1.01); });
    }
    /// Returns the texts of the existing rows of the conversation.
    static std::vector<std::string> shown(QQuickView& view) {
        std::vector<std::string> all;
        for (int i = 0; i < model(view).messages()->rowCount(); ++i) {
            if (const auto* words = find(view, fmt::format("message.{}.text", i)))
                all.push_back(words->property("text").toString().toStdString());
        }
        return all;
    }
    static bool isAtEnd(QQuickView& view) { return item(view, "conversation").property("isAtEnd").toBool(); }
    /// Returns whether everything except the scrolling messages is inside the window.
    static bool isFrameInSight(QQuickView& view) {
        const QRectF room(QPointF(), view.size());
        return std::ranges::all_of(
            std::vector<std::string>{"title", "clear", "conversation", "composer", "send"},
            [&](const std::string& name) {
                const auto& part = item(view, name);
                return room.contains(part.mapRectToScene(part.boundingRect())) &&
                       part.height() > 30 - (name == "title" ? 10 : 0);
            });
    }
    static std::string clipboard() { return QGuiApplication::clipboard()->text().toStdString(); }
    std::string pasteboardText() { return pasteboard().text().value_or(""); }

    static std::string longText(std::size_t size) {
        std::string text;
        for (int i = 0; text.size() < size; ++i)
            text += fmt::format("{} words of a long answer{}", i, i % 12 == 11 ? ".\n" : ", ");
        text.resize(size);
        return text;
    }
};

} // namespace

TEST_F(HelpView, ShowsItsHeadingTheGreetingAndTheField) {
    auto& view = openHelp();
    EXPECT_EQ(text(view, "title"), "Son Vale Support");
    EXPECT_EQ(text(view, "subtitle"), "Troubleshooting and account help");
    EXPECT_EQ(text(view, "clear"), "Clear");
    EXPECT_EQ(shown(view), std::vector<std::string>{greeting});
    EXPECT_EQ(item(view, "input").property("placeholderText").toString().toStdString(),
              "Describe your issue...");
    EXPECT_FALSE(isShown(view, "error"));
    EXPECT_FALSE(isShown(view, "typing"));
    EXPECT_FALSE(item(view, "send").isEnabled());
    EXPECT_EQ(item(view, "send").property("symbol").toString().toStdString(), "arrow.up.circle.fill");
    EXPECT_EQ(outside(view), std::vector<std::string>{});
}

TEST_F(HelpView, SendsByReturnAndByTheButtonButNotBlankText) {
    auto& view = openHelp();
    click(view, "input");
    type(view, "   ");
    press(view, Qt::Key_Return);
    EXPECT_TRUE(asked().empty());
    EXPECT_FALSE(item(view, "send").isEnabled());

    auto& body = ask(view, "Why?");
    EXPECT_EQ(text(view, "input"), "");
    EXPECT_EQ(shown(view), (std::vector<std::string>{greeting, "Why?"}));
    end(body);

    type(view, "And how?");
    EXPECT_TRUE(item(view, "send").isEnabled());
    click(view, "send");
    EXPECT_EQ(asked().size(), 2U);
    EXPECT_EQ(focused(view), "input") << "for the next question";
}

TEST_F(HelpView, InsertsALineBreakByShiftReturn) {
    auto& view = openHelp();
    click(view, "input");
    type(view, "one");
    QTest::keyClick(&view, Qt::Key_Return, Qt::ShiftModifier);
    type(view, "two");
    EXPECT_EQ(text(view, "input"), "one\ntwo");
    EXPECT_TRUE(asked().empty());
    press(view, Qt::Key_Return);
    EXPECT_EQ(shown(view).back(), "one\ntwo");
}

TEST_F(HelpView, ShowsDotsUntilTheFirstWordsAndThenTheGrowingAnswer) {
    auto& view = openHelp();
    auto& body = ask(view);
    EXPECT_TRUE(isShown(view, "typing"));
    EXPECT_EQ(shown(view).size(), 2U) << "no empty bubble";
    give(body, "Be");
    EXPECT_FALSE(isShown(view, "typing"));
    EXPECT_EQ(shown(view).back(), "Be");
    give(body, "cause.");
    EXPECT_EQ(shown(view).back(), "Because.");
    EXPECT_TRUE(model(view).isStreaming());
    type(view, "a draft");
    EXPECT_FALSE(item(view, "send").isEnabled());
    press(view, Qt::Key_Return);
    EXPECT_EQ(asked().size(), 1U);
    EXPECT_EQ(text(view, "input"), "a draft");
    end(body);
    EXPECT_TRUE(item(view, "send").isEnabled());
}

TEST_F(HelpView, LightsTheDotsInTurn) {
    views().appearance().overrideMotionReduced(false);
    auto& view = openHelp();
    ask(view);
    auto& dots = item(view, "typing");
    for (int next : {1, 2, 0})
        EXPECT_TRUE(tests::eventuallyInQt(5, [&] { return dots.property("active").toInt() == next; }));
    views().appearance().overrideMotionReduced(true);
    const auto still = dots.property("active").toInt();
    EXPECT_FALSE(tests::eventuallyInQt(1, [&] { return dots.property("active").toInt() != still; }));
    std::vector<double> opacities;
    for (const auto* dot : dots.childItems()) {
        if (dot->inherits("QQuickRectangle"))
            opacities.push_back(dot->opacity());
    }
    std::ranges::sort(opacities);
    ASSERT_EQ(opacities.size(), 3U);
    EXPECT_NEAR(opacities[0], 0.3, 0.001);
    EXPECT_NEAR(opacities[1], 0.3, 0.001);
    EXPECT_NEAR(opacities[2], 1, 0.001);
}

TEST_F(HelpView, ShowsTheTextOfEachFailure) {
    auto& view = openHelp();
    struct Row {
        std::function<void(tests::FakeRequest&)> what;
        const char* words;
    };
    for (const auto& row : {Row{[](auto& request) { request.answer(500, ""); },
                                "Server returned an error (HTTP 500). Please try again."},
                            Row{[](auto& request) { request.answer(platform::UrlResponse{}); },
                                "Received an unexpected response from the server. Please try again."},
                            Row{[](auto& request) { request.fail(platform::UrlError::Code::timedOut); },
                                "Something went wrong. Please check your connection and try again."},
                            Row{[](auto& request) { request.answer(200, "data: [DONE]\n"); },
                                "Sorry, I didn't receive a response. Please try again."}}) {
        click(view, "clear");
        EXPECT_FALSE(isShown(view, "error"));
        type(view, "Why?");
        press(view, Qt::Key_Return);
        change([&] { row.what(*asked().back()); });
        EXPECT_EQ(text(view, "errorMessage"), row.words);
        auto* accessible = QAccessible::queryAccessibleInterface(find(view, "error"));
        ASSERT_TRUE(accessible);
        EXPECT_EQ(accessible->role(), QAccessible::AlertMessage);
        EXPECT_EQ(accessible->text(QAccessible::Name).toStdString(), row.words);
        EXPECT_EQ(shown(view), (std::vector<std::string>{greeting, "Why?"}));
        EXPECT_EQ(outside(view), std::vector<std::string>{});
        type(view, "And?");
        EXPECT_TRUE(isShown(view, "error")) << "until the next try";
        press(view, Qt::Key_Return);
        EXPECT_FALSE(isShown(view, "error"));
    }
}

TEST_F(HelpView, KeepsAPartialAnswerAfterAFailure) {
    auto& view = openHelp();
    auto& body = ask(view);
    change([&] {
        body.give(piece("Half") + piece(" of it"));
        body.fail(platform::UrlError::Code::networkConnectionLost);
    });
    EXPECT_EQ(shown(view).back(), "Half of it") << "at once";
    EXPECT_EQ(text(view, "errorMessage"),
              "Something went wrong. Please check your connection and try again.");
}

TEST_F(HelpView, ReturnsToTheGreetingByClear) {
    auto& view = openHelp();
    auto& body = ask(view);
    give(body, "Half");
    click(view, "clear");
    EXPECT_EQ(shown(view), std::vector<std::string>{greeting});
    EXPECT_TRUE(body.wasClosed());
    EXPECT_FALSE(model(view).isStreaming());
    EXPECT_EQ(focused(view), "input");
    nextUpdate();
    EXPECT_EQ(shown(view), std::vector<std::string>{greeting});
}

TEST_F(HelpView, KeepsTheConversationWhileTheWindowIsOpen) {
    auto* view = &openHelp();
    auto& body = ask(*view);
    give(body, "First");
    click(*view, "sidebar.home");
    change([&] { body.give(piece(" and more") + "data: [DONE]\n"); });
    click(*view, "sidebar.help");
    EXPECT_EQ(shown(*view), (std::vector<std::string>{greeting, "Why?", "First and more"}));
    closeDashboard();
    EXPECT_EQ(shown(openHelp()), std::vector<std::string>{greeting});
}

TEST_F(HelpView, ClearsTheConversationForTheNextUser) {
    auto& view = openHelp();
    auto& body = ask(view);
    give(body, "Half");
    type(view, "a draft");
    change([&] { state().authService->signOut(); });
    EXPECT_TRUE(isShown(view, "login"));
    EXPECT_TRUE(body.wasClosed());
    EXPECT_EQ(model(view).inputText().toStdString(), "");
    EXPECT_EQ(model(view).messages()->rowCount(), 1);
}

TEST_F(HelpView, ExecutesNoMarkup) {
    auto& view = openHelp();
    auto& body = ask(view, "<b>bold</b> &amp; <img src='file:///etc/passwd'>");
    give(body, "<script>x</script> **no** <a href=\"http://127.0.0.1/\">link</a>");
    const auto all = shown(view);
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[1], "<b>bold</b> &amp; <img src='file:///etc/passwd'>");
    EXPECT_EQ(all[2], "<script>x</script> **no** <a href=\"http://127.0.0.1/\">link</a>");
    for (const int row : {1, 2})
        EXPECT_EQ(item(view, fmt::format("message.{}.text", row)).property("textFormat").toInt(),
                  0 /* plain text */);
}

TEST_F(HelpView, SelectsWordsAndCopiesWholeMessages) {
    auto& view = openHelp();
    auto& body = ask(view);
    give(body, "Because of this");
    end(body);
    auto& words = item(view, "message.2.text");
    const auto first = words.mapToScene(QPointF(4, words.height() / 2)).toPoint();
    QTest::mouseDClick(&view, Qt::LeftButton, {}, first);
    QTest::keyClick(&view, Qt::Key_C, Qt::ControlModifier);
    settleViews();
    EXPECT_EQ(clipboard(), "Because");

    click(view, "message.2.copy");
    EXPECT_EQ(pasteboardText(), "Because of this");
}

TEST_F(HelpView, CopiesAllBlocksOfAMessage) {
    auto& view = openHelp();
    auto& body = ask(view);
    const auto whole = longText(20'000);
    give(body, whole);
    end(body);
    auto& chat = model(view);
    ASSERT_GT(chat.messages()->rowCount(), 4);
    for (const int row : {2, chat.messages()->rowCount() - 1}) {
        pasteboard().copyElsewhere(std::string());
        change([&] { chat.copy(row); });
        EXPECT_EQ(pasteboardText(), whole);
    }
}

TEST_F(HelpView, IsUsedByKeyboardOnly) {
    auto& view = openHelp();
    auto& body = ask(view);
    give(body, longText(20'000));
    end(body);
    std::vector<std::string> order;
    for (int i = 0; i < 20; ++i) {
        press(view, Qt::Key_Tab);
        const auto name = focused(view).starts_with("message.") ? "conversation" : focused(view);
        if (std::ranges::find(order, name) != order.end())
            break;
        order.push_back(name);
        EXPECT_TRUE(isShown(view, "focusRing")) << name;
    }
    for (const auto* name : {"clear", "conversation", "input"})
        EXPECT_NE(std::ranges::find(order, name), order.end()) << name;

    item(view, "conversation").forceActiveFocus(Qt::TabFocusReason);
    settleViews();
    EXPECT_TRUE(isAtEnd(view));
    for (int i = 0; i < 200 && find(view, "message.0") == nullptr; ++i)
        press(view, Qt::Key_Up);
    EXPECT_TRUE(isShown(view, "message.0")) << "every part of it can be reached";
    EXPECT_FALSE(isAtEnd(view));
    for (int i = 0; i < 10; ++i)
        press(view, Qt::Key_Up);
    QTest::keyClick(&view, Qt::Key_C, Qt::ControlModifier);
    settleViews();
    EXPECT_EQ(pasteboardText(), greeting);
    for (int i = 0; i < 300 && !isAtEnd(view); ++i)
        press(view, Qt::Key_Down);
    EXPECT_TRUE(isAtEnd(view));

    item(view, "clear").forceActiveFocus(Qt::TabFocusReason);
    press(view, Qt::Key_Return);
    EXPECT_EQ(shown(view), std::vector<std::string>{greeting});
}

TEST_F(HelpView, ScrollsToTheEndUnlessTheUserReadsFurtherUp) {
    auto& view = openHelp();
    auto& body = ask(view);
    give(body, longText(6000));
    EXPECT_TRUE(isAtEnd(view));
    give(body, longText(3000));
    EXPECT_TRUE(isAtEnd(view));

    auto& list = item(view, "conversation");
    list.forceActiveFocus(Qt::TabFocusReason);
    for (int i = 0; i < 5; ++i)
        press(view, Qt::Key_Up);
    ASSERT_FALSE(isAtEnd(view));
    const auto place = list.property("contentY").toDouble() - list.property("originY").toDouble();
    give(body, longText(3000));
    EXPECT_NEAR(list.property("contentY").toDouble() - list.property("originY").toDouble(), place, 2);
    EXPECT_FALSE(isAtEnd(view));

    end(body);
    click(view, "input");
    type(view, "Next");
    press(view, Qt::Key_Return);
    EXPECT_TRUE(isAtEnd(view)) << "the own question is seen";
}

TEST_F(HelpView, ScrollsAwayFromTheEndAndBackByTheWheel) {
    auto& view = openHelp();
    auto& body = ask(view);
    give(body, longText(6000));
    auto& list = item(view, "conversation");
    unsigned long time = 1000;
    const auto turn = [&](int steps) {
        const auto place = list.mapToScene(QPointF(list.width() / 2, list.height() / 2));
        QWheelEvent event(place, view.mapToGlobal(place), {}, QPoint(0, 120 * steps), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        event.setTimestamp(time += 200);
        QCoreApplication::sendEvent(&view, &event);
        EXPECT_TRUE(tests::eventuallyInQt(10, [&] { return !list.property("moving").toBool(); }));
        settleViews();
    };
    turn(4);
    ASSERT_FALSE(isAtEnd(view));
    give(body, longText(3000));
    EXPECT_FALSE(isAtEnd(view));
    for (int i = 0; i < 40 && !isAtEnd(view); ++i)
        turn(-8);
    ASSERT_TRUE(isAtEnd(view));
    give(body, longText(3000));
    EXPECT_TRUE(isAtEnd(view));
}

TEST_F(HelpView, ShowsAGrowingAnswerThirtyTimesASecondAndItsEndAtOnce) {
    auto& view = openHelp();
    auto& body = ask(view);
    int updates = 0;
    const auto counter = QObject::connect(model(view).messages(), &QAbstractItemModel::dataChanged,
                                          [&](const auto&...) { ++updates; });
    std::string whole;
    for (int i = 0; i < 1000; ++i) {
        const auto word = fmt::format("{} ", i);
        whole += word;
        body.give(piece(word));
        runtimeSupport().runUntilIdle();
        advance(0.001);
    }
    EXPECT_GE(updates, 25);
    EXPECT_LE(updates, 31 + 4) << "and one for each new block at most";
    body.give(piece("last") + "data: [DONE]\n");
    runtimeSupport().runUntilIdle();
    std::string seen;
    const auto* messages = model(view).messages();
    for (int i = 2; i < messages->rowCount(); ++i)
        seen += messages->data(messages->index(i), SupportMessagesModel::textRole).toString().toStdString() +
                (i + 1 < messages->rowCount() ? " " : "");
    EXPECT_EQ(seen, whole + "last");
    QObject::disconnect(counter);
}

TEST_F(HelpView, LaysOutAnAnswerOfFiftyThousandCharactersQuickly) {
    auto& view = openHelp();
    auto& body = ask(view);
    const auto whole = longText(50'000);
    QElapsedTimer timer;
    timer.start();
    for (std::size_t i = 0; i < whole.size(); i += 250)
        give(body, whole.substr(i, 250));
    end(body);
    view.grabWindow();
    EXPECT_LT(timer.elapsed(), 20'000);
    EXPECT_TRUE(isAtEnd(view));
    EXPECT_TRUE(isFrameInSight(view));
    const auto last = shown(view).back();
    EXPECT_TRUE(whole.ends_with(last));
}

TEST_F(HelpView, StaysVisibleWithALongQuestionWithoutSpaces) {
    auto& view = openHelp();
    click(view, "input");
    paste(view, std::string(50'000, 'x'));
    EXPECT_TRUE(isFrameInSight(view));
    press(view, Qt::Key_Return);
    EXPECT_TRUE(isFrameInSight(view));
    EXPECT_TRUE(isAtEnd(view));
}

TEST_F(HelpView, IsMirroredFromRightToLeft) {
    auto& view = openHelp();
    auto& body = ask(view, "שלום");
    give(body, "مرحبا");
    end(body);
    const auto left = [&](const std::string& name) { return item(view, name).mapToScene({}).x(); };
    const auto middle = [&] {
        auto& list = item(view, "conversation");
        return list.mapToScene(QPointF(list.width() / 2, 0)).x();
    };
    EXPECT_GT(left("message.1.text"), middle());
    EXPECT_LT(left("message.2.text"), middle());
    EXPECT_GT(left("send"), middle());
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    settleViews();
    EXPECT_LT(left("message.1.text"), middle());
    EXPECT_GT(left("message.2.text"), middle());
    EXPECT_LT(left("send"), middle());
    EXPECT_LT(left("clear"), middle());
    EXPECT_EQ(outside(view), std::vector<std::string>{});
}

TEST_F(HelpView, NamesTheSpeakerOfEachMessageForScreenReaders) {
    auto& view = openHelp();
    auto& body = ask(view);
    give(body, "Because.");
    end(body);
    const auto name = [&](const std::string& item) {
        auto* found = QAccessible::queryAccessibleInterface(find(view, item));
        return found ? found->text(QAccessible::Name).toStdString() : "";
    };
    EXPECT_EQ(name("message.0"), std::string("Support: ") + greeting);
    EXPECT_EQ(name("message.1"), "You: Why?");
    EXPECT_EQ(name("message.2"), "Support: Because.");
    EXPECT_EQ(name("send"), "Send");
    EXPECT_EQ(name("input"), "Describe your issue...");
    EXPECT_EQ(name("conversation"), "Conversation");
}

TEST_F(HelpView, FitsItsSmallestWindow) {
    auto& view = openHelp();
    resize(view, QSize(800, 600));
    auto& body = ask(view, longText(700));
    give(body, longText(900));
    body.fail(platform::UrlError::Code::timedOut);
    settleViews();
    EXPECT_TRUE(isShown(view, "error"));
    EXPECT_TRUE(isFrameInSight(view));
}

TEST(MessageBlocks, KeepTheirCutsWhileTheTextGrows) {
    std::string text;
    for (int i = 0; text.size() < 30'000; ++i)
        text += fmt::format("word{}{}", i, i % 97 == 96 ? "\n" : i % 13 == 12 ? "é 🎉" : " ");
    std::optional<BlockCut> settled;
    for (std::size_t size = 0; size < 9000; ++size) {
        const auto cut = firstBlockCut(std::string_view(text).substr(0, size));
        if (settled) {
            ASSERT_TRUE(cut);
            ASSERT_EQ(cut->end, settled->end) << size;
        }
        settled = cut;
    }
    EXPECT_TRUE(settled);
}

TEST(MessageBlocks, EndAfterALineOrAWordOrBetweenCharacters) {
    EXPECT_FALSE(firstBlockCut(""));
    EXPECT_FALSE(firstBlockCut(std::string(1000, 'x') + "\n"));
    const auto line = firstBlockCut(std::string(1500, 'x') + "\nmore");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->end, 1500U);
    EXPECT_EQ(line->next, 1501U);

    const auto word = firstBlockCut(std::string(3000, 'x') + " " + std::string(3000, 'y'));
    ASSERT_TRUE(word);
    EXPECT_EQ(word->end, 3000U);
    EXPECT_EQ(word->next, 3001U);

    // A family emoji of eleven code points and about thirty-six bytes is one character.
    const std::string family = "👨‍👩‍👧‍👦";
    std::string families;
    while (families.size() < 9000)
        families += family;
    const auto cut = firstBlockCut(families);
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut->end, cut->next);
    EXPECT_EQ(cut->end % family.size(), 0U);
    EXPECT_GT(cut->end, 3000U);

    const auto broken = firstBlockCut(std::string(9000, '\x80'));
    ASSERT_TRUE(broken);
    EXPECT_GT(broken->next, 0U);
    EXPECT_LE(broken->next, 4000U);
}

} // namespace sonvale::ui
