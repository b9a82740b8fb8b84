#pragma once

#include "persistence/ModelContext.h"

#include <optional>
#include <string>

namespace sonvale::textprocessing {

/// The snippet whose trigger ends a transcript.
struct SnippetMatch {
    bool matched = false;
    std::optional<std::string> content{};
    std::optional<persistence::Snippet> snippet{}; ///< with this use counted
};

/// Decides whether a transcript triggers a snippet. Main thread; cheap to construct. The store must outlive
/// it.
class SnippetMatcher {
public:
    explicit SnippetMatcher(persistence::ModelContext& modelContext);

    /// Returns the first snippet in the store's order whose trigger is the transcript or its end. Ignores
    /// case, white space around either, and punctuation at the end of the transcript. Compares whole
    /// characters, not whole words. Counts and saves the use. Never throws: a store that cannot be read has
    /// no snippets, and a count that cannot be saved is written by the next save.
    SnippetMatch match(const std::string& transcript);

private:
    std::optional<persistence::Snippet> find(const std::string& spoken) const;

    persistence::ModelContext& modelContext_;
};

} // namespace sonvale::textprocessing
