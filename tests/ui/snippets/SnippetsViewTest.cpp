#include "tests/ui/common/DesktopProbe.h"
#include "tests/ui/common/ViewFixture.h"
#include "ui/snippets/SnippetsModel.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QAccessible>
#include <QColor>
#include <QTest>
#include <algorithm>
#include <chrono>

namespace sonvale::ui {

namespace {

using persistence::Snippet;
using tests::eventuallyInQt;
using namespace std::chrono_literals;

class SnippetsView : public tests::ViewFixture {
protected:
    SnippetsView() { startSignedIn(); }

    QQuickView& openSnippets() {
        auto& view = openDashboard();
        click(view, "sidebar.snippets");
        return view;
    }
    void add(const std::string& trigger, const std::string& content, const std::string& category = "",
             std::int64_t usageCount = 0) {
        const auto age = std::chrono::minutes(stored().size());
        state().modelContext->insert(Snippet{.trigger = trigger,
                                             .content = content,
                                             .category = category,
                                             .createdAt = clock().date() - age,
                                             .usageCount = usageCount});
        state().modelContext->save();
    }
    std::vector<Snippet> stored() { return state().modelContext->fetch<Snippet>(); }
    static bool reads(QQuickView& view, const std::string& words) {
        const auto texts = readable(view);
        return std::ranges::find(texts, words) != texts.end();
    }
    static std::vector<std::string> shown(QQuickView& view) {
        std::vector<std::string> triggers;
        for (int row = 0; isShown(view, fmt::format("snippet.{}.trigger", row)); ++row)
            triggers.push_back(text(view, fmt::format("snippet.{}.trigger", row)));
        return triggers;
    }
    using Triggers = std::vector<std::string>;
};

} // namespace

TEST_F(SnippetsView, OffersToAddTheFirstSnippet) {
    auto& view = openSnippets();
    for (const auto* words :
         {"Snippets", "Say a trigger phrase and Son Vale will insert the full snippet text.", "Add new",
          "No snippets yet", "Create your first snippet"})
        EXPECT_TRUE(reads(view, words)) << words;
    EXPECT_TRUE(reads(view, "Create voice shortcuts for frequently used text.\n"
                            "Say the trigger phrase and the full text will be inserted."));
    EXPECT_EQ(item(view, "search").property("placeholderText"), QStringLiteral("Search snippets"));
    click(view, "createFirst");
    EXPECT_EQ(text(view, "sheetTitle"), "Add Snippet");
}

TEST_F(SnippetsView, StoresANewSnippetUnchanged) {
    auto& view = openSnippets();
    click(view, "addNew");
    for (const auto* words : {"Add Snippet", "Trigger phrase", "Say this phrase to insert the snippet",
                              "Content", "Category (optional)", "Cancel"})
        EXPECT_TRUE(reads(view, words)) << words;
    EXPECT_EQ(item(view, "triggerField").property("placeholderText"), QStringLiteral("e.g., my address"));
    EXPECT_EQ(item(view, "categoryField").property("placeholderText"),
              QStringLiteral("e.g., Work, Personal"));
    EXPECT_FALSE(item(view, "addSnippet").isEnabled());
    EXPECT_EQ(focused(view), "triggerField");
    type(view, " My Address ");
    press(view, Qt::Key_Tab);
    type(view, "Main Street 1");
    press(view, Qt::Key_Return);
    type(view, "London");
    press(view, Qt::Key_Tab);
    type(view, "Personal");
    EXPECT_TRUE(item(view, "addSnippet").isEnabled());
    click(view, "addSnippet");

    ASSERT_EQ(stored().size(), 1U);
    const auto snippet = stored().front();
    EXPECT_EQ(snippet.trigger, " My Address ");
    EXPECT_EQ(snippet.content, "Main Street 1\nLondon");
    EXPECT_EQ(snippet.category, "Personal");
    EXPECT_EQ(snippet.usageCount, 0);
    EXPECT_EQ(snippet.createdAt, clock().date());
    EXPECT_EQ(shown(view), Triggers{" My Address "});
    EXPECT_FALSE(reads(view, "No snippets yet"));
    EXPECT_FALSE(isShown(view, "sheetTitle"));
}

TEST_F(SnippetsView, DropsACanceledSnippet) {
    auto& view = openSnippets();
    for (const bool byKey : {false, true}) {
        click(view, "addNew");
        type(view, "words");
        press(view, Qt::Key_Tab);
        type(view, "words");
        if (byKey)
            press(view, Qt::Key_Escape);
        else
            click(view, "cancel");
        EXPECT_FALSE(isShown(view, "sheetTitle"));
        EXPECT_TRUE(stored().empty());
    }
    click(view, "addNew");
    EXPECT_EQ(item(view, "triggerField").property("text"), QString()) << "the next one begins empty";
}

TEST_F(SnippetsView, ShowsEverythingOfARowNewestFirst) {
    add("my address", "Main Street 1", "Personal", 1);
    add("sign off", "Best wishes, Ada", "", 12);
    add("disclaimer", "No warranty.");
    auto& view = openSnippets();
    EXPECT_EQ(shown(view), (Triggers{"my address", "sign off", "disclaimer"}));
    EXPECT_EQ(text(view, "snippet.0.content"), "Main Street 1");
    EXPECT_TRUE(isShown(view, "snippet.0.category"));
    EXPECT_TRUE(reads(view, "Personal"));
    EXPECT_FALSE(isShown(view, "snippet.1.category"));
    EXPECT_EQ(text(view, "snippet.0.usage"), "Used once");
    EXPECT_EQ(text(view, "snippet.1.usage"), "Used 12 times");
    EXPECT_EQ(text(view, "snippet.2.usage"), "Not used yet");
    EXPECT_EQ(item(view, "snippet.0.edit").property("text"), QStringLiteral("Edit"));
    EXPECT_EQ(item(view, "snippet.0.remove").property("text"), QStringLiteral("Remove"));
}

TEST_F(SnippetsView, SearchesTriggersAndContentsIgnoringCase) {
    add("my address", "Main Street 1");
    add("sign off", "Best wishes, Zoë");
    auto& view = openSnippets();
    click(view, "search");
    type(view, "STREET");
    EXPECT_EQ(shown(view), Triggers{"my address"});
    for (int i = 0; i < 6; ++i)
        press(view, Qt::Key_Backspace);
    EXPECT_EQ(shown(view).size(), 2U);
    type(view, "ZOË");
    EXPECT_EQ(shown(view), Triggers{"sign off"});
    type(view, "x");
    EXPECT_EQ(shown(view), Triggers{});
    EXPECT_FALSE(reads(view, "No snippets yet")) << "an empty list, not the first-use panel";
}

TEST_F(SnippetsView, RemovesWithoutAsking) {
    add("one", "1");
    add("two", "2");
    auto& view = openSnippets();
    click(view, "snippet.0.remove");
    EXPECT_EQ(shown(view), Triggers{"two"});
    ASSERT_EQ(stored().size(), 1U);
    EXPECT_EQ(stored().front().trigger, "two");
    click(view, "snippet.0.remove");
    EXPECT_TRUE(reads(view, "No snippets yet"));
}

TEST_F(SnippetsView, StoresAnEditWhileTheUserTypes) {
    add("one", "1", "numbers", 3);
    auto& view = openSnippets();
    click(view, "snippet.0.edit");
    EXPECT_EQ(text(view, "sheetTitle"), "Edit Snippet");
    EXPECT_EQ(item(view, "triggerField").property("text"), QStringLiteral("one"));
    press(view, Qt::Key_End);
    type(view, " more");
    EXPECT_EQ(stored().front().trigger, "one more") << "the object is changed at once";
    press(view, Qt::Key_Tab);
    press(view, Qt::Key_End);
    type(view, "1");
    press(view, Qt::Key_Tab);
    press(view, Qt::Key_End);
    type(view, "!");
    click(view, "done");
    EXPECT_EQ(stored().front(), (Snippet{.id = stored().front().id,
                                         .trigger = "one more",
                                         .content = "11",
                                         .category = "numbers!",
                                         .createdAt = stored().front().createdAt,
                                         .usageCount = 3}));
    EXPECT_EQ(shown(view), Triggers{"one more"});
}

TEST_F(SnippetsView, RestoresASnippetAfterACanceledEdit) {
    add("one", "1", "numbers", 3);
    auto& view = openSnippets();
    for (const bool byKey : {false, true}) {
        click(view, "snippet.0.edit");
        type(view, "something else ");
        change([&] { advance(1); });
        EXPECT_NE(stored().front().trigger, "one");
        if (byKey)
            press(view, Qt::Key_Escape);
        else
            click(view, "cancel");
        EXPECT_EQ(stored().front().trigger, "one");
        EXPECT_EQ(stored().front().usageCount, 3);
        EXPECT_EQ(shown(view), Triggers{"one"});
    }
}

TEST_F(SnippetsView, FollowsTheUseOfASnippet) {
    add("my address", "Main Street 1");
    auto& view = openSnippets();
    dictate("my address");
    settleViews();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"Main Street 1"});
    EXPECT_EQ(text(view, "snippet.0.usage"), "Used once");
    click(view, "snippet.0.edit");
    dictate("my address");
    settleViews();
    press(view, Qt::Key_End);
    type(view, "!");
    click(view, "done");
    EXPECT_EQ(stored().front().usageCount, 2) << "a use while it was edited";
    EXPECT_EQ(stored().front().trigger, "my address!");
}

