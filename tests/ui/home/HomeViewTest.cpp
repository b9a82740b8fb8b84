#include "base/DateText.h"
#include "tests/ui/common/DesktopProbe.h"
#include "tests/ui/common/ViewFixture.h"
#include "ui/home/HistoryModel.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <QTest>
#include <algorithm>
#include <chrono>

namespace sonvale::ui {

namespace {

using namespace std::chrono_literals;
using tests::eventuallyInQt;

class HomeView : public tests::ViewFixture {
protected:
    HomeView() { startSignedIn(); }

    static bool reads(QQuickView& view, const std::string& words) {
        const auto texts = readable(view);
        return std::ranges::find(texts, words) != texts.end();
    }
    persistence::Transcription row(const std::string& words, base::Date timestamp) {
        return {.rawText = words,
                .processedText = words,
                .timestamp = timestamp,
                .wordCount = 2,
                .durationSeconds = 1};
    }
    void add(const std::string& words, base::Date timestamp) {
        change([&] {
            state().modelContext->insert(row(words, timestamp));
            state().modelContext->save();
        });
    }
    void addMany(int count) {
        for (int i = 0; i < count; ++i)
            state().modelContext->insert(row(fmt::format("row {}", i), clock().date() - i * 1min));
        state().modelContext->save();
    }
    static HistoryModel& model(QQuickView& view) {
        return *view.rootObject()->property("model").value<DashboardModel*>()->history();
    }
    base::Date now() { return clock().date(); }
};

} // namespace

TEST_F(HomeView, GreetsByTheFirstNameOfTheAccount) {
    workspace().setFullUserName("Ada King of Lovelace");
    EXPECT_EQ(text(openDashboard(), "greeting"), "Welcome back, Ada");
    workspace().setFullUserName("");
    EXPECT_EQ(text(openDashboard(), "greeting"), "Welcome back, there");
}

TEST_F(HomeView, ShowsHowToStartWithAnEmptyHistory) {
    auto& view = openDashboard();
    EXPECT_TRUE(reads(view, "No transcriptions yet"));
    EXPECT_TRUE(reads(view, "Press Option + D to start dictating"));
    for (const auto* counter : {"days", "words", "wordsPerMinute"})
        EXPECT_EQ(text(view, fmt::format("stats.{}.value", counter)), "0") << counter;
    for (const auto* label : {"days", "words", "WPM"})
        EXPECT_TRUE(reads(view, label)) << label;
}

TEST_F(HomeView, OpensTheStyles) {
    auto& view = openDashboard();
    EXPECT_TRUE(reads(view, "Son Vale adapts to how you write in different apps. Personalize your style for "
                            "messages, work chats, emails, and more."));
    click(view, "startNow");
    EXPECT_TRUE(isShown(view, "tab.style"));
    EXPECT_EQ(text(view, "title"), "Style");
}

TEST_F(HomeView, ShowsADictationAsSoonAsItEnds) {
    auto& view = openDashboard();
    dictate("the first words");
    settleViews();
    EXPECT_EQ(text(view, "transcription.0.text"), "the first words");
    EXPECT_FALSE(reads(view, "No transcriptions yet"));
    EXPECT_EQ(text(view, "stats.words.value"), "3");
    EXPECT_EQ(text(view, "stats.days.value"), "1");
    advance(60);
    dictate("more");
    settleViews();
    EXPECT_EQ(outside(view), std::vector<std::string>{}) << "the greeting is still in sight";
    EXPECT_EQ(text(view, "transcription.0.text"), "more");
    EXPECT_EQ(text(view, "transcription.1.text"), "the first words");
    EXPECT_EQ(text(view, "stats.words.value"), "4");
}

TEST_F(HomeView, StartsAtTheTopWithALongHistory) {
    addMany(50);
    auto& view = openDashboard();
    const auto top = [&] { return item(view, "greeting").mapToScene({}).y(); };
    EXPECT_GT(top(), 0);
    dictate("a new one");
    settleViews();
    EXPECT_GT(top(), 0);
    EXPECT_EQ(text(view, "transcription.0.text"), "a new one");
}

TEST_F(HomeView, KeepsItsPlaceWhileTheUserReadsOlderRows) {
    addMany(100);
    auto& view = openDashboard();
    auto& list = item(view, "history");
    QMetaObject::invokeMethod(&list, "positionViewAtIndex", Q_ARG(int, 50), Q_ARG(int, 0));
    settleViews();
    const auto place = [&](int row) {
        return item(view, fmt::format("transcription.{}", row)).mapToScene({}).y();
    };
    const auto before = place(50);
    dictate("a new one");
    settleViews();
    EXPECT_NEAR(place(51), before, 1);
}

TEST_F(HomeView, GroupsTheHistoryByDay) {
    const auto today = base::dayOf(now()).value();
    add("long ago", now() - 24h * 40);
    add("two days ago", today.begin - 25h);
    add("late yesterday", today.begin - 1min);
    add("today", now());
    auto& view = openDashboard();
    const base::DateText dates("en-US");
    const auto texts = readable(view);
    const auto place = [&](const std::string& words) {
        const auto found = std::ranges::find(texts, words);
        EXPECT_NE(found, texts.end()) << words;
        return found;
    };
    for (const auto& [section, words] : {std::pair<std::string, std::string>{"Today", "today"},
                                         {"Yesterday", "late yesterday"},
                                         {dates.mediumDate(today.begin - 25h), "two days ago"},
                                         {dates.mediumDate(now() - 24h * 40), "long ago"}}) {
        EXPECT_NE(place(section), texts.end());
        EXPECT_NE(place(words), texts.end());
    }
    EXPECT_TRUE(reads(view, dates.shortTime(now())));
    EXPECT_EQ(text(view, "stats.days.value"), "4");
}

TEST_F(HomeView, ShowsTodayAsYesterdayAfterMidnight) {
    add("before midnight", now());
    auto& view = openDashboard();
    EXPECT_TRUE(isShown(view, "section.Today"));
    change([&] {
        const std::chrono::duration<double> left = base::dayOf(now())->end - now();
        advance(left.count() + 2);
    });
    EXPECT_TRUE(isShown(view, "section.Yesterday"));
    EXPECT_FALSE(isShown(view, "section.Today"));
}

TEST_F(HomeView, CopiesARowAndShowsItForAMoment) {
    add("older words", now() - 1min);
    add("newer words", now());
    auto& view = openDashboard();
    auto& button = item(view, "transcription.1.copy");
    EXPECT_EQ(button.opacity(), 0) << "until the pointer is there";
    QTest::mouseMove(&view, button.mapToScene({16, 16}).toPoint());
    settleViews();
    EXPECT_EQ(button.opacity(), 1);
    EXPECT_EQ(item(view, "transcription.0.copy").opacity(), 0);
    EXPECT_EQ(button.property("hint"), QStringLiteral("Copy"));
    EXPECT_EQ(button.property("symbol"), QStringLiteral("doc.on.doc"));
    click(view, "transcription.1.copy");
    EXPECT_EQ(pasteboard().text(), "older words");
    EXPECT_EQ(button.property("symbol"), QStringLiteral("checkmark"));
    change([&] { advance(1.4); });
    EXPECT_EQ(button.property("symbol"), QStringLiteral("checkmark"));
    change([&] { advance(0.2); });
    EXPECT_EQ(button.property("symbol"), QStringLiteral("doc.on.doc"));
}

TEST_F(HomeView, RestartsTheDelayForTheNextCopy) {
    add("older words", now() - 1min);
    add("newer words", now());
    auto& view = openDashboard();
    change([&] { model(view).copy(1); });
    change([&] { advance(1); });
    change([&] { model(view).copy(0); });
    EXPECT_EQ(item(view, "transcription.1.copy").property("symbol"), QStringLiteral("doc.on.doc"));
    change([&] { advance(1); });
    EXPECT_EQ(item(view, "transcription.0.copy").property("symbol"), QStringLiteral("checkmark"));
    EXPECT_EQ(pasteboard().text(), "newer words");
    change([&] { model(view).copy(7); });
    EXPECT_EQ(pasteboard().text(), "newer words") << "there is no such row";
}

TEST_F(HomeView, IsReadAndCopiedByKeyboardOnly) {
    addMany(5);
    auto& view = openDashboard();
    for (int i = 0; i < 20 && focused(view) != "transcription.0"; ++i)
        press(view, Qt::Key_Tab);
    ASSERT_EQ(focused(view), "transcription.0");
    press(view, Qt::Key_Down);
    press(view, Qt::Key_Down);
    EXPECT_EQ(focused(view), "transcription.2");
    press(view, Qt::Key_Return);
    EXPECT_EQ(pasteboard().text(), "row 2");
    press(view, Qt::Key_Up);
    QTest::keyClick(&view, Qt::Key_C, Qt::ControlModifier);
    settleViews();
    EXPECT_EQ(pasteboard().text(), "row 1");
}

TEST_F(HomeView, ExpandsALongDictationOnRequest) {
    std::string longText;
    for (int i = 0; i < 400; ++i)
        longText += fmt::format("sentence {} of many. ", i);
    add(longText, now());
    auto& view = openDashboard();
    const auto height = [&] { return item(view, "transcription.0").height(); };
    const auto before = height();
    EXPECT_TRUE(reads(view, "Show all"));
    for (int i = 0; i < 20 && focused(view) != "transcription.0"; ++i)
        press(view, Qt::Key_Tab);
    press(view, Qt::Key_Space);
    EXPECT_GT(height(), 2 * before);
    EXPECT_TRUE(reads(view, "Show less"));
    press(view, Qt::Key_Space);
    EXPECT_EQ(height(), before);
}

TEST_F(HomeView, DoesNotOfferToExpandAShortDictation) {
    add("short", now());
    auto& view = openDashboard();
    for (int i = 0; i < 20 && focused(view) != "transcription.0"; ++i)
        press(view, Qt::Key_Tab);
    press(view, Qt::Key_Space);
    EXPECT_FALSE(reads(view, "Show less"));
    EXPECT_FALSE(reads(view, "Show all"));
}

TEST_F(HomeView, ShowsMarkupAsPlainText) {
    add("<b>bold</b> <img src='http://127.0.0.1/x'>", now());
    EXPECT_TRUE(reads(openDashboard(), "<b>bold</b> <img src='http://127.0.0.1/x'>"));
}

TEST_F(HomeView, FollowsTheRemovalOfRows) {
    addMany(3);
    auto& view = openDashboard();
    EXPECT_EQ(model(view).count(), 3);
    change([&] {
        const auto all = state().modelContext->fetch<persistence::Transcription>();
        state().modelContext->remove(all.front());
        state().modelContext->save();
    });
    EXPECT_EQ(model(view).count(), 2);
    EXPECT_EQ(text(view, "transcription.0.text"), "row 1");
    EXPECT_EQ(text(view, "stats.words.value"), "4");
}

TEST_F(HomeView, FollowsSeveralRowsAtOnceAndOlderOnes) {
    addMany(2);
    auto& view = openDashboard();
    change([&] {
        for (const auto* words : {"one", "two", "three"})
            state().modelContext->insert(row(words, now() + 1min));
        state().modelContext->save();
    });
    EXPECT_EQ(model(view).count(), 5);
    EXPECT_EQ(text(view, "transcription.3.text"), "row 0");
    add("from long ago", now() - 1000h);
    EXPECT_EQ(model(view).count(), 6);
    EXPECT_EQ(text(view, "transcription.5.text"), "from long ago");
}

TEST_F(HomeView, KeepsOnlyTheVisiblePagesInMemory) {
    addMany(2000);
    auto& view = openDashboard();
    EXPECT_EQ(model(view).count(), 2000);
    EXPECT_LE(model(view).pagesHeld(), 2U);
    for (int row = 0; row < 2000; ++row)
        EXPECT_EQ(model(view).data(model(view).index(row), HistoryModel::textRole).toString().toStdString(),
                  fmt::format("row {}", row));
    EXPECT_LE(model(view).pagesHeld(), 8U);
    auto& list = item(view, "history");
    ASSERT_TRUE(QMetaObject::invokeMethod(&list, "positionViewAtEnd"));
    settleViews();
    EXPECT_TRUE(eventuallyInQt(5, [&] { return isShown(view, "transcription.1999"); }));
}

TEST_F(HomeView, StaysInsideTheSmallestWindowAndFromRightToLeft) {
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    add("מילים אחדות בעברית", now());
    auto& view = openDashboard();
    resize(view, {800, 600});
    EXPECT_EQ(outside(view), std::vector<std::string>{});
    EXPECT_GT(item(view, "sidebar").mapToScene({}).x(), 400) << "the sidebar stands at the right";
    EXPECT_GT(item(view, "transcription.0.text").mapToScene({}).x(),
              item(view, "transcription.0.copy").mapToScene({}).x());
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

} // namespace sonvale::ui
