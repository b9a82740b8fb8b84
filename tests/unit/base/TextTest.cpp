#include "base/Text.h"

#include <gtest/gtest.h>
#include <unicode/brkiter.h>
#include <unicode/uchar.h>

#include <map>
#include <memory>
#include <random>
#include <thread>

namespace sonvale::base {

namespace {

using Strings = std::vector<std::string>;

const std::string eAcute = "\u00E9";
const std::string eAcuteInTwo = "e\u0301";
const std::string family = "\U0001F468\u200D\U0001F469\u200D\U0001F467";
const std::string germany = "\U0001F1E9\U0001F1EA";
const std::string france = "\U0001F1EB\U0001F1F7";

std::string randomBytes(std::mt19937& engine) {
    // Pieces that affect each other: combining marks, joiners, flags, line breaks, parts of sequences.
    static const Strings pieces{
        "a",      "Z",      " ",      "\t",         "\r",         "\n",     "\u0301",
        "\u00E9", "\u200D", "\u1100", "\U0001F468", "\U0001F1E9", "\u1161", "\u00DF",
        "\u0130", "\xC3",   "\xF0",   "\xE2\x80",   "\x80",       "\xFF",   "\xED\xA0\x80",
        "\u200B", "\u2028", "\u0345", "\u03A3",     "\uFB03",     "\xF5",   std::string(1, '\0')};
    std::string text;
    for (auto count = engine() % 12; count > 0; --count)
        text += pieces[engine() % pieces.size()];
    return text;
}

/// Returns a few code points of each break class.
std::vector<UChar32> pointsOfEveryBreakClass() {
    std::map<int, std::vector<UChar32>> classes;
    std::mt19937 engine(5);
    for (int round = 0; round < 400000; ++round) {
        const auto point = static_cast<UChar32>(engine() % 0x20000);
        auto& same = classes[u_getIntPropertyValue(point, UCHAR_GRAPHEME_CLUSTER_BREAK)];
        if (!U_IS_SURROGATE(point) && same.size() < 6)
            same.push_back(point);
    }
    std::vector<UChar32> points{'a', ' ', '\r', '\n', 0x200D, 0x1F468, 0x1F3FD, 0x0915, 0x094D, 0x1F1E9};
    for (const auto& [breakClass, same] : classes)
        points.insert(points.end(), same.begin(), same.end());
    return points;
}

} // namespace

TEST(Text, CountsUserPerceivedCharacters) {
    struct Row {
        std::string text;
        std::size_t count;
    };
    const Row rows[] = {
        {"", 0},
        {"abc", 3},
        {eAcute, 1},
        {eAcuteInTwo, 1},
        {family, 1},
        {germany + france, 2},
        {"\U0001F44D\U0001F3FD", 1},
        {"\r\n", 1},
        {"\n\r", 2},
        {"a\r\nb", 3},
        {"\u1112\u1161\u11AB", 1},
        {std::string("a\0b", 3), 3},
        {"\xFF\xFF", 2},
        {"\xE2\x80", 1},
        {"a\xCC", 2},
    };
    for (const auto& [text, count] : rows) {
        EXPECT_EQ(characterCount(text), count) << text;
        EXPECT_EQ(characters(text).size(), count) << text;
    }
}

TEST(Text, HasTheBoundariesOfIcu) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::BreakIterator> library(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    ASSERT_TRUE(U_SUCCESS(status));
    const auto points = pointsOfEveryBreakClass();
    ASSERT_GT(points.size(), 40U);
    std::mt19937 engine(11);
    for (int round = 0; round < 20000; ++round) {
        icu::UnicodeString wide;
        for (auto count = engine() % 8; count > 0; --count)
            wide.append(points[engine() % points.size()]);
        library->setText(wide);
        Strings wanted;
        for (auto begin = library->first(), end = library->next(); end != icu::BreakIterator::DONE;
             begin = end, end = library->next())
            wide.tempSubStringBetween(begin, end).toUTF8String(wanted.emplace_back());
        std::string text;
        wide.toUTF8String(text);
        ASSERT_EQ(characters(text), wanted);
        ASSERT_EQ(characterCount(text), wanted.size());
    }
}

TEST(Text, CutsAtCharacterBoundariesOnly) {
    const auto text = "x" + family + eAcuteInTwo + "y";
    EXPECT_EQ(firstCharacters(text, 0), "");
    EXPECT_EQ(firstCharacters(text, 2), "x" + family);
    EXPECT_EQ(firstCharacters(text, 3), "x" + family + eAcuteInTwo);
    EXPECT_EQ(firstCharacters(text, 99), text);
    EXPECT_EQ(lastCharacters(text, 0), "");
    EXPECT_EQ(lastCharacters(text, 2), eAcuteInTwo + "y");
    EXPECT_EQ(lastCharacters(text, 99), text);
    EXPECT_EQ(withoutFirstCharacters(text, 2), eAcuteInTwo + "y");
    EXPECT_EQ(withoutFirstCharacters(text, 99), "");
    EXPECT_EQ(withoutLastCharacters(text, 2), "x" + family);
    EXPECT_EQ(withoutLastCharacters(text, 99), "");
    EXPECT_EQ(firstCharacters("plain", 3), "pla");
    EXPECT_EQ(lastCharacters("plain", 3), "ain");
}

TEST(Text, TrimsBlanksAndLineBreaksSeparately) {
    const std::string text = "\n \t\u00A0a b\u3000\u200B\r\n";
    EXPECT_EQ(trimmed(text), "a b");
    EXPECT_EQ(trimmed(text, TrimmingSet::blanks), text);
    EXPECT_EQ(trimmed(" \t\n a \n\t "), "a");
    EXPECT_EQ(trimmed(" \t\na\n\t ", TrimmingSet::blanks), "\na\n");
    EXPECT_EQ(trimmed("\n\r a \u2028\u2029\u0085\v\f", TrimmingSet::lineBreaks), " a ");
    EXPECT_EQ(trimmed(""), "");
    EXPECT_EQ(trimmed(" \n\t "), "");
    EXPECT_EQ(trimmed("\xFF a \x80"), "\xFF a \x80");
    EXPECT_EQ(trimmed(" \xE2\x80 "), "\xE2\x80");
    EXPECT_EQ(trimmed("\uFEFF a"), "\uFEFF a");
}

TEST(Text, DetectsWhiteSpaceAtTheStart) {
    for (const char* text : {" a", "\ta", "\na", "\r\n", "\u2028", "\u00A0", "\u3000"})
        EXPECT_TRUE(beginsWithWhiteSpace(text)) << text;
    for (const char* text : {"", "a ", "\u200B", "\xFF"})
        EXPECT_FALSE(beginsWithWhiteSpace(text)) << text;
}

TEST(Text, SplitsAtBlanksOnly) {
    EXPECT_EQ(piecesBetweenBlanks("  one  two\tthree\nfour "), (Strings{"one", "two\tthree\nfour"}));
    EXPECT_EQ(piecesBetweenBlanks("one\u00A0two"), (Strings{"one\u00A0two"}));
    EXPECT_EQ(piecesBetweenBlanks("\u00FCber all"), (Strings{"\u00FCber", "all"}));
    EXPECT_EQ(piecesBetweenBlanks(""), Strings{});
    EXPECT_EQ(piecesBetweenBlanks("   "), Strings{});
}

TEST(Text, SplitsAtWhiteSpaceOfEveryKind) {
    EXPECT_EQ(piecesBetweenWhiteSpace(" one\r\ntwo\tthree\n\nfour\u00A0five\u2028"),
              (Strings{"one", "two", "three", "four", "five"}));
    EXPECT_EQ(piecesBetweenWhiteSpace(" \n "), Strings{});
}

TEST(Text, ComparesByCanonicalEquivalence) {
    EXPECT_TRUE(isEqual(eAcute, eAcuteInTwo));
    EXPECT_TRUE(isEqual("\u212B", "\u00C5"));
    EXPECT_TRUE(isEqual("q\u0307\u0323", "q\u0323\u0307"));
    EXPECT_FALSE(isEqual("\uFB01", "fi"));
    EXPECT_FALSE(isEqual("e", eAcute));
    EXPECT_FALSE(isEqual("a", "A"));
    EXPECT_FALSE(isEqual("a", "ab"));
    EXPECT_TRUE(isEqual("\xFF", "\xFF"));
    EXPECT_TRUE(isEqual("\xFF", "\uFFFD"));
}

TEST(Text, MatchesPrefixesAndSuffixesOfWholeCharacters) {
    EXPECT_TRUE(hasPrefix("cafe\u0301 bar", "caf\u00E9"));
    EXPECT_FALSE(hasPrefix("cafe\u0301 bar", "cafe"));
    EXPECT_FALSE(hasPrefix(family, "\U0001F468"));
    EXPECT_FALSE(hasPrefix("\r\nx", "\r"));
    EXPECT_TRUE(hasPrefix("\r\nx", "\r\n"));
    EXPECT_TRUE(hasPrefix("abc", ""));
    EXPECT_TRUE(hasPrefix("", ""));
    EXPECT_FALSE(hasPrefix("", "a"));
    EXPECT_TRUE(hasPrefix("abc", "abc"));
    EXPECT_FALSE(hasPrefix("abc", "abcd"));
    EXPECT_FALSE(hasPrefix("abc", "B"));

    EXPECT_TRUE(hasSuffix("un caf\u00E9", "cafe\u0301"));
    EXPECT_FALSE(hasSuffix("un cafe\u0301", "\u0301"));
    EXPECT_FALSE(hasSuffix("x" + germany, "\U0001F1EA"));
    EXPECT_TRUE(hasSuffix(germany + france, france));
    EXPECT_FALSE(hasSuffix(germany + france, "\U0001F1EA" + france));
    EXPECT_FALSE(hasSuffix("x\r\n", "\n"));
    EXPECT_TRUE(hasSuffix("abc", ""));
    EXPECT_TRUE(hasSuffix("abc...", "..."));
    EXPECT_TRUE(hasSuffix("abc\u2026", "\u2026"));
    EXPECT_FALSE(hasSuffix("abc", "zabc"));
}

TEST(Text, TestsManySuffixesOfOneText) {
    const SuffixTest ending("un Cafe\u0301");
    EXPECT_TRUE(ending.hasSuffix("Caf\u00E9"));
    EXPECT_TRUE(ending.hasSuffix("Cafe\u0301"));
    EXPECT_TRUE(ending.hasSuffix("\u00E9"));
    EXPECT_TRUE(ending.hasSuffix("un Caf\u00E9"));
    EXPECT_TRUE(ending.hasSuffix(""));
    EXPECT_FALSE(ending.hasSuffix("caf\u00E9"));
    EXPECT_FALSE(ending.hasSuffix("Cafe"));
    EXPECT_FALSE(ending.hasSuffix("\u0301"));
    EXPECT_FALSE(ending.hasSuffix("x un Caf\u00E9"));
    EXPECT_TRUE(SuffixTest("").hasSuffix(""));
    EXPECT_FALSE(SuffixTest("").hasSuffix("a"));
    EXPECT_TRUE(SuffixTest("a\xFF").hasSuffix("\uFFFD"));
}

TEST(Text, HasOneCanonicalFormForTextsThatAreEqual) {
    EXPECT_EQ(canonicalForm("plain"), "plain");
    EXPECT_EQ(canonicalForm(eAcuteInTwo), canonicalForm(eAcute));
    EXPECT_EQ(canonicalForm("\u212B"), canonicalForm("A\u030A"));
    EXPECT_EQ(canonicalForm("q\u0307\u0323"), canonicalForm("q\u0323\u0307"));
    EXPECT_EQ(canonicalForm("\xFF"), "\uFFFD");
    EXPECT_NE(canonicalForm("\uFB01"), canonicalForm("fi"));
    EXPECT_NE(canonicalForm("a"), canonicalForm("A"));
    EXPECT_EQ(canonicalForm(""), "");
}

TEST(Text, LowersCaseInAnyContextAndLocale) {
    EXPECT_EQ(lowercased("HELLO World"), "hello world");
    EXPECT_EQ(lowercased("\u00C4\u00D6\u00DC\u00DF"), "\u00E4\u00F6\u00FC\u00DF");
    EXPECT_EQ(lowercased("\u039F\u0394\u039F\u03A3"), "\u03BF\u03B4\u03BF\u03C3");
    EXPECT_EQ(lowercased("I"), "i");
    EXPECT_EQ(lowercased("\u0130"), "i\u0307");
    EXPECT_EQ(lowercased("\xFF"
                         "A"),
              "\uFFFDa");
}

TEST(Text, ComparesInAnyCase) {
    EXPECT_TRUE(isEqualIgnoringCase("Stra\u00DFe", "STRASSE"));
    EXPECT_TRUE(isEqualIgnoringCase("\u03C3\u03C2", "\u03A3\u03A3"));
    EXPECT_TRUE(isEqualIgnoringCase("CAFE\u0301", "caf\u00E9"));
    EXPECT_FALSE(isEqualIgnoringCase("cafe", "caf\u00E9"));
    EXPECT_TRUE(compareIgnoringCase("apple", "Banana") < 0);
    EXPECT_TRUE(compareIgnoringCase("Banana", "apple") > 0);
    EXPECT_TRUE(compareIgnoringCase("APPLE", "apple") == 0);
    EXPECT_EQ(caseFolded("\u0390"), caseFolded("\u1FD3"));
}

TEST(Text, FindsPrefixesInAnyCase) {
    EXPECT_EQ(findPrefixIgnoringCase("HERE is", "here"), (TextRange{0, 4}));
    EXPECT_EQ(findPrefixIgnoringCase("STRASSE 1", "stra\u00DFe"), (TextRange{0, 7}));
    EXPECT_EQ(findPrefixIgnoringCase("Stra\u00DFe 1", "STRASSE"), (TextRange{0, 7}));
    EXPECT_FALSE(findPrefixIgnoringCase("Stra\u00DFe", "STRAS"));
    EXPECT_FALSE(findPrefixIgnoringCase("Suree\u0301", "suree"));
    EXPECT_FALSE(findPrefixIgnoringCase("", "a"));
    EXPECT_EQ(findPrefixIgnoringCase("abc", ""), (TextRange{0, 0}));
    EXPECT_TRUE(hasPrefixIgnoringCase("ABC", "ab"));
    EXPECT_FALSE(findPrefixIgnoringCase("x here", "here"));
    EXPECT_EQ(findPrefixIgnoringCase("\u212Aelvin", "kelvin"), (TextRange{0, 8}));
    EXPECT_EQ(findPrefixIgnoringCase("kelvin", "\u212A"), (TextRange{0, 1}));
    EXPECT_EQ(findPrefixIgnoringCase("E\u0301t\u00E9", "\u00E9T"), (TextRange{0, 4}));
    EXPECT_FALSE(findPrefixIgnoringCase("e\u0301t\u00E9", "e"));
    EXPECT_EQ(findPrefixIgnoringCase("HERE" + std::string(100000, 'x') + "\u00E9", "here"),
              (TextRange{0, 4}));
    EXPECT_FALSE(findPrefixIgnoringCase("note:\u0301" + std::string(1000, 'x'), "note:"));
}

TEST(Text, FindsWholeCharactersWithTheirOffset) {
    EXPECT_EQ(find("abcabc", "ca"), (TextRange{2, 4}));
    EXPECT_EQ(find("x cafe\u0301 y", "caf\u00E9"), (TextRange{2, 8}));
    EXPECT_FALSE(find("cafe\u0301", "cafe"));
    EXPECT_FALSE(find("abc", ""));
    EXPECT_FALSE(find("abc", "Bc"));
    EXPECT_FALSE(find("", "a"));
    EXPECT_EQ(findIgnoringCase("x \u00C9B", "\u00E9b"), (TextRange{2, 5}));
    EXPECT_EQ(findIgnoringCase("Text\nNOTE: x", "\nNote:"), (TextRange{4, 10}));
    EXPECT_EQ(findIgnoringCase("\u00C9\r\nnote: x", "\nNote:"), (TextRange{3, 9}));
    EXPECT_EQ(findIgnoringCase("a\r\nnote: x", "\nNote:"), (TextRange{2, 8}));
    EXPECT_EQ(find("\xFF-\xFF+", "+"), (TextRange{3, 4}));
    EXPECT_EQ(findIgnoringCase("\xFF\xFFZ", "z"), (TextRange{2, 3}));
}

TEST(Text, ContainsTheEmptyText) {
    EXPECT_TRUE(contains("abc", ""));
    EXPECT_TRUE(contains("", ""));
    EXPECT_TRUE(contains("abc", "bc"));
    EXPECT_FALSE(contains("abc", "BC"));
    EXPECT_TRUE(containsIgnoringCase("My Address", "address"));
    EXPECT_TRUE(containsIgnoringCase("\u00DCBER", "\u00FCb"));
    EXPECT_FALSE(containsIgnoringCase("bye", "zzz"));
    EXPECT_TRUE(containsIgnoringCase("bye", ""));
}

TEST(Text, ReplacesEveryOccurrence) {
    EXPECT_EQ(replacing("a\nb\n\nc", "\n", " "), "a b  c");
    EXPECT_EQ(replacing("a\r\nb", "\n", " "), "a\r b");
    EXPECT_EQ(replacing("\u00E9\r\nb", "\n", " "), "\u00E9\r b");
    EXPECT_EQ(replacing("aaa", "aa", "b"), "ba");
    EXPECT_EQ(replacing("abc", "", "x"), "abc");
    EXPECT_EQ(replacing("abc", "b", ""), "ac");
    EXPECT_EQ(replacing("e\u0301e", "e", "x"), "e\u0301x");
    EXPECT_EQ(replacing("\xFFz", "z", "y"), "\xFFy");
}

TEST(Text, DetectsAndRepairsInvalidUtf8) {
    struct Row {
        std::string bytes;
        std::string repaired;
    };
    const std::string bad = "\uFFFD";
    const Row rows[] = {
        {"\x80", bad},
        {"a\xFFz", "a" + bad + "z"},
        {"\xC3", bad},
        {"\xC0\xAF", bad + bad},
        {"\xE2\x80", bad},
        {"\xE2\x80z", bad + "z"},
        {"\xED\xA0\x80", bad + bad + bad},
        {"\xF0\x9F\x98", bad},
        {"\xF4\x90\x80\x80", bad + bad + bad + bad},
        {"\xF5\x80", bad + bad},
    };
    for (const auto& [bytes, repaired] : rows) {
        EXPECT_FALSE(isValidUtf8(bytes));
        EXPECT_EQ(repairedUtf8(bytes), repaired);
        EXPECT_TRUE(isValidUtf8(repaired));
    }
    for (const std::string text : {"", "abc", "\u00E9", "\U0010FFFF", "\uFFFD"}) {
        EXPECT_TRUE(isValidUtf8(text));
        EXPECT_EQ(repairedUtf8(text), text);
    }
    EXPECT_TRUE(isValidUtf8(std::string(3, '\0')));
}

TEST(Text, KeepsItsRulesForAnyBytes) {
    std::mt19937 engine(3);
    for (int round = 0; round < 20000; ++round) {
        const auto text = randomBytes(engine);
        const auto other = randomBytes(engine);
        SCOPED_TRACE(testing::PrintToString(text) + " and " + testing::PrintToString(other));

        ASSERT_EQ(characterCount(text), characterCount(repairedUtf8(text)));
        std::string joined;
        for (const auto& character : characters(text))
            joined += character;
        ASSERT_EQ(joined, text);
        const auto count = engine() % 6;
        ASSERT_EQ(firstCharacters(text, count) + withoutFirstCharacters(text, count), text);
        ASSERT_EQ(withoutLastCharacters(text, count) + lastCharacters(text, count), text);
        ASSERT_TRUE(isEqual(text, repairedUtf8(text)));
        ASSERT_EQ(canonicalForm(text) == canonicalForm(other), isEqual(text, other));
        ASSERT_EQ(SuffixTest(text).hasSuffix(other), hasSuffix(text, other));
        if (const auto range = findPrefixIgnoringCase(text + other, text)) {
            ASSERT_EQ(range->begin, 0U);
            ASSERT_TRUE(isEqualIgnoringCase((text + other).substr(0, range->end), text));
        }
        ASSERT_TRUE(hasPrefixIgnoringCase(text, text));
        ASSERT_TRUE(hasPrefix(text, text) && hasSuffix(text, text));
        ASSERT_TRUE(isEqualIgnoringCase(text, repairedUtf8(text)));
        ASSERT_TRUE(isValidUtf8(lowercased(text)) && isValidUtf8(caseFolded(text)));
        ASSERT_TRUE(contains(text, text) && containsIgnoringCase(text, text));
        if (const auto range = find(text, other)) {
            ASSERT_TRUE(isEqual(text.substr(range->begin, range->end - range->begin), other));
        }
        if (const auto range = findIgnoringCase(text, other)) {
            ASSERT_TRUE(isEqualIgnoringCase(text.substr(range->begin, range->end - range->begin), other));
        }
        ASSERT_EQ(trimmed(trimmed(text)), trimmed(text));
        replacing(text, other, "x");
        piecesBetweenWhiteSpace(text);
        piecesBetweenBlanks(text);
    }
}

TEST(Text, WorksOnSeveralThreads) {
    std::vector<std::size_t> counts(4);
    {
        std::vector<std::jthread> threads;
        for (auto& count : counts) {
            threads.emplace_back([&count] {
                for (int i = 0; i < 200; ++i)
                    count += characterCount(family + eAcuteInTwo + caseFolded("\u00DF"));
            });
        }
    }
    EXPECT_EQ(counts, std::vector<std::size_t>(4, 800));
}

} // namespace sonvale::base
