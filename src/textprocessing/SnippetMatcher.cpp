#include "textprocessing/SnippetMatcher.h"

#include "base/Text.h"

#include <utility>

namespace sonvale::textprocessing {

using persistence::Snippet;

namespace {

std::string normalized(const std::string& text) {
    return base::lowercased(base::trimmed(text));
}

std::string normalizedTranscript(const std::string& transcript) {
    auto text = normalized(transcript);
    const auto last = text.find_last_not_of(".!?,;:");
    text.erase(last == std::string::npos ? 0 : last + 1);
    return text;
}

} // namespace

SnippetMatcher::SnippetMatcher(persistence::ModelContext& modelContext)
    : modelContext_(modelContext) {}

SnippetMatch SnippetMatcher::match(const std::string& transcript) {
    const auto spoken = normalizedTranscript(transcript);
    if (spoken.empty())
        return {};
    auto snippet = find(spoken);
    if (!snippet)
        return {};
    ++snippet->usageCount;
    modelContext_.update(*snippet);
    try {
        modelContext_.save();
    } catch (const persistence::StoreError&) {
        // The count stays staged. The next successful save writes it.
    }
    return {true, snippet->content, std::move(snippet)};
}

std::optional<Snippet> SnippetMatcher::find(const std::string& spoken) const {
    const base::SuffixTest ending(spoken);
    persistence::FetchDescriptor<Snippet> firstMatch;
    firstMatch.text = {&Snippet::trigger, [&ending](const std::string& trigger) {
                           return ending.hasSuffix(normalized(trigger));
                       }};
    firstMatch.limit = 1;
    try {
        auto found = modelContext_.fetch(firstMatch);
        return found.empty() ? std::nullopt : std::optional(std::move(found.front()));
    } catch (const persistence::StoreError&) {
        // The transcript is then an ordinary dictation.
        return std::nullopt;
    }
}

} // namespace sonvale::textprocessing
