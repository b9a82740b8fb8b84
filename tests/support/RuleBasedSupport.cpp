#include "tests/support/RuleBasedSupport.h"

#include "base/Json.h"
#include "base/Text.h"
#include "tests/support/ServiceAnswers.h"

#include <utility>
#include <vector>

namespace sonvale::tests {

namespace {

constexpr double secondsBetweenWords = 0.05;

const std::vector<std::pair<std::string, std::string>> knownWords{
    {"microphone",
     "Open Settings and look whether the microphone is granted.\nThen speak while the ring shows: it moves "
     "with your voice."},
    {"shortcut", "You can change every shortcut in Settings. Hold the keys that you want, then let them go."},
    {"password", "Sign out first. Then sign in again with the new password."},
    {"sign in", "Look whether the address is the one that you signed up with, then try again."},
    {"account", "Your account is named by your e-mail address. It stands in Settings."},
    {"paste", "The text goes to where the cursor is. Click into a field before you hold the key."},
};
constexpr const char* otherWords = "You can hold the key and speak. Tell me what happens then.";

std::string lastQuestion(const Request& request) {
    const auto body = base::parseJson(request.body);
    const auto* const messages = body ? base::jsonMember(*body, "messages") : nullptr;
    std::string question;
    if (messages != nullptr && messages->is_array()) {
        for (const auto& message : *messages)
            if (base::jsonString(message, "role") == "user")
                question = base::jsonString(message, "content").value_or("");
    }
    return question;
}

/// Splits a text into words, each with the following blank or line end.
std::vector<std::string> wordsOf(const std::string& text) {
    std::vector<std::string> words;
    for (std::size_t begin = 0; begin < text.size();) {
        const auto end = text.find_first_of(" \n", begin);
        const auto next = end == std::string::npos ? text.size() : end + 1;
        words.push_back(text.substr(begin, next - begin));
        begin = next;
    }
    return words;
}

} // namespace

std::string supportWordsFor(const std::string& question) {
    for (const auto& [word, answer] : knownWords) {
        if (base::containsIgnoringCase(question, word))
            return answer;
    }
    return otherWords;
}

Answer supportByRules(const Request& request) {
    return chatStream(wordsOf(supportWordsFor(lastQuestion(request))), secondsBetweenWords);
}

} // namespace sonvale::tests
