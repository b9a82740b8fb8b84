#include "persistence/SettingsKeys.h"
#include "tests/ui/common/DesktopProbe.h"
#include "tests/ui/common/ViewFixture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace sonvale::ui {

namespace {

namespace keys = persistence::keys;
using platform::RecordingState;
using tests::eventuallyInQt;

class MenuBarView : public tests::ViewFixture {
protected:
    static bool reads(QQuickView& view, const std::string& text) {
        const auto texts = readable(view);
        return std::ranges::find(texts, text) != texts.end();
    }
    void setState(RecordingState state) {
        change([&] { this->state().recordingState = state; });
    }
    void setTranscription(const std::string& text) {
        change([&] { state().lastTranscription = text; });
    }
};

} // namespace

TEST_F(MenuBarView, ShowsEachStateWhileItIsOpen) {
    auto& view = openMenu();
    EXPECT_EQ(text(view, "status"), "Ready");
    for (const auto& [state, words] : {std::pair(RecordingState::recording, "Listening..."),
                                       std::pair(RecordingState::processing, "Processing..."),
                                       std::pair(RecordingState::processingHandsFree, "Cleaning up...")}) {
        setState(state);
        EXPECT_EQ(text(view, "status"), words);
    }
    setState(RecordingState::idle);
    EXPECT_EQ(text(view, "status"), "Ready");
}

TEST_F(MenuBarView, ColorsTheDotByTheState) {
    auto& view = openMenu();
    const auto color = [&] { return item(view, "statusDot").property("color").toString().toStdString(); };
    const auto idle = color();
    setState(RecordingState::recording);
    EXPECT_TRUE(eventuallyInQt(5, [&] { return color() == "#2a63f0"; })) << color();
    setState(RecordingState::processing);
    EXPECT_TRUE(eventuallyInQt(5, [&] { return color() == "#177843"; })) << color();
    setState(RecordingState::idle);
    EXPECT_TRUE(eventuallyInQt(5, [&] { return color() == idle; })) << color();
}

TEST_F(MenuBarView, ShowsHowToStartAndDimsRowsThatNeedATranscript) {
    auto& view = openMenu();
    EXPECT_EQ(text(view, "transcriptionText"), "Hold ⌥D to start dictating");
    EXPECT_FALSE(isShown(view, "copy"));
    for (const auto* row : {"copyLast", "pasteLast"}) {
        EXPECT_FALSE(item(view, row).isEnabled()) << row;
        click(view, row);
    }
    EXPECT_EQ(menu().view(), &view) << "it is still open";
    advance(1);
    EXPECT_TRUE(pastedTexts().empty());
    EXPECT_EQ(pasteboard().text(), std::nullopt);
}

TEST_F(MenuBarView, ShowsEveryRowInItsOrder) {
    const auto texts = readable(openMenu());
    const std::vector<std::string> expected{"Ready",
                                            "Hold ⌥D to start dictating",
                                            "Dashboard",
                                            "Copy Last Transcript",
                                            "Paste Last Transcript",
                                            "⌘⌥V",
                                            "Shortcuts",
                                            "Language",
                                            "English",
                                            "Quit Son Vale"};
    EXPECT_EQ(texts, expected);
}

TEST_F(MenuBarView, CopiesTheTranscriptByTheButtonAndByTheRow) {
    setTranscription("first");
    auto& view = openMenu();
    EXPECT_EQ(text(view, "transcriptionText"), "first");
    click(view, "copy");
    EXPECT_EQ(pasteboard().text(), "first");
    setTranscription("second");
    EXPECT_EQ(text(view, "transcriptionText"), "second");
    click(view, "copyLast");
    EXPECT_EQ(pasteboard().text(), "second");
    EXPECT_TRUE(eventuallyInQt(5, [&] { return menu().view() == nullptr; }));
}

TEST_F(MenuBarView, PastesOnceTheApplicationHasTheKeyboardAgain) {
    setTranscription("again");
    click(openMenu(), "pasteLast");
    EXPECT_TRUE(eventuallyInQt(5, [&] {
        advance(0.1);
        return pastedTexts() == std::vector<std::string>{"again"};
    }));
    EXPECT_EQ(menu().view(), nullptr);
}

TEST_F(MenuBarView, OpensTheDashboardFromBothRows) {
    for (const auto* row : {"dashboard", "shortcuts"}) {
        const int before = dashboardsOpened;
        click(openMenu(), row);
        EXPECT_TRUE(eventuallyInQt(5, [&] { return menu().view() == nullptr; }));
        EXPECT_EQ(dashboardsOpened, before + 1) << row;
        EXPECT_FALSE(wasMenuOpen) << row << ": the menu has closed before";
    }
}

TEST_F(MenuBarView, ChoosesALanguage) {
    settings().set(keys::language, "de");
    auto& view = openMenu();
    EXPECT_TRUE(reads(view, "German"));
    EXPECT_FALSE(isShown(view, "languages"));
    click(view, "language");
    for (const auto* name : {"English", "Spanish", "French", "German", "Italian"})
        EXPECT_TRUE(reads(view, name)) << name;
    EXPECT_EQ(item(view, "language.de").property("symbol"), QStringLiteral("checkmark"));
    EXPECT_EQ(item(view, "language.fr").property("symbol"), QString());
    click(view, "language.fr");
    EXPECT_EQ(settings().stored(keys::language), "fr");
    EXPECT_FALSE(isShown(view, "languages"));
    EXPECT_TRUE(reads(view, "French"));
}

