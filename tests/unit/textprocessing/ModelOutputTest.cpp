#include "textprocessing/ModelOutput.h"

#include "base/Text.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace sonvale::textprocessing {

namespace {

struct Row {
    std::string output;
    std::string rawText;
    std::string cleaned;
};

void expectRows(const std::vector<Row>& rows) {
    for (const auto& row : rows)
        EXPECT_EQ(cleanOutput(row.output, row.rawText), row.cleaned) << row.output << " | " << row.rawText;
}

const std::vector<std::string> prefixes{"Here is the cleaned text:",
                                        "Here's the cleaned text:",
                                        "Here is the corrected text:",
                                        "Here's the corrected text:",
                                        "Here is the cleaned version:",
                                        "Here's the cleaned version:",
                                        "Here is the corrected version:",
                                        "Here's the corrected version:",
                                        "Sure!",
                                        "Sure,",
                                        "Certainly!",
                                        "Certainly,",
                                        "Of course!",
                                        "Of course,"};

const std::vector<std::string> markers{"Note:",   "NOTE:",     "(Note:",        "[Note:",      "I corrected",
                                       "I fixed", "I changed", "Changes made:", "Corrections:"};

/// A raw text that causes no rejection as a reply or for growth.
const std::string shortRaw = "ab";

std::string strip(const std::string& output) {
    return cleanOutput(output, shortRaw);
}

std::string upper(std::string text) {
    for (char& byte : text) {
        if (byte >= 'a' && byte <= 'z')
            byte = static_cast<char>(byte - ('a' - 'A'));
    }
    return text;
}

/// Makes texts of pieces that the rules look for, and of pieces that disturb the rules.
class Generator {
public:
    explicit Generator(unsigned seed)
        : engine_(seed) {
        pieces_ = {"a",
                   "word",
                   "I",
                   "i",
                   " ",
                   " ",
                   "  ",
                   "\n",
                   "\n",
                   "\r\n",
                   "\r",
                   "\t",
                   "\"",
                   "\"",
                   "\"\"",
                   ".",
                   "\u00E9",
                   "\u0301",
                   "\u0130",
                   "\u200B",
                   "\u2028",
                   "\U0001F468",
                   "\u200D",
                   "\U0001F1E9",
                   "\u212A",
                   "\xFF",
                   "\xE2\x80",
                   "\xC3",
                   std::string(1, '\0')};
        for (const auto& prefix : prefixes) {
            pieces_.push_back(prefix);
            pieces_.push_back(upper(prefix));
        }
        for (const auto& marker : markers) {
            pieces_.push_back("\n" + marker);
            pieces_.push_back(marker);
        }
    }

    std::string text(std::size_t maxPieces) {
        std::string text;
        for (auto count = engine_() % (maxPieces + 1); count > 0; --count)
            text += pieces_[engine_() % pieces_.size()];
        return text;
    }

    std::string bytes(std::size_t most) {
        std::string text(engine_() % (most + 1), '\0');
        for (char& byte : text)
            byte = static_cast<char>(engine_());
        return text;
    }

private:
    std::mt19937 engine_;
    std::vector<std::string> pieces_;
};

/// Applies the rule for commentary literally: each marker in turn.
std::string cutByEachMarker(std::string text) {
    for (const auto& marker : markers) {
        if (const auto found = base::findIgnoringCase(text, "\n" + marker))
            text = base::trimmed(text.substr(0, found->begin));
    }
    return text;
}

} // namespace

TEST(CleanOutput, KeepsACleanedText) {
    expectRows({
        {"I went home.", "um i went home", "I went home."},
        {" \n I went home.\t\n", "i went home", "I went home."},
        {"First.\n\nSecond.", "first second", "First.\n\nSecond."},
        {"\u041F\u0440\u0438\u0432\u0435\u0442, \u043C\u0438\u0440.",
         "\u043F\u0440\u0438\u0432\u0435\u0442 \u043C\u0438\u0440",
         "\u041F\u0440\u0438\u0432\u0435\u0442, \u043C\u0438\u0440."},
    });
}

TEST(CleanOutput, RemovesEachPrefix) {
    for (const auto& prefix : prefixes) {
        EXPECT_EQ(strip(prefix + " The text."), "The text.") << prefix;
        EXPECT_EQ(strip(prefix + "\nThe text."), "The text.") << prefix;
        EXPECT_EQ(strip(" \n" + prefix + "\u00A0\n The text.\n"), "The text.") << prefix;
        EXPECT_EQ(strip(upper(prefix) + " The text."), "The text.") << prefix;
        EXPECT_EQ(strip("x " + prefix + " The text."), "x " + prefix + " The text.") << prefix;
    }
}

