#include "persistence/Records.h"

#include <gtest/gtest.h>

namespace sonvale::persistence {

TEST(Records, GetANewIdentifierAtCreation) {
    EXPECT_NE(Transcription{}.id, Transcription{}.id);
    EXPECT_NE(Snippet{}.id, base::Uuid{});
}

TEST(Records, StartWithTheValuesOfANewRow) {
    EXPECT_FALSE(Transcription{}.isDismissed);
    EXPECT_EQ(Transcription{}.appName, std::nullopt);
    EXPECT_EQ(Transcription{}.durationSeconds, 0);
    EXPECT_EQ(Snippet{}.usageCount, 0);
    EXPECT_EQ(WritingStyle{}.formality, 3);
    EXPECT_EQ(WritingStyle{}.customInstructions, "");
    EXPECT_EQ(WritingStyle{}.exampleText, "");
}

TEST(Records, NameTheKindsOfWords) {
    struct Row {
        EntryCategory category;
        std::string_view raw;
    };
    const Row rows[] = {{EntryCategory::personal, "personal"},
                        {EntryCategory::name, "name"},
                        {EntryCategory::technical, "technical"},
                        {EntryCategory::abbreviation, "abbreviation"},
                        {EntryCategory::other, "other"}};
    ASSERT_EQ(std::size(rows), std::size(allEntryCategories));
    for (const auto& [category, raw] : rows) {
        EXPECT_EQ(rawValue(category), raw);
        EXPECT_EQ(entryCategory(raw), category);
    }
    EXPECT_EQ(entryCategory("Personal"), std::nullopt);
    EXPECT_EQ(entryCategory(""), std::nullopt);
}

} // namespace sonvale::persistence
