#pragma once

#include "persistence/Records.h"

#include <string>
#include <string_view>

namespace sonvale::ui {

/// Returns whether the trigger or the content contains the searched text, ignoring case. Returns true if the
/// searched text is empty.
bool matchesSearch(const persistence::Snippet& snippet, std::string_view searchText);

/// A text that is searched for every typed key. It prepares the comparison once.
class SearchedText {
public:
    explicit SearchedText(std::string_view text);

    /// The searched text, prepared once for all texts.
    struct Query {
        explicit Query(std::string_view searchText);
        std::string text;
        std::string folded;
    };

    /// Returns the same as `matchesSearch`. `text` must be the text of the constructor.
    bool contains(std::string_view text, const Query& query) const;

private:
    std::string folded_;
    bool hasPlainCase_; ///< no character becomes several in the compared form
};

} // namespace sonvale::ui