TEST_F(MenuBarView, ShowsEnglishForAnUnknownLanguage) {
    settings().set(keys::language, "xx");
    EXPECT_TRUE(reads(openMenu(), "English"));
}

TEST_F(MenuBarView, Quits) {
    click(openMenu(), "quit");
    EXPECT_EQ(quits, 1);
}

TEST_F(MenuBarView, IsUsedByKeyboardOnly) {
    setTranscription("words");
    auto& view = openMenu();
    EXPECT_EQ(focused(view), "dashboard");
    std::vector<std::string> order;
    for (int i = 0; i < 7; ++i) {
        order.push_back(focused(view));
        press(view, Qt::Key_Tab);
    }
    EXPECT_EQ(order, (std::vector<std::string>{"dashboard", "copyLast", "pasteLast", "shortcuts", "language",
                                               "quit", "copy"}));
    EXPECT_EQ(focused(view), "dashboard");
    for (int i = 0; i < 4; ++i)
        press(view, Qt::Key_Tab);
    press(view, Qt::Key_Return);
    EXPECT_TRUE(isShown(view, "languages"));
    press(view, Qt::Key_Escape);
    EXPECT_FALSE(isShown(view, "languages"));
    press(view, Qt::Key_Escape);
    EXPECT_TRUE(eventuallyInQt(5, [&] { return menu().view() == nullptr; }));
}

TEST_F(MenuBarView, ShowsTheErrorLineWhileThereIsOne) {
    auto& view = openMenu();
    EXPECT_FALSE(isShown(view, "error"));
    change([&] { state().surfaceError("No audio recorded."); });
    EXPECT_EQ(text(view, "error"), "No audio recorded.");
    change([&] { state().errorMessage = std::nullopt; });
    EXPECT_FALSE(isShown(view, "error"));
}

TEST_F(MenuBarView, KeepsItsSizeWithALongTranscriptOfAnyScript) {
    std::string text;
    while (text.size() < 100000)
        text += "<b>שלום</b> 👩‍👩‍👧‍👦 a long dictation & more ";
    setTranscription(text);
    auto& view = openMenu();
    EXPECT_EQ(view.width(), 320);
    EXPECT_LE(view.height(), 640);
    EXPECT_TRUE(isShown(view, "quit"));
    EXPECT_EQ(outside(view), std::vector<std::string>{});
    EXPECT_TRUE(this->text(view, "transcriptionText").starts_with("<b>שלום</b>")) << "no markup";
    click(view, "copy");
    EXPECT_EQ(pasteboard().text(), text);
}

TEST_F(MenuBarView, KeepsQuitVisibleWithAllContent) {
    std::string sentences;
    for (int i = 0; i < 30; ++i)
        sentences += "this sentence has six words. ";
    setTranscription(sentences);
    change([&] { state().surfaceError(sentences); });
    auto& view = openMenu();
    click(view, "language");
    const auto inSight = [&](const char* name) {
        const auto& row = item(view, name);
        const auto place = row.mapRectToScene(row.boundingRect());
        auto room = QRectF(QPointF(), view.size());
        for (const auto* each = row.parentItem(); each; each = each->parentItem()) {
            if (each->clip())
                room = room.intersected(each->mapRectToScene(each->boundingRect()));
        }
        return room.contains(place);
    };
    EXPECT_TRUE(eventuallyInQt(5, [&] { return view.rootObject()->height() == view.height(); }));
    EXPECT_LE(view.height(), 640);
    EXPECT_TRUE(inSight("quit"));
    EXPECT_EQ(outside(view), std::vector<std::string>{});
    EXPECT_TRUE(inSight("language.auto")) << "the languages come into sight";

    // The keyboard reaches everything.
    item(view, "dashboard").forceActiveFocus(Qt::TabFocusReason);
    settleViews();
    EXPECT_TRUE(inSight("dashboard"));
    for (int i = 0; i < 20 && focused(view) != "language.auto"; ++i) {
        press(view, Qt::Key_Tab);
        EXPECT_TRUE(inSight(focused(view).c_str())) << focused(view);
    }
    EXPECT_EQ(focused(view), "language.auto");
    press(view, Qt::Key_Return);
    EXPECT_EQ(settings().stored(keys::language), "auto");

    // A screen that is shorter than the menu.
    resize(view, QSize(320, 300));
    EXPECT_TRUE(inSight("quit"));
    EXPECT_EQ(outside(view), std::vector<std::string>{});
    click(view, "quit");
    EXPECT_EQ(quits, 1);
}

TEST(MenuPopover, StaysInsideTheScreenForEveryIconPlace) {
    const QRect room(0, 30, 1280, 870);
    const QSize size(320, 400);
    for (const auto& icon : {QRect(0, 0, 22, 22), QRect(1258, 0, 22, 22), QRect(0, 878, 22, 22),
                             QRect(1258, 878, 22, 22), QRect(600, 450, 1, 1)}) {
        const auto place = MenuPopover::placeFor(icon, size, room);
        EXPECT_TRUE(room.contains(place)) << icon.x() << ", " << icon.y();
        EXPECT_FALSE(place.intersects(icon.intersected(room)) && icon.width() > 1);
    }
    EXPECT_EQ(MenuPopover::placeFor(QRect(640, 0, 20, 20), size, room).top(), 30);
}

} // namespace sonvale::ui
