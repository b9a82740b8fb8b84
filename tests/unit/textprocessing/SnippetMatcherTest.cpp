#include "textprocessing/SnippetMatcher.h"

#include "persistence/ModelContainer.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/LogCapture.h"

#include <SQLiteCpp/Database.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace sonvale::textprocessing {

namespace {

using persistence::ModelContainer;
using persistence::Snippet;
using Triggers = std::vector<std::string>;

class SnippetMatcherTest : public testing::Test {
protected:
    SnippetMatcherTest() { open(); }

    void open() {
        container_.reset();
        container_ = ModelContainer::open(directory_.path());
    }

    persistence::ModelContext& store() { return container_->mainContext(); }
    std::string storeFile() const { return directory_.path() + "/Sonvale/Sonvale.store"; }

    void keep(const Triggers& triggers) {
        for (const auto& old : store().fetch<Snippet>())
            store().remove(old);
        for (const auto& trigger : triggers)
            store().insert(Snippet{.trigger = trigger, .content = "content of " + trigger});
        store().save();
    }

    SnippetMatch match(const std::string& transcript) { return SnippetMatcher(store()).match(transcript); }

    bool matches(const std::string& transcript, const std::string& trigger) {
        keep({trigger});
        return match(transcript).matched;
    }

    std::vector<std::int64_t> usage() {
        std::vector<std::int64_t> counts;
        for (const auto& snippet : store().fetch<Snippet>())
            counts.push_back(snippet.usageCount);
        return counts;
    }

    tests::LogCapture log_;

private:
    tests::TemporaryDirectory directory_;
    std::unique_ptr<ModelContainer> container_;
};

} // namespace

TEST_F(SnippetMatcherTest, FindsTheSpokenTrigger) {
    keep({"my address"});
    const auto found = match("My Address.");
    EXPECT_TRUE(found.matched);
    EXPECT_EQ(found.content, "content of my address");
    ASSERT_TRUE(found.snippet);
    EXPECT_EQ(found.snippet->trigger, "my address");
    EXPECT_EQ(found.snippet->usageCount, 1);
}

TEST_F(SnippetMatcherTest, FindsNoTriggerThatWasNotSpoken) {
    keep({"my address"});
    const auto found = match("something else");
    EXPECT_FALSE(found.matched);
    EXPECT_FALSE(found.content);
    EXPECT_FALSE(found.snippet);
    EXPECT_EQ(usage(), std::vector<std::int64_t>{0});
    keep({});
    EXPECT_FALSE(match("my address").matched);
}

TEST_F(SnippetMatcherTest, ComparesBothTextsAfterTrimming) {
    struct Row {
        std::string transcript;
        std::string trigger;
        bool matches;
    };
    const Row rows[] = {
        {"my address", "my address", true},
        {"MY ADDRESS", "My Address", true},
        {" \n my address \t", "\n my address ", true},
        {"my address?!...", "my address", true},
        {"my address.,;:!?", "my address", true},
        {"my address. ", "my address", true},
        {"my address. .", "my address", false},
        {"please insert my address", "my address", true},
        {"my address please", "my address", false},
        {"dummy address", "my address", true},
        {"address", "my address", false},
        {"my, address", "my address", false},
        {"my, address.", "my, address", true},
        {"my  address", "my address", false},
        {"my address.", "my address.", false},
        {"my address", "my address.", false},
        {"my address\u2026", "my address", false},
        {"my address)", "my address", false},
        {"anything at all", "", true},
        {"anything at all", " \n", true},
    };
    for (const auto& row : rows)
        EXPECT_EQ(matches(row.transcript, row.trigger), row.matches) << row.transcript << "|" << row.trigger;
}

