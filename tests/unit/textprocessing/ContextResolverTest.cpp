#include "textprocessing/ContextResolver.h"

#include "persistence/ModelContainer.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/LogCapture.h"
#include "textprocessing/AppCategory.h"

#include <SQLiteCpp/Database.h>
#include <gtest/gtest.h>

namespace sonvale::textprocessing {

namespace {

using persistence::ModelContainer;
using persistence::WritingStyle;

class ContextResolverTest : public testing::Test {
protected:
    void add(std::string category, std::int64_t formality, std::string instructions) {
        container_->mainContext().insert(WritingStyle{.category = std::move(category),
                                                      .formality = formality,
                                                      .customInstructions = std::move(instructions),
                                                      .exampleText = "not for the prompt"});
        container_->mainContext().save();
    }
    Style resolve(std::optional<std::string_view> bundleID) const {
        return ContextResolver(container_->mainContext()).resolve(bundleID);
    }

private:
    std::unique_ptr<ModelContainer> container_ = ModelContainer::openInMemory();
};

/// An application of each category.
constexpr const char* applications[] = {"com.apple.MobileSMS",  "com.linear",       "com.apple.mail",
                                        "com.microsoft.VSCode", "com.apple.Safari", "md.obsidian",
                                        "org.gnome.TextEditor"};

} // namespace

TEST_F(ContextResolverTest, IsNeutralForEveryCategoryOfAnEmptyStore) {
    for (const auto* application : applications)
        EXPECT_EQ(resolve(application), (Style{3, ""})) << application;
    EXPECT_EQ(resolve(std::nullopt), (Style{3, ""}));
}

TEST_F(ContextResolverTest, FindsTheStyleOfTheCategory) {
    std::int64_t number = 0;
    for (const auto category : allAppCategories) {
        ++number;
        add(std::string(rawValue(category)), number, "style " + std::to_string(number));
    }
    number = 0;
    for (const auto* application : applications) {
        ++number;
        EXPECT_EQ(resolve(application), (Style{number, "style " + std::to_string(number)})) << application;
    }
    EXPECT_EQ(resolve(std::nullopt), (Style{7, "style 7"})) << "nothing in front is of the category other";
}

TEST_F(ContextResolverTest, UsesTheFirstOfTwoRecords) {
    add("notes", 2, "of another category");
    add("email", 1, "first");
    add("email", 5, "second");
    EXPECT_EQ(resolve("com.apple.mail"), (Style{1, "first"}));
}

TEST_F(ContextResolverTest, HasNoOtherStyleAsAFallback) {
    add("other", 5, "other");
    EXPECT_EQ(resolve("com.apple.mail"), Style{});
    EXPECT_EQ(resolve("com.microsoft.vscode"), (Style{5, "other"}));
}

TEST_F(ContextResolverTest, IgnoresRecordsOfUnknownCategories) {
    for (const auto* category : {"Email", "email ", "e-mail", "", "personal messaging"})
        add(category, 5, category);
    for (const auto* application : applications)
        EXPECT_EQ(resolve(application), Style{}) << application;
}

TEST_F(ContextResolverTest, ReturnsFormalitiesBeyondTheScale) {
    add("email", -7, "");
    EXPECT_EQ(resolve("com.apple.mail"), (Style{-7, ""}));
}

TEST(ContextResolver, TreatsAnUnreadableStoreAsEmpty) {
    const tests::LogCapture log;
    const tests::TemporaryDirectory directory;
    const auto container = ModelContainer::open(directory.path());
    container->mainContext().insert(WritingStyle{.category = "email", .formality = 5});
    container->mainContext().save();
    SQLite::Database(directory.path() + "/Sonvale/Sonvale.store", SQLite::OPEN_READWRITE)
        .exec("DROP TABLE WritingStyle");
    EXPECT_EQ(ContextResolver(container->mainContext()).resolve("com.apple.mail"), Style{});
}

} // namespace sonvale::textprocessing