TEST_F(SnippetsView, IsUsedByKeyboardOnly) {
    add("one", "1");
    auto& view = openSnippets();
    for (int i = 0; i < 20 && focused(view) != "snippet.0.edit"; ++i)
        press(view, Qt::Key_Tab);
    press(view, Qt::Key_Return);
    EXPECT_EQ(focused(view), "triggerField");
    for (int i = 0; i < 12; ++i) {
        press(view, Qt::Key_Tab);
        auto* inside = view.activeFocusItem();
        bool isInSheet = false;
        for (auto* each = inside; each; each = each->parentItem())
            isInSheet |= each->objectName() == QLatin1String("sheet");
        EXPECT_TRUE(isInSheet) << focused(view);
    }
    press(view, Qt::Key_Escape);
    EXPECT_EQ(focused(view), "snippet.0.edit") << "the keyboard goes back to where it was";
}

TEST_F(SnippetsView, FollowsTheRulesOfItemModels) {
    for (int i = 0; i < 30; ++i)
        add(fmt::format("trigger {}", i), "content");
    SnippetsModel model(environment().main, clock(), RecordStore(state().shared_from_this()));
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.setSearchText(QStringLiteral("1"));
    EXPECT_EQ(model.rowCount(), 12);
    model.remove(3);
    model.add(QStringLiteral("new 1"), QStringLiteral("c"), {});
    settleViews();
    EXPECT_EQ(model.rowCount(), 12);
    model.edit(99);
    EXPECT_FALSE(model.editor()->isEditing());
    model.remove(-1);
    model.editor()->setTrigger(QStringLiteral("nothing is edited"));
    EXPECT_EQ(stored().size(), 30U);
}

