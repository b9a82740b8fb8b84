#include "core/flows/TranscriptText.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace sonvale::core {

TEST(TranscriptText, RemovesTheDotsAtTheEnd) {
    const std::vector<std::pair<std::string, std::string>> rows{
        {"", ""},
        {"Hello", "Hello"},
        {"Hello.", "Hello."},
        {"Hello..", "Hello.."},
        {"Hello...", "Hello"},
        {"Hello....", "Hello."},
        {"Hello......", "Hello"},
        {"Hello…", "Hello"},
        {"Hello………", "Hello"},
        {"Hello...…", "Hello"},
        {"Hello…...", "Hello…"},
        {"Hello…... …", "Hello…..."},
        {"...", ""},
        {"…", ""},
        {"…Hello", "…Hello"},
        {"...Hello... there", "...Hello... there"},
        {"Hello ...", "Hello"},
        {"Hello... ", "Hello..."},
        {" \t Hello \t ", "Hello"},
        {"\nHello\n", "\nHello\n"},
        {"Hello...\n", "Hello...\n"},
        {"Hello\n...", "Hello\n"},
        {"\u00a0Hello\u3000", "Hello"},
        {"été…", "été"},
    };
    for (const auto& [text, stripped] : rows)
        EXPECT_EQ(stripTrailingEllipsis(text), stripped) << text;
}

TEST(TranscriptText, KeepsDotsWithACombiningMark) {
    EXPECT_EQ(stripTrailingEllipsis("Hello…\u0301"), "Hello…\u0301");
    EXPECT_EQ(stripTrailingEllipsis("Hello...\u0301"), "Hello...\u0301");
}

TEST(TranscriptText, AcceptsBytesThatAreNoText) {
    EXPECT_EQ(wordCount("\xff\xfe a"), 2);
    EXPECT_EQ(stripTrailingEllipsis(std::string(100000, '.')), ".");
}

TEST(TranscriptText, CountsThePiecesBetweenBlanks) {
    const std::vector<std::pair<std::string, int>> rows{
        {"", 0},
        {" ", 0},
        {"   ", 0},
        {"one", 1},
        {" one ", 1},
        {"one two", 2},
        {"one  two", 2},
        {"one\ttwo\nthree", 1},
        {"one\u00a0two", 1},
        {"one \n two", 3},
        {"– 日本語 …", 3},
    };
    for (const auto& [text, count] : rows)
        EXPECT_EQ(wordCount(text), count) << text;
}

} // namespace sonvale::core