TEST(CleanOutput, RequiresWhiteSpaceAfterAPrefixWithoutAColon) {
    for (const auto& prefix : prefixes) {
        const auto output = prefix + "word";
        EXPECT_EQ(strip(output), prefix.ends_with(':') ? "word" : output);
    }
    expectRows({
        {"Sure!\"yes\"", shortRaw, "Sure!\"yes\""},
        {"Sure,\r\nyes", shortRaw, "yes"},
        {"Sure,\u2028yes", shortRaw, "yes"},
        {"Sure,\u3000yes", shortRaw, "yes"},
        // A zero-width space is trimmed, but is not white space that ends a word.
        {"Sure,\u200Byes", shortRaw, "Sure,\u200Byes"},
        {"Sure\u00A0, yes", shortRaw, "Sure\u00A0, yes"},
        // An accent changes the last character of the prefix.
        {"Sure,\u0301 yes", shortRaw, "Sure,\u0301 yes"},
    });
}

TEST(CleanOutput, IgnoresCaseByTheRulesOfUnicode) {
    EXPECT_EQ(strip("\u017Fure, yes"), "yes");
    EXPECT_EQ(strip("text\nCorrection\u017F: none"), "text");
    EXPECT_EQ(strip("text\n\u0130 corrected"), "text\n\u0130 corrected");
}

TEST(CleanOutput, RemovesOnlyOnePrefix) {
    EXPECT_EQ(strip("Sure! Here is the cleaned text: Hello."), "Here is the cleaned text: Hello.");
    EXPECT_EQ(strip("Sure! Sure! Hello."), "Sure! Hello.");
}

TEST(CleanOutput, KeepsAPrefixWithoutFurtherText) {
    for (const auto& prefix : prefixes) {
        EXPECT_EQ(strip(prefix), prefix);
        EXPECT_EQ(strip(prefix + " \n"), prefix);
        EXPECT_EQ(cleanOutput(prefix, "tell me the time"), "tell me the time") << "the words decide";
    }
    EXPECT_EQ(cleanOutput("Here is the cleaned text:", "here is the cleaned text"),
              "Here is the cleaned text:");
}

TEST(CleanOutput, RemovesSurroundingQuotes) {
    expectRows({
        {"\"I went home.\"", shortRaw, "I went home."},
        {"\" I went home. \"", shortRaw, "I went home."},
        {"Sure! \"I went home.\"", shortRaw, "I went home."},
        {"\"\"I went\" home\"", shortRaw, "\"I went\" home"},
        {"\"abc", shortRaw, "\"abc"},
        {"abc\"", shortRaw, "abc\""},
        {"\u201CI went home.\u201D", shortRaw, "\u201CI went home.\u201D"},
        {"'I went home.'", shortRaw, "'I went home.'"},
        // Two quotes are not more than two characters.
        {"\"\"", shortRaw, "\"\""},
        // The remaining text is too short.
        {"\"a\"", shortRaw, shortRaw},
        {"\" \"", shortRaw, shortRaw},
        {"\"\"\"", shortRaw, shortRaw},
        {"\"\u00E9\u00E9\"", shortRaw, "\u00E9\u00E9"},
        // A quote with an accent is another character.
        {"\"abc\"\u0301", shortRaw, "\"abc\"\u0301"},
        {"\"\u0301abc\"", shortRaw, "\"\u0301abc\""},
    });
    EXPECT_EQ(cleanOutput("\"\"", "say two quotes please"), "say two quotes please");
}

TEST(CleanOutput, CutsCommentaryAfterTheText) {
    for (const auto& marker : markers) {
        EXPECT_EQ(strip("The text.\n" + marker + " more"), "The text.") << marker;
        EXPECT_EQ(strip("The text. \n\n" + upper(marker)), "The text.") << marker;
        EXPECT_EQ(strip("The text.\r\n" + marker + " more\nand more"), "The text.") << marker;
        EXPECT_EQ(strip("The \u00E9.\r\n" + marker), "The \u00E9.") << marker;
        EXPECT_EQ(strip("The text. " + marker + " more"), "The text. " + marker + " more") << marker;
        EXPECT_EQ(strip("The text.\n " + marker), "The text.\n " + marker) << marker;
        EXPECT_EQ(strip(marker + " more"), marker + " more") << marker;
        EXPECT_EQ(strip("The text.\rthen " + marker), "The text.\rthen " + marker) << marker;
    }
    expectRows({
        {"First.\n\nSecond.\nNote: x\nThird.", shortRaw, "First.\n\nSecond."},
        {"A text.\nCorrections: x\nB text.\nNote: y", shortRaw, "A text."},
        {"A text.\nNote: y\nB text.\nCorrections: x", shortRaw, "A text."},
        {"A text.\nNotes: y", shortRaw, "A text.\nNotes: y"},
        {"A text.\nI correctedly", shortRaw, "A text."},
        {"A text.\nNote:\u0301 y", shortRaw, "A text.\nNote:\u0301 y"},
        // Quotes are removed first, so quotes around the text only stay.
        {"\"A text.\"\nNote: y", shortRaw, "\"A text.\""},
        {"\"A text.\nNote: y\"", shortRaw, "A text."},
    });
}