TEST_F(SnippetsView, FindsTheSameAsTheRule) {
    const std::pair<const char*, std::vector<const char*>> rows[] = {
        {"Straße", {"STRASSE", "ras", "ß", "ss", "s", "e"}},
        {"e\u0301tude", {"E", "é", "tude", "\u0301"}},
        {"İstanbul", {"i", "i\u0307", "STAN"}},
        {"one\r\ntwo", {"\n", "\r", "e\r\nt", "TWO"}},
        {"ﬁne", {"fi", "i", "NE"}},
        {"Müller über Łódź", {"ü", "mü", "ÜB", "r ü", "ó", "ŁÓDŹ", "u", "l"}},
        {"a\u0308b \u0600x", {"a", "ä", "b", "x", "\u0600"}},
        {"👩‍👩‍👧 family", {"👩", "👧", "FAM"}}};
    for (const auto& [words, searches] : rows) {
        const SearchedText searched(words);
        for (const auto* search : searches)
            EXPECT_EQ(searched.contains(words, SearchedText::Query(search)),
                      matchesSearch(Snippet{.trigger = words}, search))
                << words << " / " << search;
    }
}

TEST_F(SnippetsView, StoresTextsFromAssistiveTechnology) {
    add("address", "Main Street 1", "Personal");
    auto& view = openSnippets();
    const auto write = [&](const char* field, const char* words) {
        auto* editor = QAccessible::queryAccessibleInterface(&item(view, field));
        ASSERT_TRUE(editor) << field;
        editor->setText(QAccessible::Value, QString::fromUtf8(words));
        settleViews();
    };
    click(view, "snippet.0.edit");
    write("triggerField", "my address");
    write("contentField", "Main Street 2");
    write("categoryField", "Home");
    click(view, "done");
    const auto snippet = stored().at(0);
    EXPECT_EQ(snippet.trigger, "my address");
    EXPECT_EQ(snippet.content, "Main Street 2");
    EXPECT_EQ(snippet.category, "Home");
    write("search", "nothing like it");
    EXPECT_EQ(shown(view), Triggers{});
}

