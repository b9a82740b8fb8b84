#include "tests/support/RuleBasedChat.h"

#include "base/Text.h"
#include "tests/support/ServiceAnswers.h"

#include <fmt/ranges.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <array>
#include <functional>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace sonvale::tests {

namespace {

using base::Json;
using Words = std::vector<std::string>;
using WordSet = std::set<std::string, std::less<>>;

constexpr std::string_view punctuation = ",.;:!?\"'()[]-";

const WordSet fillers{"um", "umm", "uhm", "uh", "uhh", "er", "erm", "hmm", "mm", "mhm"};
const std::set<std::pair<std::string, std::string>> fillerPhrases{{"you", "know"}, {"i", "mean"}};
/// After these words the phrases have a meaning: "do you know", "what I mean".
const WordSet wordsBeforeMeaning{"do",    "does",  "did",  "don't", "didn't", "if",     "as",   "what",
                                 "how",   "when",  "that", "will",  "should", "would",  "must", "can",
                                 "could", "until", "let",  "once",  "than",   "because"};
/// These words are repeated in correct sentences and in dictated numbers.
const WordSet wordsThatRepeat{"that",  "had",   "is",   "very", "really", "so",      "no",      "yes",
                              "bye",   "zero",  "one",  "two",  "three",  "four",    "five",    "six",
                              "seven", "eight", "nine", "ten",  "twenty", "hundred", "thousand"};

/// Returns the word without punctuation, in lower case.
std::string bare(const std::string& word) {
    const auto first = word.find_first_not_of(punctuation);
    if (first == std::string::npos)
        return {};
    return base::lowercased(
        std::string_view(word).substr(first, word.find_last_not_of(punctuation) - first + 1));
}

bool endsSentence(std::string_view word) {
    while (!word.empty() && std::string_view("\"')]").find(word.back()) != std::string_view::npos)
        word.remove_suffix(1);
    return word.ends_with('.') || word.ends_with('!') || word.ends_with('?') || word.ends_with("…");
}

/// A code point of the text and its end.
struct CodePoint {
    UChar32 value = 0;
    int begin = 0;
    int end = 0;
};

/// Returns the first code point that is not punctuation, if it is a letter.
std::optional<CodePoint> firstLetter(const std::string& word) {
    const auto begin = word.find_first_not_of(punctuation);
    if (begin == std::string::npos)
        return std::nullopt;
    CodePoint found{.begin = static_cast<int>(begin), .end = static_cast<int>(begin)};
    U8_NEXT(word, found.end, static_cast<int>(word.size()), found.value);
    return u_isalpha(found.value) ? std::optional(found) : std::nullopt;
}

bool hasCapital(const std::string& word) {
    return base::lowercased(word) != word;
}

/// Makes the first letter a capital. A name like "iPhone" has its capital elsewhere.
std::string capitalized(const std::string& word) {
    const auto letter = firstLetter(word);
    if (!letter || hasCapital(word))
        return word;
    std::array<char, U8_MAX_LENGTH> capital{};
    std::size_t length = 0;
    U8_APPEND_UNSAFE(capital, length, u_totitle(letter->value));
    return word.substr(0, static_cast<std::size_t>(letter->begin)) + std::string(capital.data(), length) +
           word.substr(static_cast<std::size_t>(letter->end));
}

std::size_t fillerAt(const Words& words, std::size_t place) {
    const auto word = bare(words[place]);
    if (fillers.contains(word))
        return 1;
    if (place + 1 == words.size() || punctuation.find(words[place].back()) != std::string_view::npos)
        return 0;
    if (!fillerPhrases.contains({word, bare(words[place + 1])}))
        return 0;
    return place > 0 && wordsBeforeMeaning.contains(bare(words[place - 1])) ? 0 : 2;
}

std::size_t stutterAt(const Words& words, std::size_t place) {
    if (place + 1 == words.size() || endsSentence(words[place]))
        return 0;
    const auto word = bare(words[place]);
    const auto next = bare(words[place + 1]);
    if (word.empty())
        return 0;
    if (words[place].ends_with('-') && next.starts_with(word))
        return 1;
    const bool hasDigit = word.find_first_of("0123456789") != std::string::npos;
    return word == next && !hasDigit && !wordsThatRepeat.contains(word) ? 1 : 0;
}

/// Removes words. Their neighbors take over what they did for the sentence: the next word the capital at the
/// start, the word before the mark at the end.
Words without(const Words& words, std::size_t (*countAt)(const Words&, std::size_t)) {
    Words kept;
    bool wantsCapital = false;
    for (std::size_t place = 0; place < words.size();) {
        const auto count = countAt(words, place);
        if (count == 0) {
            kept.push_back(wantsCapital ? capitalized(words[place]) : words[place]);
            wantsCapital = false;
            ++place;
            continue;
        }
        const bool isAtStart = kept.empty() || endsSentence(kept.back());
        wantsCapital = wantsCapital || (isAtStart && hasCapital(words[place]));
        const auto& last = words[place + count - 1];
        if (!isAtStart && endsSentence(last)) {
            auto& before = kept.back();
            before.erase(before.find_last_not_of(",;:-") + 1);
            before += last.substr(last.find_last_not_of(punctuation) + 1);
        }
        place += count;
    }
    return kept;
}

std::string withCapitalI(std::string word) {
    const auto alone = bare(word);
    if (alone == "i" || alone.starts_with("i'") || alone.starts_with("i’"))
        if (const auto place = word.find('i'); place == word.find_first_not_of(punctuation))
            word[place] = 'I';
    return word;
}

std::string withPeriod(std::string text) {
    if (endsSentence(text))
        return text;
    text.erase(text.find_last_not_of(" ,;:-") + 1);
    return text.empty() ? text : text + ".";
}

/// Returns the text of the user's last message.
std::optional<std::string> userMessage(const Json& body) {
    const auto* const messages = base::jsonMember(body, "messages");
    if (messages == nullptr || !messages->is_array())
        return std::nullopt;
    std::optional<std::string> found;
    for (const auto& message : *messages)
        if (base::jsonString(message, "role") == "user")
            found = base::jsonString(message, "content");
    return found;
}

std::string dictationIn(const std::string& message) {
    constexpr std::string_view opening = "<dictation>";
    constexpr std::string_view closing = "</dictation>";
    const auto begin = message.find(opening);
    if (begin == std::string::npos)
        return message;
    const auto start = begin + opening.size();
    // The dictation may mention the tag too; the real one is at the end.
    const auto end = message.rfind(closing);
    const bool isClosed = end != std::string::npos && end >= start;
    return message.substr(start, isClosed ? end - start : std::string::npos);
}

std::size_t promptTokens(const Json& body) {
    std::size_t tokens = 0;
    for (const auto& message : body.at("messages"))
        tokens += roughTokens(base::jsonString(message, "content").value_or(""));
    return tokens;
}

} // namespace

std::string cleanedByRules(const std::string& dictation) {
    auto words = base::piecesBetweenWhiteSpace(base::repairedUtf8(dictation));
    words = without(words, fillerAt);
    words = without(words, stutterAt);
    if (words.empty())
        return {};
    for (auto& word : words)
        word = withCapitalI(std::move(word));
    words.front() = capitalized(words.front());
    return withPeriod(fmt::format("{}", fmt::join(words, " ")));
}

Answer chatByRules(const Request& request) {
    const auto body = base::parseJson(request.body);
    if (!body)
        return serviceError(400, "We could not parse the JSON body of your request.");
    const auto message = userMessage(*body);
    if (!message)
        return serviceError(400, "Missing required parameter: 'messages'.", "missing_required_parameter");
    return chatCompletion(cleanedByRules(dictationIn(*message)),
                          {.model = "rule-based-stand-in", .promptTokens = promptTokens(*body)});
}

void serveChatByRules(TestServer& server) {
    for (const auto* const path : {"/v1/chat/completions", "/api/chat"})
        server.answerBy(path, chatByRules);
}

} // namespace sonvale::tests