TEST(CleanOutput, KeepsTheRawTextIfTooFewOfItsWordsRemain) {
    expectRows({
        // 1 of 4, 2 of 4, 1 of 3, 0 of 3
        {"it is the sun", "what is a star", "what is a star"},
        {"what is the sun", "what is a star", "what is the sun"},
        {"one", "one two three", "one"},
        {"four", "one two three", "one two three"},
        // 3 of 10 are enough, 2 of 7 are not
        {"a b c", "a b c d e f g h i j", "a b c"},
        {"a b", "a b c d e f g", "a b c d e f g"},
        // Case is ignored, punctuation is part of a word.
        {"ONE Two", "one two three", "ONE Two"},
        {"one, two, three.", "one two three", "one two three"},
        // Words are counted once.
        {"ha", "ha ha ha ha no", "ha"},
        {"x y z", "ha ha ha ha no", "x y z"},
        // Texts of two words are not compared.
        {"Paris is lovely", "capital? France?", "Paris is lovely"},
        // Only blanks separate words.
        {"one\ttwo\nthree", "one two three", "one two three"},
        {"anything", "one\ttwo\nthree", "anything"},
        {"one\u00A0two three", "one two three", "one\u00A0two three"},
        // The same word in two spellings, and in two cases.
        {"cafe\u0301", "caf\u00E9 one two", "cafe\u0301"},
        {"\u00C4RGER", "\u00E4rger \u00FCber alles", "\u00C4RGER"},
        {"gruss", "gru\u00DF one two", "gru\u00DF one two"},
    });
}

TEST(CleanOutput, KeepsTheRawTextIfTheAnswerHasGrownTooMuch) {
    const std::string ten(10, 'r');
    const std::string eleven(11, 'r');
    expectRows({
        {std::string(33, 'a'), eleven, std::string(33, 'a')},
        {std::string(34, 'a'), eleven, eleven},
        {std::string(100, 'a'), ten, std::string(100, 'a')},
        {std::string(5000, 'a'), ten, std::string(5000, 'a')},
        // The answer is measured after all removals.
        {"Sure! " + std::string(33, 'a') + "\nNote: " + std::string(100, 'b'), eleven, std::string(33, 'a')},
    });
}

TEST(CleanOutput, MeasuresInUserPerceivedCharacters) {
    std::string eleven;
    for (int i = 0; i < 11; ++i)
        eleven += "e\u0301";
    std::string thirtyThree;
    for (int i = 0; i < 33; ++i)
        thirtyThree += "\U0001F468\u200D\U0001F469";
    EXPECT_EQ(cleanOutput(thirtyThree, eleven), thirtyThree);
    EXPECT_EQ(cleanOutput(thirtyThree + "!", eleven), eleven);
    EXPECT_EQ(cleanOutput("\U0001F468\u200D\U0001F469", shortRaw), shortRaw);
}

TEST(CleanOutput, KeepsTheRawTextIfNothingRemains) {
    expectRows({
        {"", "a", "a"},
        {" \n\t", "a", "a"},
        {"b", "a", "a"},
        {"a", "a", "a"},
        {"a", "A.", "A."},
        {"", "", ""},
        {"", " ", " "},
        {"bc", "", "bc"},
        {"\"\n\"", "a", "a"},
    });
}

TEST(CleanOutput, ReturnsTwoOrMoreCharactersForATextOfTwo) {
    Generator generator(17);
    for (int round = 0; round < 10000; ++round) {
        const auto output = round % 4 == 0 ? generator.bytes(40) : generator.text(8);
        const auto rawText = round % 3 == 0 ? generator.bytes(20) : generator.text(6);
        SCOPED_TRACE(testing::PrintToString(output) + " for " + testing::PrintToString(rawText));
        const auto cleaned = cleanOutput(output, rawText);
        if (base::characterCount(rawText) >= 2) {
            ASSERT_GE(base::characterCount(cleaned), 2U);
        }
        // The result is the raw text or a piece of the answer.
        ASSERT_TRUE(cleaned == rawText || output.find(cleaned) != std::string::npos);
        ASSERT_TRUE(cleaned == rawText || cleaned == base::trimmed(cleaned));
        ASSERT_EQ(cleanOutput(output, rawText), cleaned);
    }
}

TEST(CleanOutput, CutsAtTheSamePlaceAsASearchForEachMarker) {
    Generator generator(23);
    for (int round = 0; round < 10000; ++round) {
        const auto output = "word " + base::trimmed("x" + generator.text(10) + "x");
        SCOPED_TRACE(testing::PrintToString(output));
        ASSERT_EQ(strip(output), cutByEachMarker(output));
    }
}

} // namespace sonvale::textprocessing