TEST_F(SnippetsView, EditsTheCurrentSnippetAfterACanceledEdit) {
    add("first", "one");
    add("second", "two");
    auto& view = openSnippets();
    for (int i = 0; i < 2; ++i) {
        click(view, "snippet.0.edit");
        EXPECT_EQ(text(view, "triggerField"), "first");
        EXPECT_EQ(text(view, "contentField"), "one");
        type(view, " changed");
        click(view, "cancel");
        EXPECT_EQ(stored().at(0).trigger, "first");
    }
    click(view, "snippet.1.edit");
    EXPECT_EQ(text(view, "triggerField"), "second");
    EXPECT_EQ(text(view, "contentField"), "two");
}

TEST_F(SnippetsView, ClearsTheSearchWithItsTab) {
    add("address", "Main Street 1");
    auto& view = openSnippets();
    click(view, "search");
    type(view, "nothing like it");
    ASSERT_EQ(shown(view), Triggers{});
    click(view, "sidebar.home");
    click(view, "sidebar.snippets");
    EXPECT_EQ(text(view, "search"), "");
    EXPECT_EQ(shown(view), Triggers{"address"});
}

TEST_F(SnippetsView, NamesEditAndRemoveAndWarnsBeforeRemoving) {
    add("address", "Main Street 1");
    auto& view = openSnippets();
    EXPECT_TRUE(reads(view, "Edit"));
    EXPECT_TRUE(reads(view, "Remove"));
    const auto place = [&](const char* name) {
        const auto& button = item(view, name);
        return button.mapRectToScene(button.boundingRect());
    };
    EXPECT_GE(place("snippet.0.remove").left() - place("snippet.0.edit").right(), 12);
    const auto wordsOf = [&](const char* name) {
        auto* words = item(view, name).property("contentItem").value<QQuickItem*>();
        return words->property("color").value<QColor>();
    };
    const auto plain = wordsOf("snippet.0.remove");
    QTest::mouseMove(&view, place("snippet.0.remove").center().toPoint());
    EXPECT_TRUE(eventuallyInQt(5, [&] { return wordsOf("snippet.0.remove") == QColor(0xC0, 0x35, 0x2B); }));
    QTest::mouseMove(&view, place("snippet.0.edit").center().toPoint());
    EXPECT_TRUE(eventuallyInQt(5, [&] { return wordsOf("snippet.0.remove") == plain; }));
}

} // namespace sonvale::ui
