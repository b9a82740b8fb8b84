#pragma once

#include "persistence/Records.h"

#include <string>
#include <string_view>

namespace sonvale::ui {

/// Whether a snippet is among those that a search shows: its trigger or its content contains the text,
/// without regard to case. Every snippet for an empty one.
bool matchesSearch(const persistence::Snippet& snippet, std::string_view searchText);

/// A text that is searched at every key: what the comparison needs is made once.
class SearchedText {
public:
    explicit SearchedText(std::string_view text);

    /// What is looked for, made once for all texts.
    struct Query {
        explicit Query(std::string_view searchText);
        std::string text;
        std::string folded;
    };

    /// As `matchesSearch` decides; `text` is the one that this was made from.
    bool contains(std::string_view text, const Query& query) const;

private:
    std::string folded_;
    bool hasPlainCase_; ///< no character of it is several in the form that is compared
};

} // namespace sonvale::ui