TEST_F(SnippetMatcherTest, ComparesWholeUserPerceivedCharacters) {
    struct Row {
        std::string transcript;
        std::string trigger;
        bool matches;
    };
    const Row rows[] = {
        {"mein gru\u00DF", "GRU\u00DF", true},
        {"mein gru\u00DF", "gruss", false},
        {"\u00C4RGER", "\u00E4rger", true},
        {"un caf\u00E9", "CAFE\u0301", true},
        {"un cafe\u0301", "caf\u00E9", true},
        {"un cafe\u0301", "\u0301", false},
        {"un caf\u00E9", "cafe", false},
        {"\u041F\u0420\u0418\u0412\u0415\u0422!", "\u043F\u0440\u0438\u0432\u0435\u0442", true},
        {"\u65E5\u672C\u8A9E", "\u672C\u8A9E", true},
        {"\u039F\u03A3", "\u03BF\u03C3", true},
        {"\u039F\u03A3", "\u03BF\u03C2", false},
        {"family \U0001F468\u200D\U0001F469", "\U0001F469", false},
        {"\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7", "\U0001F1EB\U0001F1F7", true},
        {"\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7", "\U0001F1EA\U0001F1EB\U0001F1F7", false},
        {"\u0130", "i\u0307", true},
        {"\xFF", "\uFFFD", true},
    };
    for (const auto& row : rows)
        EXPECT_EQ(matches(row.transcript, row.trigger), row.matches) << row.transcript << "|" << row.trigger;
}

TEST_F(SnippetMatcherTest, MatchesNothingIfATextIsEmptyAfterTrimming) {
    // A snippet that matches everything shows that the store is not queried.
    keep({""});
    for (const auto* transcript : {"", " \n\t", "...", " ?! ", ".!?,;:"})
        EXPECT_FALSE(match(transcript).matched) << transcript;
    EXPECT_EQ(usage(), std::vector<std::int64_t>{0});
    EXPECT_TRUE(match("a").matched);
}

TEST_F(SnippetMatcherTest, ReturnsTheFirstInTheStoresOrder) {
    using Counts = std::vector<std::int64_t>;
    keep({"address", "my address"});
    EXPECT_EQ(match("insert my address").content, "content of address");
    EXPECT_EQ(usage(), (Counts{1, 0}));
    keep({"my address", "address"});
    EXPECT_EQ(match("insert my address").content, "content of my address");
    EXPECT_EQ(match("my address").content, "content of my address");
    EXPECT_EQ(match("your address").content, "content of address");
    EXPECT_EQ(usage(), (Counts{2, 1}));
}

TEST_F(SnippetMatcherTest, SavesTheCountOfUses) {
    keep({"a", "b"});
    match("b");
    match("b");
    open();
    EXPECT_EQ(usage(), (std::vector<std::int64_t>{0, 2}));
    EXPECT_EQ(match("b").snippet->usageCount, 3);
}

TEST_F(SnippetMatcherTest, ReturnsTheContentUnchanged) {
    store().insert(Snippet{.trigger = "sig", .content = " Line 1\r\nLine 2 \u00E9\n "});
    store().save();
    EXPECT_EQ(match("sig").content, " Line 1\r\nLine 2 \u00E9\n ");
    store().insert(Snippet{.trigger = "nothing", .content = ""});
    store().save();
    EXPECT_EQ(match("nothing").content, "");
}

TEST_F(SnippetMatcherTest, TreatsAnUnreadableStoreAsEmpty) {
    keep({"my address"});
    SQLite::Database(storeFile(), SQLite::OPEN_READWRITE).exec("DROP TABLE Snippet");
    const auto found = match("my address");
    EXPECT_FALSE(found.matched);
    EXPECT_FALSE(found.content);
}

TEST_F(SnippetMatcherTest, MatchesIfTheCountCannotBeSaved) {
    keep({"my address"});
    {
        const tests::FileSizeLimit fullDisk(std::filesystem::file_size(storeFile() + "-wal"));
        EXPECT_EQ(match("my address").content, "content of my address");
        EXPECT_EQ(match("my address").snippet->usageCount, 2) << "the count goes on in memory";
    }
    store().save();
    open();
    EXPECT_EQ(usage(), std::vector<std::int64_t>{2}) << "and is saved with the next change";
}

TEST_F(SnippetMatcherTest, FindsUnsavedSnippets) {
    store().insert(Snippet{.trigger = "new", .content = "n"});
    EXPECT_EQ(match("new").content, "n");
}

} // namespace sonvale::textprocessing
