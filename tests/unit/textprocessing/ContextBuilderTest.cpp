#include "textprocessing/ContextBuilder.h"

#include "persistence/ModelContainer.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/LogCapture.h"

#include <SQLiteCpp/Database.h>
#include <gtest/gtest.h>

namespace sonvale::textprocessing {

namespace {

using persistence::DictionaryEntry;
using persistence::ModelContainer;
using persistence::WritingStyle;
using Terms = std::vector<std::string>;

class ContextBuilderTest : public testing::Test {
protected:
    ContextBuilderTest() {
        workspace_.control().setFrontmost(platform::FrontApplication{
            .bundleIdentifier = "com.apple.Notes", .localizedName = "Notes", .processIdentifier = 8});
    }

    persistence::ModelContext& store() { return container_->mainContext(); }

    void addWord(std::string word, std::optional<std::string> expansion = std::nullopt) {
        store().insert(DictionaryEntry{.word = std::move(word), .expansion = std::move(expansion)});
        store().save();
    }

    ProcessingContext build(const std::optional<FocusedAppInfo>& target) {
        return builder_.build(target, &store());
    }

    static FocusedAppInfo mail() { return {"com.apple.mail", "Mail", 7}; }

    tests::LogCapture log_;
    tests::TemporaryDirectory directory_;
    tests::FakeWorkspace workspace_;
    ContextBuilder builder_{FocusedAppDetector(workspace_)};

private:
    std::unique_ptr<ModelContainer> container_ = ModelContainer::open(directory_.path());
};

} // namespace

TEST(DictionaryTerm, ContainsTheExpansionIfThereIsOne) {
    EXPECT_EQ(dictionaryTerm("Sonvale", std::nullopt), "Sonvale");
    EXPECT_EQ(dictionaryTerm("Sonvale", ""), "Sonvale");
    EXPECT_EQ(dictionaryTerm("pto", "paid time off"), "pto → paid time off");
    EXPECT_EQ(dictionaryTerm("pto", " "), "pto →  ");
    EXPECT_EQ(dictionaryTerm("", "x"), " → x");
}

TEST_F(ContextBuilderTest, DescribesTheTargetOfTheDictation) {
    store().insert(WritingStyle{.category = "notes", .formality = 1});
    store().insert(WritingStyle{.category = "email", .formality = 5, .customInstructions = "Sign off."});
    EXPECT_EQ(build(mail()), (ProcessingContext{5, "Sign off.", {}, "email"}));
    EXPECT_EQ(workspace_.control().questions(), 0) << "the target was captured when the dictation began";
}

TEST_F(ContextBuilderTest, UsesTheFrontApplicationWithoutATarget) {
    store().insert(WritingStyle{.category = "notes", .formality = 1, .customInstructions = "Terse."});
    EXPECT_EQ(build(std::nullopt), (ProcessingContext{1, "Terse.", {}, "notes"}));
    workspace_.control().setFrontmost(std::nullopt);
    EXPECT_EQ(build(std::nullopt), (ProcessingContext{3, "", {}, "other"}));
}

TEST_F(ContextBuilderTest, KeepsATargetWithoutAnIdentifier) {
    EXPECT_EQ(build(FocusedAppInfo{}), (ProcessingContext{3, "", {}, "other"}));
    EXPECT_EQ(workspace_.control().questions(), 0);
}

TEST_F(ContextBuilderTest, ListsTheWholeVocabularyInItsOrder) {
    addWord("Zed");
    addWord("pto", "paid time off");
    addWord("\u00C4rger", "");
    addWord("Zed");
    addWord("a\nb");
    EXPECT_EQ(build(mail()).dictionaryEntries,
              (Terms{"Zed", "pto → paid time off", "\u00C4rger", "Zed", "a\nb"}));
}

TEST_F(ContextBuilderTest, IsNeutralWithoutAStore) {
    addWord("Zed");
    EXPECT_EQ(builder_.build(mail(), nullptr), (ProcessingContext{3, "", {}, "email"}));
    EXPECT_EQ(builder_.build(std::nullopt, nullptr), (ProcessingContext{3, "", {}, "notes"}));
}

TEST_F(ContextBuilderTest, OmitsRecordsThatCannotBeRead) {
    store().insert(WritingStyle{.category = "email", .formality = 5});
    addWord("Zed");
    SQLite::Database other(directory_.path() + "/Sonvale/Sonvale.store", SQLite::OPEN_READWRITE);
    other.exec("DROP TABLE DictionaryEntry");
    EXPECT_EQ(build(mail()), (ProcessingContext{5, "", {}, "email"}));
    other.exec("DROP TABLE WritingStyle");
    EXPECT_EQ(build(mail()), (ProcessingContext{3, "", {}, "email"}));
}

} // namespace sonvale::textprocessing
