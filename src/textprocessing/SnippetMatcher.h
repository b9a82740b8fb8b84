#pragma once

#include "persistence/ModelContext.h"

#include <optional>
#include <string>

namespace sonvale::textprocessing {

/// The snippet whose trigger a transcript ends in.
struct SnippetMatch {
    bool matched = false;
    std::optional<std::string> content{};
    std::optional<persistence::Snippet> snippet{}; ///< with the use counted
};

/// Decides whether a transcript calls for a snippet. Main thread; made on the spot. The store must outlive
/// it.
class SnippetMatcher {
public:
    explicit SnippetMatcher(persistence::ModelContext& modelContext);

    /// The first snippet in the store's order whose trigger the transcript is or ends in, whatever the case
    /// of the letters, the white space around either, and the punctuation that ends the transcript. Whole
    /// characters are compared, not whole words. The use is counted and saved. Never throws: a store that
    /// cannot be read has no snippets, and a count that cannot be saved goes with the next save.
    SnippetMatch match(const std::string& transcript);

private:
    std::optional<persistence::Snippet> find(const std::string& spoken) const;

    persistence::ModelContext& modelContext_;
};

} // namespace sonvale::textprocessing
